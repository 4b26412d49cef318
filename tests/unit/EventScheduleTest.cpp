// The next occurrence of an event: every period kind, the prewarning step,
// the guards against intervals that cannot advance, the calendar steps
// across daylight-saving changes, and the skip ahead over years and months
// against stepping one at a time.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <ctime>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/Event.h"
#include "core/CalendarFunctions.h"
#include "core/Clock.h"
#include "core/EventSchedule.h"

namespace {

constexpr int32_t kHour = 3600;
using Raw = Event::Raw;

// A time as local "YYYY-MM-DD HH:MM:SS", so that failures read as dates.
std::string Show(int32_t t)
{
    time_t value = t;
    struct tm cal;
    localtime_r(&value, &cal);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &cal);
    return text;
}

// A local date and time in the zone under test (a zero year: "now" stays).
struct At {
    int y = 0, mo = 1, d = 1, h = 0, mi = 0, s = 0;
    int32_t Time() const { return LocalTime(y, mo, d, h, mi, s); }
};

// One evaluation: "now" is set, the fields changed, the event evaluated.
// next is a time as Show gives it, "=" for the actual time, or "0".
struct Step {
    At now;
    std::function<void(Raw&)> change;
    const char* actual = nullptr;
    const char* next = nullptr;
    int status = -1;
};
struct Scenario {
    const char* name;
    std::vector<Step> steps;
};

// Each scenario's event is made at its first step's "now".
void RunScenarios(const std::vector<Scenario>& scenarios)
{
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        TestOwner owner;
        ScopedClock clock(scenario.steps[0].now.Time());
        Event e(&owner);
        Raw raw = e.RawFields();
        for (size_t i = 0; i < scenario.steps.size(); ++i) {
            SCOPED_TRACE("step " + std::to_string(i));
            const Step& step = scenario.steps[i];
            if (step.now.y != 0)
                clock.Get().Set(step.now.Time());
            if (step.change)
                step.change(raw);
            e.UpdateEventTime();
            if (step.actual) {
                EXPECT_EQ(Show(e.GetActualEventTime()), step.actual);
            }
            if (step.next) {
                const int32_t next = e.GetNextEventTime();
                EXPECT_EQ(next == 0 ? "0" : Show(next),
                          std::strcmp(step.next, "=") == 0 ? Show(e.GetActualEventTime()) : step.next);
            }
            if (step.status >= 0) {
                EXPECT_EQ(e.GetStatus(), step.status);
            }
        }
    }
}

class ScheduleTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override { EnsureBuiltInHandlers(); }
    ScopedTimeZone fZone{GetParam()};
    TestOwner owner;
};

INSTANTIATE_TEST_SUITE_P(Zones, ScheduleTest,
                         ::testing::Values("UTC", "Europe/Berlin", "America/New_York"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             for (char& c : name)
                                 c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

}  // namespace

TEST_P(ScheduleTest, WorkedExamples)
{
    RunScenarios({
        {"monthly day 31 clamped to February",
         {{{2001, 2, 10, 9}, [](Raw& r) {
               r.PeriodType() = Monthly; r.Timing() = ByDayOfMonth; r.DayOfMonth() = 31;
           }, "2001-02-28 00:00:00", "=", WaitingForEvent}}},
        {"monthly last and second-to-last day, today's passed",
         {{{2001, 4, 30, 12}, [](Raw& r) {
               r.PeriodType() = Monthly; r.Timing() = ByDayOfMonth; r.DayOfMonth() = 32;
           }, "2001-05-31 00:00:00"},
          {{}, [](Raw& r) { r.DayOfMonth() = 33; }, "2001-05-30 00:00:00"}}},
        {"annual fourth Thursday of November",
         {{{2001, 11, 1}, [](Raw& r) {
               r.PeriodType() = Annually; r.Timing() = ByDayOfWeek;
               r.Month() = 10; r.WeekOfMonth() = 3; r.DayOfWeek() = 4;
           }, "2001-11-22 00:00:00"},
          {{2001, 12, 1}, {}, "2002-11-28 00:00:00"}}},
        {"daily at exactly now moves to tomorrow",
         {{{2001, 3, 7, 8}, [](Raw& r) {
               r.PeriodType() = Daily; r.ApplyTime() = true; r.TimeToApply() = 8 * kHour;
           }, "2001-03-08 08:00:00"},
          {{2001, 3, 7, 7, 59, 59}, {}, "2001-03-07 08:00:00"}}},
        {"sub-daily past the stop: tomorrow's start; in the window: the grid; before it: the start",
         {{{2001, 3, 1, 16, 45}, [](Raw& r) {
               r.PeriodType() = SubDaily; r.Multiple() = 2; r.SubIntType() = Hours;
               r.MultiStartTime() = LocalTime(2001, 3, 1, 9, 30);
               r.ApplyTime() = r.ApplyStop() = true; r.StopTime() = 17 * kHour;
           }, "2001-03-02 09:30:00"},
          {{2001, 3, 2, 10}, {}, "2001-03-02 11:30:00"},
          {{2001, 3, 3, 6}, {}, "2001-03-03 09:30:00"}}},
        {"sub-daily window across midnight",
         {{{2001, 3, 2, 1, 15}, [](Raw& r) {
               r.PeriodType() = SubDaily; r.Multiple() = 1; r.SubIntType() = Hours;
               r.MultiStartTime() = LocalTime(2001, 3, 1, 22, 0);
               r.ApplyTime() = r.ApplyStop() = true; r.StopTime() = 2 * kHour;
           }, "2001-03-02 02:00:00"},  // the morning tail of last night's window
          {{2001, 3, 2, 2, 30}, {}, "2001-03-02 22:00:00"},
          {{2001, 3, 2, 23, 10}, {}, "2001-03-03 00:00:00"}}},
        {"sub-daily without a stop follows the grid from its start",
         {{{2001, 3, 3, 16, 45}, [](Raw& r) {
               r.PeriodType() = SubDaily; r.Multiple() = 2; r.SubIntType() = Hours;
               r.MultiStartTime() = LocalTime(2001, 3, 1, 9, 30); r.ApplyTime() = true;
           }, "2001-03-03 17:30:00"},
          // Now lies on the 15-minute grid: the point after it.
          {{}, [](Raw& r) { r.SubIntType() = Minutes; r.Multiple() = 15; }, "2001-03-03 17:00:00"},
          {{}, [](Raw& r) { r.MultiStartTime() = LocalTime(2001, 3, 5, 9, 30); }, "2001-03-05 09:30:00"}}},
        {"repeated prewarning catches up with now",
         {{{2001, 3, 2, 20}, [](Raw& r) {
               r.EventTime() = LocalTime(2001, 3, 3, 12, 0); r.ApplyTime() = true; r.TimeToApply() = 12 * kHour;
               r.ApplyPrewarn() = true; r.PrewarnTime() = 1; r.PrewarnType() = Days;
               r.ApplyPrewarnRepeat() = true; r.PrewarnRepeatTime() = 6; r.PrewarnRepeatType() = Hours;
           }, "2001-03-03 12:00:00", "2001-03-03 00:00:00", WaitingForPrewarning},
          {{2001, 3, 2, 10}, {}, nullptr, "2001-03-02 12:00:00", WaitingForPrewarning},
          {{2001, 3, 2, 18}, {}, nullptr, "2001-03-02 18:00:00"},  // a repeat exactly at now is kept
          {{2001, 3, 3, 6, 30}, {}, nullptr, "=", WaitingForEvent}}},  // the next repeat would reach it
        {"a passed prewarning without repeats is dropped",
         {{{2001, 3, 2, 20}, [](Raw& r) {
               r.EventTime() = LocalTime(2001, 3, 3, 12, 0); r.ApplyTime() = true; r.TimeToApply() = 12 * kHour;
               r.ApplyPrewarn() = true; r.PrewarnTime() = 1; r.PrewarnType() = Days;
           }, nullptr, "=", WaitingForEvent}}},
    });
}

TEST_P(ScheduleTest, PeriodKinds)
{
    RunScenarios({
        {"day 30 in February of a leap year",
         {{{2004, 2, 10}, [](Raw& r) {
               r.PeriodType() = Monthly; r.Timing() = ByDayOfMonth; r.DayOfMonth() = 30;
           }, "2004-02-29 00:00:00"}}},
        {"annual by date keeps the date and time; a date still ahead is kept",
         {{{2001, 8, 1}, [](Raw& r) {
               r.PeriodType() = Annually; r.Timing() = ByDate; r.EventTime() = LocalTime(1998, 7, 14, 18, 30);
               r.ApplyTime() = true; r.TimeToApply() = 18 * kHour + 30 * 60;
           }, "2002-07-14 18:30:00"},
          {{}, [](Raw& r) { r.EventTime() = LocalTime(2003, 7, 14, 18, 30); }, "2003-07-14 18:30:00"}}},
        {"weekly on today's weekday (Wednesday)",
         {{{2001, 3, 7, 10}, [](Raw& r) {
               r.PeriodType() = Weekly; r.Timing() = ByDayOfWeek; r.DayOfWeek() = 3;
           }, "2001-03-14 00:00:00"},
          {{}, [](Raw& r) { r.ApplyTime() = true; r.TimeToApply() = 11 * kHour; }, "2001-03-07 11:00:00"},
          {{}, [](Raw& r) { r.TimeToApply() = 10 * kHour; }, "2001-03-14 10:00:00"}}},  // exactly now
        {"weekly on other weekdays",
         {{{2001, 3, 7, 10}, [](Raw& r) {
               r.PeriodType() = Weekly; r.Timing() = ByDayOfWeek; r.DayOfWeek() = 5;
           }, "2001-03-09 00:00:00"},
          {{}, [](Raw& r) { r.DayOfWeek() = 1; }, "2001-03-12 00:00:00"}}},
        {"weekdays and weekends skip the other days",
         {{{2001, 3, 9, 9}, [](Raw& r) {
               r.PeriodType() = Weekdays; r.ApplyTime() = true; r.TimeToApply() = 8 * kHour;
           }, "2001-03-12 08:00:00"},  // Friday after 08:00: Monday
          {{2001, 3, 10, 7}, {}, "2001-03-12 08:00:00"},  // Saturday: Monday
          {{2001, 3, 12, 10}, [](Raw& r) { r.PeriodType() = Weekends; }, "2001-03-17 08:00:00"},
          {{2001, 3, 17, 9}, {}, "2001-03-18 08:00:00"}}},
        {"multi-daily follows the grid from the first occurrence",
         {{{2001, 3, 11, 12}, [](Raw& r) {
               r.PeriodType() = MultiDaily; r.Multiple() = 3; r.MultiStartTime() = LocalTime(2001, 3, 1, 5, 0);
               r.ApplyTime() = true; r.TimeToApply() = 7 * kHour;
           }, "2001-03-13 07:00:00"},  // day 12
          // A start after the day's time: the first occurrence is the next day.
          {{}, [](Raw& r) { r.MultiStartTime() = LocalTime(2001, 3, 1, 8, 0); }, "2001-03-14 07:00:00"}}},
        {"multi-weekly keeps the start day without a time of day",
         {{{2001, 3, 6, 12}, [](Raw& r) {
               r.PeriodType() = MultiWeekly; r.Timing() = ByDayOfWeek; r.Multiple() = 2; r.DayOfWeek() = 3;
               r.MultiStartTime() = LocalTime(2001, 3, 7, 10, 0);
           }, "2001-03-07 00:00:00"},
          // Before the start's time of day: a week later.
          {{}, [](Raw& r) { r.ApplyTime() = true; r.TimeToApply() = 9 * kHour; }, "2001-03-14 09:00:00"},
          {{}, [](Raw& r) { r.TimeToApply() = 11 * kHour; }, "2001-03-07 11:00:00"},
          {{2001, 3, 20, 12}, {}, "2001-03-21 11:00:00"}}},
        {"multi-monthly counts from the first occurrence after the start",
         {{{2001, 6, 1}, [](Raw& r) {
               r.PeriodType() = MultiMonthly; r.Timing() = ByDayOfMonth; r.Multiple() = 3; r.DayOfMonth() = 10;
               r.MultiStartTime() = LocalTime(2001, 1, 15);
           }, "2001-08-10 00:00:00"}}},  // 10 Feb, 10 May, 10 Aug
        {"multi-annually; by day of month a candidate equal to the start does not count",
         {{{2001, 8, 1}, [](Raw& r) {
               r.PeriodType() = MultiAnnually; r.Timing() = ByDate; r.Multiple() = 3;
               r.EventTime() = LocalTime(1998, 7, 1, 9, 0); r.ApplyTime() = true; r.TimeToApply() = 9 * kHour;
               r.MultiStartTime() = LocalTime(2000, 1, 1);
           }, "2003-07-01 09:00:00"},  // 2000, 2003
          {{2002, 5, 1}, [](Raw& r) {
               r.Timing() = ByDayOfMonth; r.Multiple() = 2; r.ApplyTime() = false;
               r.Month() = 2; r.DayOfMonth() = 10; r.MultiStartTime() = LocalTime(2000, 3, 10);
           }, "2003-03-10 00:00:00"}}},  // 2001, 2003
        {"last weekday looks back from the event's own month length",
         {{{2001, 8, 1}, [](Raw& r) {
               r.PeriodType() = Monthly; r.Timing() = ByDayOfWeek; r.WeekOfMonth() = 4; r.DayOfWeek() = 5;
               r.Month() = 7;
           }, "2001-08-31 00:00:00"},
          // February 2001 has 28 days, so the search starts on the 28th.
          {{}, [](Raw& r) { r.Month() = 1; }, "2001-08-24 00:00:00"},
          {{}, [](Raw& r) { r.WeekOfMonth() = 0; }, "2001-08-03 00:00:00"}}},
    });
}

TEST_P(ScheduleTest, Prewarnings)
{
    RunScenarios({
        {"prewarning in months carries into earlier years",
         {{{2001, 1, 1}, [](Raw& r) {
               r.EventTime() = LocalTime(2003, 1, 15, 12, 0); r.ApplyTime() = true;
               r.TimeToApply() = 12 * kHour;
               r.ApplyPrewarn() = true; r.PrewarnType() = Months; r.PrewarnTime() = 13;
           }, nullptr, "2001-12-15 12:00:00", WaitingForPrewarning}}},
        {"prewarning repeats in months keep the clock time",
         {{{2001, 4, 20}, [](Raw& r) {
               r.EventTime() = LocalTime(2001, 6, 15, 12, 0); r.ApplyTime() = true;
               r.TimeToApply() = 12 * kHour;
               r.ApplyPrewarn() = true; r.PrewarnType() = Months; r.PrewarnTime() = 3;
               r.ApplyPrewarnRepeat() = true; r.PrewarnRepeatType() = Months; r.PrewarnRepeatTime() = 1;
           }, nullptr, "2001-05-15 12:00:00", WaitingForPrewarning}}},
        {"a zero or skipped prewarning goes straight to the event",
         {{{2001, 3, 1}, [](Raw& r) {
               r.EventTime() = LocalTime(2001, 3, 10); r.ApplyPrewarn() = true; r.PrewarnTime() = 0;
           }, nullptr, "=", WaitingForEvent},
          {{}, [](Raw& r) { r.PrewarnTime() = 2; }, nullptr, "2001-03-08 00:00:00", WaitingForPrewarning},
          {{}, [](Raw& r) { r.SkipPrewarn() = true; }, nullptr, "=", WaitingForEvent}}},
        {"repeats of zero cannot advance and are dropped",
         {{{2001, 3, 5}, [](Raw& r) {
               r.EventTime() = LocalTime(2001, 3, 10); r.ApplyPrewarn() = true; r.PrewarnTime() = 7;
               r.PrewarnType() = Days; r.ApplyPrewarnRepeat() = true; r.PrewarnRepeatTime() = 0;
               r.PrewarnRepeatType() = Hours;
           }, nullptr, "=", WaitingForEvent},
          {{}, [](Raw& r) { r.PrewarnRepeatType() = Months; }, nullptr, "=", WaitingForEvent}}},
    });
}

// Calendar steps keep the clock time across a change to or from summer
// time (both daylight-saving zones change between 20 March and 15 April
// 2001, and back in October).
TEST_P(ScheduleTest, CalendarStepsKeepTheClockTime)
{
    RunScenarios({
        {"monthly into summer time, by day of month and by day of week",
         {{{2001, 3, 20}, [](Raw& r) {
               r.PeriodType() = Monthly; r.Timing() = ByDayOfMonth; r.DayOfMonth() = 15;
               r.ApplyTime() = true; r.TimeToApply() = 9 * kHour;
           }, "2001-04-15 09:00:00"},
          {{}, [](Raw& r) {
               r.Timing() = ByDayOfWeek; r.WeekOfMonth() = 1; r.DayOfWeek() = 1;
           }, "2001-04-09 09:00:00"}}},
        {"annual from winter to summer, and by date from summer to winter",
         {{{2001, 12, 1}, [](Raw& r) {
               r.PeriodType() = Annually; r.Timing() = ByDayOfMonth; r.Month() = 6; r.DayOfMonth() = 4;
               r.ApplyTime() = true; r.TimeToApply() = 9 * kHour;
           }, "2002-07-04 09:00:00"},
          {{2000, 12, 1}, [](Raw& r) { r.Timing() = ByDate; r.EventTime() = LocalTime(2000, 10, 28, 9, 0); },
           "2001-10-28 09:00:00"}}},
        {"multi-monthly from a winter start keeps midnight",
         {{{2001, 6, 1}, [](Raw& r) {
               r.PeriodType() = MultiMonthly; r.Timing() = ByDayOfMonth; r.Multiple() = 2; r.DayOfMonth() = 32;
               r.MultiStartTime() = LocalTime(2001, 1, 5);
           }, "2001-07-31 00:00:00"}}},  // Jan, Mar, May, Jul
    });
}

TEST(DaylightSavingFixedDays, DailyGridOfFixedDaysShiftsWithTheClockChange)
{
    // The grid of whole 86400-second days runs on in standard time: after
    // the change to summer time its points show one hour later. Daily works
    // from local midnight and keeps 07:00.
    EnsureBuiltInHandlers();
    ScopedTimeZone zone("Europe/Berlin");
    RunScenarios({{"Berlin, March 2001",
          {{{2001, 3, 30, 12}, [](Raw& r) {
                r.PeriodType() = MultiDaily; r.Multiple() = 1;
                r.MultiStartTime() = LocalTime(2001, 3, 20, 5, 0);
                r.ApplyTime() = true; r.TimeToApply() = 7 * kHour;
            }, "2001-03-31 08:00:00"},
           {{}, [](Raw& r) { r.PeriodType() = Daily; }, "2001-03-31 07:00:00"}}}});
}

TEST_P(ScheduleTest, OnceInThePastIsDoneAndShowsNoNextTime)
{
    ScopedClock clock(LocalTime(2001, 3, 7, 10, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2001, 3, 7, 10, 0);
    raw.ApplyPrewarn() = true;  // no prewarning for an event that is over
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), DoneWithEvent);
    EXPECT_EQ(e.GetNextEventTime(), 0);
    EXPECT_EQ(e.GetActualEventTime(), LocalTime(2001, 3, 7, 10, 0));
    EXPECT_STREQ(e.GetColumnText(kNextMessageTimeColumn), "None");
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Done with event");

    raw.EventTime() = LocalTime(2001, 3, 7, 10, 0, 1);
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetNextEventTime(), LocalTime(2001, 3, 7, 10, 0, 1));
}

TEST_P(ScheduleTest, ReEvaluationEndsNaggingAndClearsSkipNag)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Daily;
    raw.Status() = WaitingToNag;
    raw.SkipNag() = true;
    owner.ResetCounts();
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_FALSE(e.GetSkipNag());
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-02 00:00:00");
    EXPECT_STREQ(e.GetColumnText(kEventTimeColumn), "Fri, Mar 02 2001");
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_EQ(owner.setModified, 1);
}

// --- Intervals that cannot advance, and the end of the range of times ------------

TEST_P(ScheduleTest, ZeroIntervalsAndUnitsWithoutALengthLeaveOnlyTheFirstOccurrence)
{
    ScopedClock clock(LocalTime(2001, 6, 1, 12, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.Multiple() = 0;
    raw.MultiStartTime() = LocalTime(2001, 1, 3, 9, 0);
    raw.DayOfWeek() = 3;
    raw.DayOfMonth() = 10;
    raw.Month() = 0;
    raw.Timing() = ByDayOfMonth;
    for (PeriodicityType type : {MultiAnnually, MultiMonthly, MultiWeekly, MultiDaily, SubDaily}) {
        SCOPED_TRACE(PeriodTypeNames[type]);
        raw.PeriodType() = type;
        raw.Status() = WaitingForEvent;
        e.UpdateEventTime();
        EXPECT_EQ(e.GetStatus(), DoneWithEvent);
        EXPECT_EQ(e.GetNextEventTime(), 0);
        EXPECT_LE(e.GetActualEventTime(), CurrentTime());
    }
    // A first occurrence still ahead is kept.
    raw.MultiStartTime() = LocalTime(2001, 6, 5, 9, 0);
    for (PeriodicityType type : {MultiMonthly, MultiWeekly, MultiDaily, SubDaily}) {
        SCOPED_TRACE(PeriodTypeNames[type]);
        raw.PeriodType() = type;
        e.UpdateEventTime();
        EXPECT_EQ(e.GetStatus(), WaitingForEvent);
        EXPECT_GT(e.GetActualEventTime(), CurrentTime());
    }

    // Sub-daily units without a length in seconds do not repeat either.
    raw.PeriodType() = SubDaily;
    raw.Multiple() = 3;
    raw.MultiStartTime() = LocalTime(2001, 5, 1, 9, 0);
    for (TimeIntervalType unit : {Months, TimeIntervalType(7), TimeIntervalType(-1)}) {
        for (bool stop : {false, true}) {
            raw.SubIntType() = unit;
            raw.ApplyStop() = stop;
            e.UpdateEventTime();
            EXPECT_EQ(e.GetStatus(), DoneWithEvent);
            EXPECT_EQ(e.GetActualEventTime(), LocalTime(2001, 5, 1, 9, 0));
        }
    }
    // The sub-daily step on its own leaves the time alone.
    raw.ActualEventTime() = 12345;
    raw.SubIntType() = Months;
    e.UET_EvalNextSubDaily(LocalTime(2001, 6, 1));
    EXPECT_EQ(e.GetActualEventTime(), 12345);
}

TEST_P(ScheduleTest, OccurrencesBeyondTheRangeOfTimesEndTheEvent)
{
    RunScenarios({{"annual and monthly in January 2038",
          {{{2038, 1, 10}, [](Raw& r) {
                r.PeriodType() = Annually; r.Timing() = ByDate; r.EventTime() = LocalTime(2000, 2, 1);
            }, "2037-02-01 00:00:00", "0", DoneWithEvent},  // the last one there was
           // 15 January 2038 is still representable.
           {{}, [](Raw& r) {
                r.EventTime() = LocalTime(2000, 1, 15);
            }, "2038-01-15 00:00:00", nullptr, WaitingForEvent},
           {{}, [](Raw& r) { r.PeriodType() = Monthly; r.Timing() = ByDayOfMonth; r.DayOfMonth() = 1; },
            nullptr, nullptr, DoneWithEvent}}}});
}

TEST_P(ScheduleTest, HugeMultiplesTerminate)
{
    ScopedClock clock(LocalTime(2001, 6, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.Multiple() = 4000000000u;
    raw.MultiStartTime() = LocalTime(2001, 1, 3, 9, 0);
    raw.EventTime() = LocalTime(2001, 1, 3, 9, 0);
    raw.SubIntType() = Minutes;
    for (PeriodicityType type : {MultiAnnually, MultiMonthly, MultiWeekly, MultiDaily, SubDaily}) {
        SCOPED_TRACE(PeriodTypeNames[type]);
        raw.PeriodType() = type;
        e.UpdateEventTime();
        EXPECT_EQ(e.GetStatus(), DoneWithEvent);
        EXPECT_EQ(e.GetNextEventTime(), 0);
    }

    // A prewarning four billion weeks or months ahead lies before every
    // event time; the repeats bring it up to now, no later than the event.
    raw.PeriodType() = Once;
    raw.EventTime() = LocalTime(2001, 6, 15, 12, 0);
    raw.ApplyPrewarn() = raw.ApplyPrewarnRepeat() = true;
    raw.PrewarnTime() = 4000000000u;
    raw.PrewarnRepeatTime() = 1;
    raw.PrewarnType() = raw.PrewarnRepeatType() = Weeks;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-06-01 12:00:00");

    raw.PrewarnType() = raw.PrewarnRepeatType() = Months;
    e.UpdateEventTime();
    EXPECT_GE(e.GetNextEventTime(), CurrentTime());
    EXPECT_LE(e.GetNextEventTime(), e.GetActualEventTime());
}

// --- The skip ahead over years and months ------------------------------------------

namespace {

// A small deterministic generator (splitmix64), the same on every platform.
class Dice {
public:
    explicit Dice(uint64_t seed) : fState(seed) {}
    int64_t In(int64_t low, int64_t high)
    {
        uint64_t z = (fState += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return low + int64_t((z ^ (z >> 31)) % uint64_t(high - low + 1));
    }
    bool OneIn(int64_t n) { return In(1, n) == 1; }

private:
    uint64_t fState;
};

// A local time in the given years. The hours 01:00 to 02:59 are left out:
// on the nights the clocks change they do not exist or exist twice, and
// there mktime's choice depends on its history (see EventSchedule.cpp).
int32_t SomeLocalTime(Dice& dice, int firstYear, int lastYear)
{
    int hour = int(dice.In(0, 21));
    if (hour >= 1)
        hour += 2;
    if (dice.OneIn(8)) {  // a 29 February
        const int year = int(dice.In(firstYear / 4 + 1, lastYear / 4)) * 4;
        return LocalTime(year, 2, 29, hour, int(dice.In(0, 59)));
    }
    return LocalTime(int(dice.In(firstYear, lastYear)), int(dice.In(1, 12)), int(dice.In(1, 31)),
                     hour, int(dice.In(0, 59)), int(dice.In(0, 59)));
}

// Actual time, next time and status after one evaluation, as text.
std::string Evaluate(Event& e, bool skipAhead)
{
    SetScheduleSkipAhead(skipAhead);
    e.UpdateEventTime();
    SetScheduleSkipAhead(true);
    return std::to_string(e.GetActualEventTime()) + " " + std::to_string(e.GetNextEventTime()) +
           " " + std::to_string(e.GetStatus());
}

std::string Describe(const Event& e, int32_t now)
{
    std::ostringstream text;
    text << PeriodTypeNames[e.GetPeriodType()] << " timing " << e.GetTimingType() << " x"
         << e.GetMultiple() << " event " << e.GetEventTime() << " start " << e.GetMultiStartTime()
         << " now " << now << " dom " << int(e.GetDayOfMonth()) << " wom "
         << int(e.GetWeekOfMonth()) << " dow " << int(e.GetDayOfWeek()) << " month "
         << int(e.GetMonth()) << " time " << e.GetApplyTime() << "/" << e.GetTimeToApply()
         << " prewarn " << e.GetApplyPrewarn() << "/" << e.GetPrewarnTime() << "/"
         << e.GetPrewarnType() << " repeat " << e.GetApplyPrewarnRepeat() << "/"
         << e.GetPrewarnRepeatTime() << "/" << e.GetPrewarnRepeatType();
    return text.str();
}

}  // namespace

// Many generated events of every period and timing type, evaluated both ways.
TEST_P(ScheduleTest, SkipAheadFindsWhatStepByStepFinds)
{
    constexpr PeriodicityType kSteppingKinds[] = {Annually, Monthly, MultiAnnually, MultiMonthly};
    Dice dice(20011116);
    ScopedClock clock(0);
    for (int i = 0; i < 4000; ++i) {
        Event e(&owner);
        auto raw = e.RawFields();
        // Half of them of the kinds that step through years and months.
        raw.PeriodType() = dice.OneIn(2) ? kSteppingKinds[dice.In(0, 3)]
                                         : PeriodicityType(dice.In(0, kNumberOfPeriodTypes - 1));
        raw.Timing() = TimingType(dice.In(0, kNumberOfTimingTypes - 1));
        raw.Multiple() = uint32_t(dice.In(1, 25));
        raw.EventTime() = SomeLocalTime(dice, 1990, 2030);
        raw.MultiStartTime() = SomeLocalTime(dice, 1990, 2030);
        raw.DayOfMonth() = int8_t(dice.In(1, 35));
        raw.WeekOfMonth() = int8_t(dice.In(0, 6));
        raw.DayOfWeek() = int8_t(dice.In(0, 6));
        raw.Month() = int8_t(dice.In(0, 11));
        raw.ApplyTime() = dice.OneIn(2);
        raw.TimeToApply() = int32_t(dice.In(0, 86399));
        raw.SubIntType() = TimeIntervalType(dice.In(Hours, Minutes));
        raw.ApplyStop() = dice.OneIn(2);
        raw.StopTime() = int32_t(dice.In(0, 86399));
        raw.ApplyPrewarn() = dice.OneIn(3);
        raw.PrewarnTime() = uint32_t(dice.In(0, 30));
        raw.PrewarnType() = TimeIntervalType(dice.In(Months, Minutes));
        raw.ApplyPrewarnRepeat() = dice.OneIn(2);
        raw.PrewarnRepeatTime() = uint32_t(dice.In(1, 12));
        raw.PrewarnRepeatType() = TimeIntervalType(dice.In(Months, Minutes));
        raw.SkipPrewarn() = dice.OneIn(8);
        const int32_t now = SomeLocalTime(dice, 2001, 2037);
        clock.Get().Set(now);
        const std::string literal = Evaluate(e, false);
        ASSERT_EQ(Evaluate(e, true), literal) << Describe(e, now);
    }
}

// --- Calendar helpers ----------------------------------------------------------------

TEST(CalendarFunctions, DaysInMonthAndWeekOfMonth)
{
    // {month from January, year since 1900, days}: the simple leap rule
    // (2100 too), and months beyond the year carried into it.
    const long months[][3] = {{1, 101, 28}, {1, 104, 29}, {1, 100, 29}, {1, 200, 29}, {0, 101, 31},
                              {3, 101, 30}, {13, 103, 29}, {25, 101, 28}, {-11, 105, 29}};
    for (const auto& m : months)
        EXPECT_EQ(DaysInMonth(m[0], m[1]), m[2]) << m[0] << "/" << m[1];

    // {day of month, its weekday, row of a Monday-first calendar}: months
    // beginning on a Sunday (1st, Sunday) and on a Monday.
    const int weeks[][3] = {{1, 0, 0}, {2, 1, 1}, {8, 0, 1}, {9, 1, 2},
                            {1, 1, 0}, {7, 0, 0}, {8, 1, 1}, {31, 3, 4}};
    for (const auto& w : weeks)
        EXPECT_EQ(DetermineWeekOfMonth(w[0], w[1]), w[2]) << w[0] << "/" << w[1];
}

TEST(CalendarFunctions, MidnightSecondsIntoDayAndMakeLocalTimeAcrossClockChanges)
{
    {
        ScopedTimeZone zone("Europe/Berlin");
        int32_t noon = LocalTime(2001, 3, 25, 12, 0);
        EXPECT_EQ(Show(GetLast12AM(noon)), "2001-03-25 00:00:00");
        EXPECT_EQ(GetSecondsIntoDay(noon), 11 * kHour);  // one hour was skipped
        EXPECT_EQ(GetSecondsIntoDay(LocalTime(2001, 10, 28, 12, 0)), 13 * kHour);
    }
    // MakeLocalTime decides daylight saving itself.
    ScopedTimeZone zone("America/New_York");
    time_t january = LocalTime(2001, 1, 15, 9, 0);
    struct tm cal;
    localtime_r(&january, &cal);  // tm_isdst 0
    cal.tm_mon = 6;               // July, in summer time
    EXPECT_EQ(Show(MakeLocalTime(cal)), "2001-07-15 09:00:00");
    EXPECT_EQ(cal.tm_hour, 9);
}
