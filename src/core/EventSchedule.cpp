// The next occurrence of an event: from its timing fields and the current
// time, the pending occurrence (ActualEventTime), whether a prewarning comes
// first, and the time the program must next act (NextEventTime).
//
// All calendar work is in local time. A broken-down time that is built or
// changed here goes back through MakeLocalTime, which lets the zone rules
// decide on daylight saving, so calendar steps (months, years, days of the
// month) keep their local clock time across a daylight-saving change. Only
// the fixed 86400-second additions (daily kinds, weekday corrections, the
// weekly and daily grids) shift by the change.
//
// Intervals that cannot advance. A zero interval (Multiple 0, a sub-daily
// unit of Months or an unknown unit, a zero prewarning repeat) means "no
// further repeats": the first candidate is the only occurrence. When it has
// passed, the event is done with (DoneWithEvent, no next time), just like a
// "Once" event in the past; a prewarning repeat that cannot advance leaves
// the event waiting for the event itself. No division by zero, no endless
// loop; every non-zero interval behaves as described below.
//
// The range of event times. Times are 32-bit seconds; an occurrence that
// would lie beyond the last representable second (January 2038) is none at
// all: the event is done with. Calendar arithmetic runs in 64 bits, and the
// year and month stepping loops are bounded.
#include <cstdint>
#include <ctime>

#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "core/CalendarFunctions.h"
#include "core/Clock.h"
#include "core/EventWindowPort.h"
#include "core/TimeText.h"

namespace {

constexpr int64_t kLatestTime = INT32_MAX;
constexpr int64_t kEarliestTime = INT32_MIN;
constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kSecondsPerWeek = 604800;
// Calendar years (counted from 1900) beyond which no event time exists;
// stepping stops there long before any field could overflow.
constexpr int64_t kLastYear = 200;
constexpr int64_t kFirstYear = -1000;
// More calendar steps than the whole 32-bit range of times can need.
constexpr int kMaxCalendarSteps = 100000;

enum class CalendarUnit { Years, Months };

int32_t ClampTime(int64_t t)
{
    if (t > kLatestTime)
        return INT32_MAX;
    if (t < kEarliestTime)
        return INT32_MIN;
    return static_cast<int32_t>(t);
}

// Seconds per unit; 0 for months and for a unit that does not exist.
int64_t IntervalSeconds(TimeIntervalType type)
{
    if (type < 0 || type >= kNumberOfIntervalTypes)
        return 0;
    return IntervalLength[type];
}

int64_t TimeOfDay(bool applyTime, int32_t timeToApply)
{
    return applyTime ? timeToApply : 0;
}

void ClearTimeOfDay(struct tm& cal)
{
    cal.tm_hour = 0;
    cal.tm_min = 0;
    cal.tm_sec = 0;
}

int64_t FloorDiv(int64_t a, int64_t b)
{
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}

// Moves cal on by count years or months; false when that leaves the range
// of event times altogether.
bool AdvanceCalendar(struct tm& cal, CalendarUnit unit, int64_t count)
{
    int64_t year = cal.tm_year;
    int64_t month = cal.tm_mon;
    if (unit == CalendarUnit::Years) {
        year += count;
    } else {
        month += count;
        year += FloorDiv(month, 12);
        month -= 12 * FloorDiv(month, 12);
    }
    if (year > kLastYear)
        return false;
    cal.tm_year = static_cast<int>(year);
    cal.tm_mon = static_cast<int>(month);
    return true;
}

// Starting from the candidate t found in cal: while t is not after limit,
// steps cal by count units and evaluates again. False when no candidate
// after limit exists (a zero step, or the end of the range of times); t then
// keeps the last candidate found.
template <typename Evaluate>
bool StepUntilAfter(struct tm& cal, int64_t& t, int64_t limit, CalendarUnit unit, int64_t count,
                    Evaluate evaluate)
{
    int steps = 0;
    while (t <= limit) {
        if (count <= 0 || ++steps > kMaxCalendarSteps || !AdvanceCalendar(cal, unit, count))
            return false;
        int64_t next = evaluate(cal);
        if (next > kLatestTime)
            return false;
        t = next;
    }
    return true;
}

// The day-of-month candidate in cal's month and year.
int64_t EvalDOM(struct tm& cal, int8_t dayOfMonth, bool applyTime, int32_t timeToApply)
{
    long length = DaysInMonth(cal.tm_mon, cal.tm_year);
    long day = dayOfMonth;
    if (day > 31)
        day = length - day + 32;  // 32 = the last day, 33 = the one before, ...
    else if (day > length)
        day = length;
    cal.tm_mday = static_cast<int>(day);
    return MakeLocalTime64(cal) + TimeOfDay(applyTime, timeToApply);
}

// The week-of-month / day-of-week candidate in cal's month and year. The
// backward search starts from the length of the event's own month (not
// cal's), also when the candidate month differs.
int64_t EvalDOWMonthFixed(struct tm& cal, int8_t weekOfMonth, int8_t dayOfWeek, int8_t month,
                          bool applyTime, int32_t timeToApply)
{
    if (weekOfMonth <= 3)
        cal.tm_mday = 1;
    else
        cal.tm_mday = static_cast<int>(DaysInMonth(month, cal.tm_year));
    MakeLocalTime64(cal);  // normalises cal and fills in its weekday
    int wd = cal.tm_wday;
    int d = dayOfWeek;
    if (weekOfMonth <= 3) {
        if (wd < d)
            cal.tm_mday += d - wd;
        else if (wd > d)
            cal.tm_mday += d - wd + 7;
        cal.tm_mday += 7 * weekOfMonth;
    } else {
        if (wd < d)
            cal.tm_mday -= wd + 7 - d;
        else if (wd > d)
            cal.tm_mday -= wd - d;
        cal.tm_mday -= 7 * (weekOfMonth - 4);
    }
    return MakeLocalTime64(cal) + TimeOfDay(applyTime, timeToApply);
}

// The first daily time of day strictly after ref.
int64_t EvalTodayOrTomorrow(int64_t ref, bool applyTime, int32_t timeToApply)
{
    struct tm cal;
    Safe_localtime(ref, &cal);
    ClearTimeOfDay(cal);
    int64_t t = MakeLocalTime64(cal) + TimeOfDay(applyTime, timeToApply);
    if (t <= ref)
        t += kSecondsPerDay;
    return t;
}

// The next point after ref of the grid through start with the given
// spacing. The division truncates toward zero, so a start more than one
// interval ahead of ref is moved back toward ref. A zero spacing has no
// further points: start stays.
int64_t NextGridPoint(int64_t start, int64_t ref, int64_t interval)
{
    if (interval <= 0)
        return start;
    return start + ((ref - start + interval) / interval) * interval;
}

// The first point at or after now of a grid of whole periods through t
// (t is not after now).
int64_t AdvanceByPeriods(int64_t t, int64_t now, int64_t period)
{
    return t + ((now - t + period) / period) * period;
}

// The first prewarning: monthsBack calendar months before t.
int64_t MonthsBefore(int32_t t, uint32_t monthsBack, struct tm& cal)
{
    Safe_localtime(t, &cal);
    int64_t month = int64_t(cal.tm_mon) - int64_t(monthsBack);
    int64_t year = cal.tm_year;
    if (month < 0) {
        int64_t years = (-month + 11) / 12;
        month += 12 * years;
        year -= years;
    }
    // Further back than this is before every event time anyway.
    if (year < kFirstYear)
        year = kFirstYear;
    cal.tm_mon = static_cast<int>(month);
    cal.tm_year = static_cast<int>(year);
    return MakeLocalTime64(cal);
}

// Steps cal on by step months at a time while its time is earlier than now;
// each step works on the normalised result of the one before. Returns that
// time, or a time beyond the range when none is found within it.
int64_t StepMonthsUntil(struct tm& cal, int64_t t, int64_t now, uint32_t step)
{
    // A start before the range of event times (only from absurd offsets)
    // first jumps by whole steps into it.
    if (t < kEarliestTime && cal.tm_year < 0) {
        int64_t needed = -int64_t(cal.tm_year) * 12 - cal.tm_mon;
        int64_t jumps = (needed + step - 1) / step;
        AdvanceCalendar(cal, CalendarUnit::Months, jumps * int64_t(step));
        t = MakeLocalTime64(cal);
    }
    int steps = 0;
    while (t < now) {
        if (++steps > kMaxCalendarSteps || !AdvanceCalendar(cal, CalendarUnit::Months, step))
            return kLatestTime + 1;
        t = MakeLocalTime64(cal);
    }
    return t;
}

}  // namespace

void Event::UET_EvalDOM(struct tm& cal)
{
    ActualEventTime = ClampTime(EvalDOM(cal, DayOfMonth, ApplyTime, TimeToApply));
}

void Event::UET_EvalDOW_MonthFixed(struct tm& cal)
{
    ActualEventTime =
        ClampTime(EvalDOWMonthFixed(cal, WeekOfMonth, DayOfWeek, Month, ApplyTime, TimeToApply));
}

void Event::UET_EvalTodayOrTomorrow(long ref)
{
    ActualEventTime = ClampTime(EvalTodayOrTomorrow(ref, ApplyTime, TimeToApply));
}

void Event::UET_EvalNextSubDaily(long ref)
{
    int64_t interval = IntervalSeconds(SubIntType) * int64_t(Multiple);
    ActualEventTime = ClampTime(NextGridPoint(ActualEventTime, ref, interval));
}

void Event::UpdateEventTime()
{
    const int64_t now = CurrentTime();
    struct tm cal;
    Safe_localtime(now, &cal);
    ClearTimeOfDay(cal);  // today at midnight

    SkipNag = false;
    Status = WaitingForEvent;

    auto evalDOM = [this](struct tm& c) { return EvalDOM(c, DayOfMonth, ApplyTime, TimeToApply); };
    auto evalDOW = [this](struct tm& c) {
        return EvalDOWMonthFixed(c, WeekOfMonth, DayOfWeek, Month, ApplyTime, TimeToApply);
    };
    auto evalAsIs = [](struct tm& c) { return MakeLocalTime64(c); };
    const int64_t timeOfDay = TimeOfDay(ApplyTime, TimeToApply);

    int64_t actual = ActualEventTime;
    bool exists = true;  // false: no occurrence after now is left

    switch (PeriodType) {
        case Once:
            actual = EventTime;
            if (actual <= now)
                Status = DoneWithEvent;
            break;

        case Annually:
            if (fTimingType == ByDate) {
                Safe_localtime(EventTime, &cal);
                actual = EventTime;
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Years, 1, evalAsIs);
            } else if (fTimingType == ByDayOfMonth) {
                cal.tm_mon = Month;
                actual = evalDOM(cal);
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Years, 1, evalDOM);
            } else {
                cal.tm_mon = Month;
                actual = evalDOW(cal);
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Years, 1, evalDOW);
            }
            break;

        case Monthly:
            if (fTimingType == ByDayOfMonth) {
                actual = evalDOM(cal);
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Months, 1, evalDOM);
            } else {
                actual = evalDOW(cal);
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Months, 1, evalDOW);
            }
            break;

        case Weekly: {
            int wd = cal.tm_wday;
            int d = DayOfWeek;
            if (wd < d)
                cal.tm_mday += d - wd;
            else if (wd > d)
                cal.tm_mday += d - wd + 7;
            else if (!(ApplyTime && TimeToApply > GetSecondsIntoDay(int32_t(now))))
                cal.tm_mday += 7;  // today's occurrence has passed
            actual = MakeLocalTime64(cal) + timeOfDay;
            break;
        }

        case Daily:
            actual = EvalTodayOrTomorrow(now, ApplyTime, TimeToApply);
            break;

        case Weekdays: {
            actual = EvalTodayOrTomorrow(now, ApplyTime, TimeToApply);
            struct tm day;
            Safe_localtime(actual, &day);
            if (day.tm_wday == 0)
                actual += kSecondsPerDay;
            else if (day.tm_wday == 6)
                actual += 2 * kSecondsPerDay;
            break;
        }

        case Weekends: {
            actual = EvalTodayOrTomorrow(now, ApplyTime, TimeToApply);
            struct tm day;
            Safe_localtime(actual, &day);
            if (day.tm_wday >= 1 && day.tm_wday <= 5)
                actual += (6 - day.tm_wday) * kSecondsPerDay;
            break;
        }

        case MultiAnnually:
            if (fTimingType == ByDate) {
                Safe_localtime(EventTime, &cal);
                actual = EventTime;
                // Not before the start (limit start - 1), then every Multiple years.
                exists = StepUntilAfter(cal, actual, int64_t(MultiStartTime) - 1, CalendarUnit::Years,
                                        1, evalAsIs) &&
                         StepUntilAfter(cal, actual, now, CalendarUnit::Years, Multiple, evalAsIs);
            } else {
                Safe_localtime(MultiStartTime, &cal);
                ClearTimeOfDay(cal);
                cal.tm_mon = Month;
                if (fTimingType == ByDayOfMonth) {
                    actual = evalDOM(cal);
                    exists = StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Years, 1,
                                            evalDOM) &&
                             StepUntilAfter(cal, actual, now, CalendarUnit::Years, Multiple, evalDOM);
                } else {
                    actual = evalDOW(cal);
                    exists = StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Years, 1,
                                            evalDOW) &&
                             StepUntilAfter(cal, actual, now, CalendarUnit::Years, Multiple, evalDOW);
                }
            }
            break;

        case MultiMonthly:
            Safe_localtime(MultiStartTime, &cal);
            ClearTimeOfDay(cal);
            if (fTimingType == ByDayOfMonth) {
                actual = evalDOM(cal);
                exists =
                    StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Months, 1, evalDOM) &&
                    StepUntilAfter(cal, actual, now, CalendarUnit::Months, Multiple, evalDOM);
            } else {
                actual = evalDOW(cal);
                exists =
                    StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Months, 1, evalDOW) &&
                    StepUntilAfter(cal, actual, now, CalendarUnit::Months, Multiple, evalDOW);
            }
            break;

        case MultiWeekly: {
            Safe_localtime(MultiStartTime, &cal);
            ClearTimeOfDay(cal);
            int wd = cal.tm_wday;
            int d = DayOfWeek;
            if (wd < d)
                cal.tm_mday += d - wd;
            else if (wd > d)
                cal.tm_mday += d - wd + 7;
            else if (ApplyTime && TimeToApply <= GetSecondsIntoDay(MultiStartTime))
                cal.tm_mday += 7;
            actual = MakeLocalTime64(cal) + timeOfDay;
            if (actual <= now) {
                int64_t period = int64_t(Multiple) * kSecondsPerWeek;
                if (period > 0)
                    actual = AdvanceByPeriods(actual, now, period);
                else
                    exists = false;
            }
            break;
        }

        case MultiDaily:
            actual = EvalTodayOrTomorrow(MultiStartTime, ApplyTime, TimeToApply);
            if (actual <= now) {
                int64_t period = int64_t(Multiple) * kSecondsPerDay;
                if (period > 0)
                    actual = AdvanceByPeriods(actual, now, period);
                else
                    exists = false;
            }
            break;

        case SubDaily: {
            const int64_t interval = IntervalSeconds(SubIntType) * int64_t(Multiple);
            actual = MultiStartTime;
            if (actual > now)
                break;
            if (interval <= 0) {
                exists = false;
                break;
            }
            if (!ApplyStop) {
                actual = NextGridPoint(actual, now, interval);
                break;
            }
            const int64_t dailyStart = GetSecondsIntoDay(MultiStartTime);
            const int64_t stop = StopTime;
            const int64_t midnight = GetLast12AM(int32_t(now));
            const int64_t tomorrowsStart = midnight + dailyStart + kSecondsPerDay;
            auto secondsIntoDay = [](int64_t t) { return int64_t(GetSecondsIntoDay(ClampTime(t))); };
            if (stop > dailyStart) {
                // The window lies within one day.
                actual = midnight + dailyStart;
                if (actual > now)
                    break;
                actual = NextGridPoint(actual, now, interval);
                if (!(secondsIntoDay(actual) <= stop && actual - midnight <= kSecondsPerDay))
                    actual = tomorrowsStart;
            } else if (GetSecondsIntoDay(int32_t(now)) <= stop) {
                // The window crosses midnight and now is in the morning tail
                // of yesterday's window.
                actual = midnight + dailyStart - kSecondsPerDay;
                actual = NextGridPoint(actual, now, interval);
                if (secondsIntoDay(actual) > stop)
                    actual = midnight + dailyStart;
            } else {
                // The window crosses midnight and today's has not begun, or is open.
                actual = midnight + dailyStart;
                if (actual > now)
                    break;
                actual = NextGridPoint(actual, now, interval);
                if (actual - midnight > kSecondsPerDay && secondsIntoDay(actual) > stop)
                    actual = tomorrowsStart;
            }
            break;
        }

        default:
            // A period type this version does not know: nothing will happen.
            actual = EventTime;
            exists = false;
            break;
    }

    if (!exists || actual > kLatestTime)
        Status = DoneWithEvent;
    ActualEventTime = ClampTime(actual);

    // Prewarning.
    int64_t next = ActualEventTime;
    if (ApplyPrewarn && Status != DoneWithEvent && !SkipPrewarn) {
        Status = WaitingForPrewarning;
        struct tm warn;
        if (PrewarnType == Months)
            next = MonthsBefore(ActualEventTime, PrewarnTime, warn);
        else
            next = int64_t(ActualEventTime) - IntervalSeconds(PrewarnType) * int64_t(PrewarnTime);

        if (next < now) {
            const int64_t repeat =
                PrewarnRepeatType == Months
                    ? int64_t(PrewarnRepeatTime)
                    : IntervalSeconds(PrewarnRepeatType) * int64_t(PrewarnRepeatTime);
            if (!ApplyPrewarnRepeat || repeat <= 0) {
                // A prewarning whose time has passed is dropped.
                Status = WaitingForEvent;
                next = ActualEventTime;
            } else if (PrewarnRepeatType == Months) {
                if (PrewarnType != Months)
                    Safe_localtime(ClampTime(next), &warn);
                next = StepMonthsUntil(warn, next, now, PrewarnRepeatTime);
            } else {
                // The first repeat point not earlier than now.
                next += repeat * ((now - next + repeat - 1) / repeat);
            }
        }
        if (next >= ActualEventTime) {
            next = ActualEventTime;
            Status = WaitingForEvent;
        }
    }
    NextEventTime = ClampTime(next);
    if (Status == DoneWithEvent)
        NextEventTime = 0;

    RefreshColumns();
    if (Window != nullptr)
        Window->PostCommand(kEventTimesChanged);
    Notify();
    SetModified();
}
