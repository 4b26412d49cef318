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
//
// Year and month stepping. The annual and monthly kinds step a calendar
// record one period at a time from an anchor that may lie decades back,
// converting each candidate with mktime. The steps whose candidates surely
// come before the time stepped past are taken in plain calendar arithmetic
// instead (SkipAhead, with CivilCalendar) and reach the same record; only
// the last steps go through mktime. SkipAhead names the one case in which
// the two ways can differ.
#include "core/EventSchedule.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <ctime>

#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "core/CalendarFunctions.h"
#include "core/CivilCalendar.h"
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

// Moves a year and month (0..11) on by count years or months; false when
// that leaves the range of event times altogether.
bool Advance(int64_t& year, int64_t& month, CalendarUnit unit, int64_t count)
{
    if (unit == CalendarUnit::Years) {
        year += count;
    } else {
        month += count;
        const int64_t carry = CivilCalendar::FloorDiv(month, 12);
        year += carry;
        month -= 12 * carry;
    }
    return year <= kLastYear;
}

// Moves cal on by count years or months; false (cal unchanged) when that
// leaves the range of event times altogether.
bool AdvanceCalendar(struct tm& cal, CalendarUnit unit, int64_t count)
{
    int64_t year = cal.tm_year;
    int64_t month = cal.tm_mon;
    if (!Advance(year, month, unit, count))
        return false;
    cal.tm_year = static_cast<int>(year);
    cal.tm_mon = static_cast<int>(month);
    return true;
}

// The day of the month the day-of-month rule picks in a month of the given
// length: dayOfMonth clamped to the length, or counted from the month's end
// above 31 (32 = the last day, 33 = the one before, ...).
int64_t DayOfMonthIn(int64_t length, int8_t dayOfMonth)
{
    if (dayOfMonth > 31)
        return length - dayOfMonth + 32;
    return dayOfMonth > length ? length : dayOfMonth;
}

// Where the week-of-month search starts: the 1st for the first to fourth
// weekday, else the length of the event's own month (not the candidate's)
// in the candidate's year.
int64_t SearchStartDay(int8_t weekOfMonth, int8_t month, int64_t year)
{
    return weekOfMonth <= 3 ? 1 : DaysInMonth(month, year);
}

// Days from the start day (a weekday of startWeekday) to the day searched
// for: forward to the weekday and on by whole weeks for the first to
// fourth, backward to it and back by whole weeks for the last and earlier.
int64_t SearchShift(int startWeekday, int8_t weekOfMonth, int8_t dayOfWeek)
{
    const int wd = startWeekday;
    const int d = dayOfWeek;
    int64_t shift = 0;
    if (weekOfMonth <= 3) {
        if (wd < d)
            shift += d - wd;
        else if (wd > d)
            shift += d - wd + 7;
        return shift + 7 * int64_t(weekOfMonth);
    }
    if (wd < d)
        shift -= wd + 7 - d;
    else if (wd > d)
        shift -= wd - d;
    return shift - 7 * (int64_t(weekOfMonth) - 4);
}

// The day-of-month candidate in cal's month and year.
int64_t EvalDOM(struct tm& cal, int8_t dayOfMonth, bool applyTime, int32_t timeToApply)
{
    cal.tm_mday = static_cast<int>(DayOfMonthIn(DaysInMonth(cal.tm_mon, cal.tm_year), dayOfMonth));
    return MakeLocalTime64(cal) + TimeOfDay(applyTime, timeToApply);
}

// The week-of-month / day-of-week candidate in cal's month and year. A start
// day beyond the end of cal's month rolls into the next month (mktime), and
// cal is left there.
int64_t EvalDOWMonthFixed(struct tm& cal, int8_t weekOfMonth, int8_t dayOfWeek, int8_t month,
                          bool applyTime, int32_t timeToApply)
{
    cal.tm_mday = static_cast<int>(SearchStartDay(weekOfMonth, month, cal.tm_year));
    MakeLocalTime64(cal);  // normalises cal and fills in its weekday
    cal.tm_mday += static_cast<int>(SearchShift(cal.tm_wday, weekOfMonth, dayOfWeek));
    return MakeLocalTime64(cal) + TimeOfDay(applyTime, timeToApply);
}

// How the year and month stepping finds its candidate in the month and year
// of the working record: the record as it stands (by date), by day of the
// month, or by week of the month and day of the week. Evaluate does it with
// mktime; CandidateDay is its twin in calendar arithmetic for the skip
// ahead below.
class CandidateRule {
public:
    enum class Kind { AsIs, DayOfMonth, DayOfWeek };

    static CandidateRule AsIs() { return CandidateRule(Kind::AsIs); }
    static CandidateRule ByDayOfMonth(int8_t dayOfMonth, bool applyTime, int32_t timeToApply)
    {
        CandidateRule rule(Kind::DayOfMonth, applyTime, timeToApply);
        rule.fDayOfMonth = dayOfMonth;
        return rule;
    }
    static CandidateRule ByDayOfWeek(int8_t weekOfMonth, int8_t dayOfWeek, int8_t month,
                                     bool applyTime, int32_t timeToApply)
    {
        CandidateRule rule(Kind::DayOfWeek, applyTime, timeToApply);
        rule.fWeekOfMonth = weekOfMonth;
        rule.fDayOfWeek = dayOfWeek;
        rule.fMonth = month;
        return rule;
    }

    // The candidate's time; normalises cal in place.
    int64_t Evaluate(struct tm& cal) const
    {
        switch (fKind) {
            case Kind::DayOfMonth:
                return EvalDOM(cal, fDayOfMonth, fApplyTime, fTimeToApply);
            case Kind::DayOfWeek:
                return EvalDOWMonthFixed(cal, fWeekOfMonth, fDayOfWeek, fMonth, fApplyTime,
                                         fTimeToApply);
            case Kind::AsIs:
                break;
        }
        return MakeLocalTime64(cal);
    }

    // The clock time added to the local date and time that mktime converts.
    int64_t AddedTime() const { return TimeOfDay(fApplyTime, fTimeToApply); }

    // The day number of the candidate that Evaluate finds when cal holds
    // year, month (0..11) and day (only read by date).
    int64_t CandidateDay(int64_t year, int64_t month, int64_t day) const
    {
        switch (fKind) {
            case Kind::DayOfMonth: {
                const int64_t picked = DayOfMonthIn(DaysInMonth(month, year), fDayOfMonth);
                return CivilCalendar::DayNumber(year, month, picked);
            }
            case Kind::DayOfWeek: {
                const int64_t start = CivilCalendar::DayNumber(
                    year, month, SearchStartDay(fWeekOfMonth, fMonth, year));
                return start +
                       SearchShift(CivilCalendar::Weekday(start), fWeekOfMonth, fDayOfWeek);
            }
            case Kind::AsIs:
                break;
        }
        return CivilCalendar::DayNumber(year, month, day);
    }

    // Whether every candidate from here on falls in the month it is sought
    // in, so that the working record advances by exactly the step each time
    // and any number of steps can be taken at once. from is the record's
    // date, stepping by count units.
    bool KeepsEveryMonth(const CivilCalendar::Date& from, CalendarUnit unit, int64_t count) const
    {
        // The day-of-month lengths use the plain leap rule, normalisation the
        // Gregorian one; they agree from 1901 to 2099, which covers every
        // candidate before a 32-bit time.
        if (from.year < 1)
            return false;
        if (unit == CalendarUnit::Years)
            return KeepsMonth(from.month, from.day);
        const int64_t stride = count % 12;
        for (int64_t j = 1; j <= 12; ++j) {
            if (!KeepsMonth((from.month + j * stride) % 12, from.day))
                return false;
        }
        return true;
    }

private:
    explicit CandidateRule(Kind kind, bool applyTime = false, int32_t timeToApply = 0)
        : fKind(kind), fApplyTime(applyTime), fTimeToApply(timeToApply)
    {
    }

    // Whether the candidate stays in month (0..11), in common and leap
    // years alike.
    bool KeepsMonth(int64_t month, int day) const
    {
        for (int64_t year : {kCommonYear, kLeapYear}) {
            const int64_t length = DaysInMonth(month, year);
            switch (fKind) {
                case Kind::AsIs:
                    if (day < 1 || day > length)
                        return false;
                    break;
                case Kind::DayOfMonth: {
                    const int64_t d = DayOfMonthIn(length, fDayOfMonth);
                    if (d < 1 || d > length)
                        return false;
                    break;
                }
                case Kind::DayOfWeek: {
                    if (fDayOfWeek < 0 || fDayOfWeek > 6 || fWeekOfMonth < 0)
                        return false;
                    if (fWeekOfMonth <= 3)
                        break;  // from the 1st at most 6 + 3 * 7 days on: the 28th
                    if (fMonth < 0 || fMonth > 11)
                        return false;
                    const int64_t start = SearchStartDay(fWeekOfMonth, fMonth, year);
                    if (start > length || start - 6 - 7 * (fWeekOfMonth - 4) < 1)
                        return false;
                    break;
                }
            }
        }
        return true;
    }

    static constexpr int64_t kCommonYear = 1;  // 1901
    static constexpr int64_t kLeapYear = 4;    // 1904

    Kind fKind;
    bool fApplyTime;
    int32_t fTimeToApply;
    int8_t fDayOfMonth = 1;
    int8_t fWeekOfMonth = 0;
    int8_t fDayOfWeek = 0;
    int8_t fMonth = 0;
};

// Skipping ahead. The stepping loop costs one or two mktime calls per step,
// and an event anchored decades back takes hundreds of steps. The skip takes
// the steps whose candidates lie surely before the limit in calendar
// arithmetic instead, and reaches the very record the loop would reach: the
// normalised date, including a 29 February that became 1 March for good in
// the first common year, and a week-of-month search whose start rolled into
// the next month and left the record there. A candidate's time is estimated
// from its local date and clock time as if they were UTC; it counts as
// surely before the limit when the estimate lies kSkipMargin before it,
// which no zone's offset from UTC and no clock change comes near. The loop
// then takes the last steps with mktime, so its result stands.
//
// One divergence is left. When a skipped step lands on a local time that a
// change to daylight saving time leaves out (02:30 on the night the clocks
// go from 02:00 to 03:00), mktime would move the record's clock time for
// good (to 03:30 in every later step); the skip keeps 02:30. Only a by-date
// event whose clock time lies in such a gap, or a zone that changes its
// clocks at midnight, can meet this. (A local time that occurs twice, in
// the hour repeated when the clocks go back, is no divergence of the skip:
// there glibc's mktime picks one of the two by the offset of the conversion
// before it, in the loop as anywhere, so no order of steps fixes the pick.)
constexpr int64_t kSkipMargin = 3 * kSecondsPerDay;
std::atomic<bool> gSkipAhead{true};

// The day number of the candidate units years or months after from; false
// beyond the range of event times.
bool CandidateAfter(const CivilCalendar::Date& from, CalendarUnit unit, int64_t units,
                    const CandidateRule& rule, int64_t& dayNumber)
{
    int64_t year = from.year;
    int64_t month = from.month;
    if (!Advance(year, month, unit, units))
        return false;
    dayNumber = rule.CandidateDay(year, month, from.day);
    return true;
}

// Whether a candidate on dayNumber at the clock time (seconds from its local
// midnight) is surely not after limit.
bool SurelyBefore(int64_t dayNumber, int64_t clock, int64_t limit)
{
    return dayNumber * kSecondsPerDay + clock + kSkipMargin <= limit;
}

// The most steps, up to maxSteps, after which the candidate is still surely
// before limit, for a rule that keeps every month and whose first step is
// known to be surely before limit: candidates then advance with the steps,
// so the count follows from the distance to the limit.
int64_t StepsSurelyBefore(const CivilCalendar::Date& from, CalendarUnit unit, int64_t count,
                          const CandidateRule& rule, int64_t clock, int64_t limit, int64_t maxSteps)
{
    auto fits = [&](int64_t steps) {
        int64_t day;
        return CandidateAfter(from, unit, steps * count, rule, day) &&
               SurelyBefore(day, clock, limit);
    };
    const CivilCalendar::Date last = CivilCalendar::DateOf(
        CivilCalendar::FloorDiv(limit - kSkipMargin - clock, kSecondsPerDay));
    int64_t units = last.year - from.year;
    if (unit == CalendarUnit::Months)
        units = units * 12 + last.month - from.month;
    int64_t steps = std::clamp<int64_t>(units / count, 1, maxSteps);
    while (steps > 1 && !fits(steps))
        --steps;
    while (steps < maxSteps && fits(steps + 1))
        ++steps;
    return steps;
}

// Takes the steps of the loop in StepUntilAfter whose candidates are surely
// not after limit, leaving cal and t as the loop would have left them;
// returns the number of steps taken (at most maxSteps).
int64_t SkipAhead(struct tm& cal, int64_t& t, int64_t limit, CalendarUnit unit, int64_t count,
                  const CandidateRule& rule, int64_t maxSteps)
{
    if (!gSkipAhead.load(std::memory_order_relaxed))
        return 0;
    const int64_t clock =
        int64_t(cal.tm_hour) * 3600 + cal.tm_min * 60 + cal.tm_sec + rule.AddedTime();
    CivilCalendar::Date date{cal.tm_year, cal.tm_mon, cal.tm_mday};
    int64_t taken = 0;
    while (taken < maxSteps) {
        // The next step first: most evaluations have none to skip.
        int64_t day;
        if (!CandidateAfter(date, unit, count, rule, day) || !SurelyBefore(day, clock, limit))
            break;
        if (rule.KeepsEveryMonth(date, unit, count)) {
            // Each candidate stays in its month: jump to the last step that
            // is surely early enough.
            const int64_t steps =
                StepsSurelyBefore(date, unit, count, rule, clock, limit, maxSteps - taken);
            CandidateAfter(date, unit, steps * count, rule, day);
            date = CivilCalendar::DateOf(day);
            taken += steps;
            break;
        }
        // One step at a time, and see again: a 29 February becomes 1 March,
        // and from then on every month is kept.
        date = CivilCalendar::DateOf(day);
        ++taken;
    }
    if (taken > 0) {
        cal.tm_year = static_cast<int>(date.year);
        cal.tm_mon = date.month;
        cal.tm_mday = date.day;
        t = MakeLocalTime64(cal) + rule.AddedTime();
    }
    return taken;
}

// Starting from the candidate t found in cal: while t is not after limit,
// steps cal by count units and evaluates again. False when no candidate
// after limit exists (a zero step, or the end of the range of times); t then
// keeps the last candidate found.
bool StepUntilAfter(struct tm& cal, int64_t& t, int64_t limit, CalendarUnit unit, int64_t count,
                    const CandidateRule& rule)
{
    int64_t steps = 0;
    if (t <= limit && count > 0)
        steps = SkipAhead(cal, t, limit, unit, count, rule, kMaxCalendarSteps);
    while (t <= limit) {
        if (count <= 0 || ++steps > kMaxCalendarSteps || !AdvanceCalendar(cal, unit, count))
            return false;
        int64_t next = rule.Evaluate(cal);
        if (next > kLatestTime)
            return false;
        t = next;
    }
    return true;
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

// Moves t, when it is not after now, past now by whole periods of count
// units; false when the period is not positive, so that nothing comes.
bool StepPastNow(int64_t& t, int64_t now, uint32_t count, int64_t unitSeconds)
{
    if (t > now)
        return true;
    const int64_t period = int64_t(count) * unitSeconds;
    if (period <= 0)
        return false;
    t = AdvanceByPeriods(t, now, period);
    return true;
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

    // The candidate in a given month: the record as it stands (by date), or
    // by day of the month, or else by week of the month and day of the week.
    const CandidateRule byDate = CandidateRule::AsIs();
    const CandidateRule byDay =
        fTimingType == ByDayOfMonth
            ? CandidateRule::ByDayOfMonth(DayOfMonth, ApplyTime, TimeToApply)
            : CandidateRule::ByDayOfWeek(WeekOfMonth, DayOfWeek, Month, ApplyTime, TimeToApply);
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
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Years, 1, byDate);
            } else {
                cal.tm_mon = Month;
                actual = byDay.Evaluate(cal);
                exists = StepUntilAfter(cal, actual, now, CalendarUnit::Years, 1, byDay);
            }
            break;

        case Monthly:
            actual = byDay.Evaluate(cal);
            exists = StepUntilAfter(cal, actual, now, CalendarUnit::Months, 1, byDay);
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
                exists = StepUntilAfter(cal, actual, int64_t(MultiStartTime) - 1,
                                        CalendarUnit::Years, 1, byDate) &&
                         StepUntilAfter(cal, actual, now, CalendarUnit::Years, Multiple, byDate);
            } else {
                Safe_localtime(MultiStartTime, &cal);
                ClearTimeOfDay(cal);
                cal.tm_mon = Month;
                actual = byDay.Evaluate(cal);
                exists =
                    StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Years, 1, byDay) &&
                    StepUntilAfter(cal, actual, now, CalendarUnit::Years, Multiple, byDay);
            }
            break;

        case MultiMonthly:
            Safe_localtime(MultiStartTime, &cal);
            ClearTimeOfDay(cal);
            actual = byDay.Evaluate(cal);
            exists = StepUntilAfter(cal, actual, MultiStartTime, CalendarUnit::Months, 1, byDay) &&
                     StepUntilAfter(cal, actual, now, CalendarUnit::Months, Multiple, byDay);
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
            exists = StepPastNow(actual, now, Multiple, kSecondsPerWeek);
            break;
        }

        case MultiDaily:
            actual = EvalTodayOrTomorrow(MultiStartTime, ApplyTime, TimeToApply);
            exists = StepPastNow(actual, now, Multiple, kSecondsPerDay);
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

void SetScheduleSkipAhead(bool on)
{
    gSkipAhead.store(on, std::memory_order_relaxed);
}
