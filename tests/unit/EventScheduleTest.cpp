// The next occurrence of an event: every period kind, the prewarning step,
// the guards against intervals that cannot advance, and the calendar steps
// across daylight-saving changes.
#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/Event.h"
#include "core/CalendarFunctions.h"
#include "core/Clock.h"

namespace {

constexpr int32_t kHour = 3600;

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

std::string ZoneName(const ::testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    }
    return name;
}

class ScheduleTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        fZone.emplace(GetParam());
    }
    void TearDown() override { fZone.reset(); }

    TestOwner owner;

private:
    std::optional<ScopedTimeZone> fZone;
};

INSTANTIATE_TEST_SUITE_P(Zones, ScheduleTest,
                         ::testing::Values("UTC", "Europe/Berlin", "America/New_York"), ZoneName);

}  // namespace

// --- Worked examples -----------------------------------------------------------

TEST_P(ScheduleTest, MonthlyDayOfMonthIsClampedToTheMonthsLength)
{
    ScopedClock clock(LocalTime(2001, 2, 10, 9, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfMonth;
    raw.DayOfMonth() = 31;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-02-28 00:00:00");
    EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
}

TEST_P(ScheduleTest, MonthlyLastDayStepsToNextMonthWhenTodaysHasPassed)
{
    ScopedClock clock(LocalTime(2001, 4, 30, 12, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfMonth;
    raw.DayOfMonth() = 32;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-05-31 00:00:00");

    raw.DayOfMonth() = 33;  // second to last
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-05-30 00:00:00");
}

TEST_P(ScheduleTest, AnnualFourthThursdayOfNovember)
{
    ScopedClock clock(LocalTime(2001, 11, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Annually;
    raw.Timing() = ByDayOfWeek;
    raw.Month() = 10;
    raw.WeekOfMonth() = 3;
    raw.DayOfWeek() = 4;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-11-22 00:00:00");

    clock.Get().Set(LocalTime(2001, 12, 1));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2002-11-28 00:00:00");
}

TEST_P(ScheduleTest, DailyAtExactlyNowMovesToTomorrow)
{
    ScopedClock clock(LocalTime(2001, 3, 7, 8, 0, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Daily;
    raw.ApplyTime() = true;
    raw.TimeToApply() = 8 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-08 08:00:00");

    clock.Get().Set(LocalTime(2001, 3, 7, 7, 59, 59));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-07 08:00:00");
}

TEST_P(ScheduleTest, SubDailyWithStopTimeMovesPastTheStopToTomorrowsStart)
{
    ScopedClock clock(LocalTime(2001, 3, 1, 16, 45));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = SubDaily;
    raw.Multiple() = 2;
    raw.SubIntType() = Hours;
    raw.MultiStartTime() = LocalTime(2001, 3, 1, 9, 30);
    raw.ApplyTime() = true;
    raw.ApplyStop() = true;
    raw.StopTime() = 17 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-02 09:30:00");

    // Within the window the grid from today's start applies.
    clock.Get().Set(LocalTime(2001, 3, 2, 10, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-02 11:30:00");

    // Before today's start: today's start.
    clock.Get().Set(LocalTime(2001, 3, 3, 6, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-03 09:30:00");
}

TEST_P(ScheduleTest, SubDailyWindowAcrossMidnight)
{
    ScopedClock clock(LocalTime(2001, 3, 2, 1, 15));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = SubDaily;
    raw.Multiple() = 1;
    raw.SubIntType() = Hours;
    raw.MultiStartTime() = LocalTime(2001, 3, 1, 22, 0);
    raw.ApplyTime() = true;
    raw.ApplyStop() = true;
    raw.StopTime() = 2 * kHour;

    // In the morning tail of last night's window: the grid goes on to the stop.
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-02 02:00:00");

    // After the stop: tonight's start.
    clock.Get().Set(LocalTime(2001, 3, 2, 2, 30));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-02 22:00:00");

    // In tonight's window the grid runs on past midnight.
    clock.Get().Set(LocalTime(2001, 3, 2, 23, 10));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-03 00:00:00");
}

TEST_P(ScheduleTest, SubDailyWithoutStopFollowsTheGridFromItsStart)
{
    ScopedClock clock(LocalTime(2001, 3, 3, 16, 45));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = SubDaily;
    raw.Multiple() = 2;
    raw.SubIntType() = Hours;
    raw.MultiStartTime() = LocalTime(2001, 3, 1, 9, 30);
    raw.ApplyTime() = true;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-03 17:30:00");

    raw.SubIntType() = Minutes;
    raw.Multiple() = 15;  // now lies on the grid: the point after it
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-03 17:00:00");

    // A start still ahead is the answer itself.
    raw.MultiStartTime() = LocalTime(2001, 3, 5, 9, 30);
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-05 09:30:00");
}

TEST_P(ScheduleTest, RepeatedPrewarningCatchesUpWithNow)
{
    ScopedClock clock(LocalTime(2001, 3, 2, 20, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Once;
    raw.EventTime() = LocalTime(2001, 3, 3, 12, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 12 * kHour;
    raw.ApplyPrewarn() = true;
    raw.PrewarnTime() = 1;
    raw.PrewarnType() = Days;
    raw.ApplyPrewarnRepeat() = true;
    raw.PrewarnRepeatTime() = 6;
    raw.PrewarnRepeatType() = Hours;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-03 12:00:00");
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-03-03 00:00:00");
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);

    // Before the first prewarning: that one.
    clock.Get().Set(LocalTime(2001, 3, 2, 10, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-03-02 12:00:00");
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);

    // A repeat point exactly at now is kept.
    clock.Get().Set(LocalTime(2001, 3, 2, 18, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-03-02 18:00:00");

    // The next repeat would reach the event: the event itself is next.
    clock.Get().Set(LocalTime(2001, 3, 3, 6, 30));
    e.UpdateEventTime();
    EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
}

TEST_P(ScheduleTest, PassedPrewarningWithoutRepeatIsDropped)
{
    ScopedClock clock(LocalTime(2001, 3, 2, 20, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2001, 3, 3, 12, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 12 * kHour;
    raw.ApplyPrewarn() = true;
    raw.PrewarnTime() = 1;
    raw.PrewarnType() = Days;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());
}

// --- Period kinds ----------------------------------------------------------------

TEST_P(ScheduleTest, OnceInThePastIsDone)
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

TEST_P(ScheduleTest, DayOfMonthInFebruaryOfALeapYear)
{
    ScopedClock clock(LocalTime(2004, 2, 10));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfMonth;
    raw.DayOfMonth() = 30;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2004-02-29 00:00:00");
}

TEST_P(ScheduleTest, AnnualByDateKeepsTheDateAndTime)
{
    ScopedClock clock(LocalTime(2001, 8, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Annually;
    raw.Timing() = ByDate;
    raw.EventTime() = LocalTime(1998, 7, 14, 18, 30);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 18 * kHour + 30 * 60;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2002-07-14 18:30:00");

    raw.EventTime() = LocalTime(2003, 7, 14, 18, 30);  // still ahead
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2003-07-14 18:30:00");
}

TEST_P(ScheduleTest, WeeklyOnTodaysWeekday)
{
    // Wednesday 7 March 2001, 10:00.
    ScopedClock clock(LocalTime(2001, 3, 7, 10, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Weekly;
    raw.Timing() = ByDayOfWeek;
    raw.DayOfWeek() = 3;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-14 00:00:00");

    raw.ApplyTime() = true;
    raw.TimeToApply() = 11 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-07 11:00:00");

    raw.TimeToApply() = 10 * kHour;  // exactly now: next week
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-14 10:00:00");
}

TEST_P(ScheduleTest, WeeklyOnOtherWeekdays)
{
    ScopedClock clock(LocalTime(2001, 3, 7, 10, 0));  // Wednesday
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Weekly;
    raw.Timing() = ByDayOfWeek;
    raw.DayOfWeek() = 5;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-09 00:00:00");
    raw.DayOfWeek() = 1;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-12 00:00:00");
}

TEST_P(ScheduleTest, WeekdaysAndWeekendsSkipTheOtherDays)
{
    // Friday 9 March 2001 after the event's 08:00: Monday.
    ScopedClock clock(LocalTime(2001, 3, 9, 9, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Weekdays;
    raw.ApplyTime() = true;
    raw.TimeToApply() = 8 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-12 08:00:00");

    // Saturday: Monday as well.
    clock.Get().Set(LocalTime(2001, 3, 10, 7, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-12 08:00:00");

    // Weekends from a Monday: Saturday; from Saturday after the time: Sunday.
    raw.PeriodType() = Weekends;
    clock.Get().Set(LocalTime(2001, 3, 12, 10, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-17 08:00:00");
    clock.Get().Set(LocalTime(2001, 3, 17, 9, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-18 08:00:00");
}

TEST_P(ScheduleTest, MultiDailyFollowsTheGridFromTheFirstOccurrence)
{
    ScopedClock clock(LocalTime(2001, 3, 11, 12, 0));  // day 10
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiDaily;
    raw.Multiple() = 3;
    raw.MultiStartTime() = LocalTime(2001, 3, 1, 5, 0);  // day 0
    raw.ApplyTime() = true;
    raw.TimeToApply() = 7 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-13 07:00:00");  // day 12

    // A start after the day's time: the first occurrence is the next day.
    raw.MultiStartTime() = LocalTime(2001, 3, 1, 8, 0);
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-14 07:00:00");  // days 1, 4, ... 13
}

TEST_P(ScheduleTest, MultiWeeklyKeepsTheStartDayWithoutATimeOfDay)
{
    ScopedClock clock(LocalTime(2001, 3, 6, 12, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiWeekly;
    raw.Timing() = ByDayOfWeek;
    raw.Multiple() = 2;
    raw.DayOfWeek() = 3;
    raw.MultiStartTime() = LocalTime(2001, 3, 7, 10, 0);  // a Wednesday
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-07 00:00:00");

    raw.ApplyTime() = true;
    raw.TimeToApply() = 9 * kHour;  // before the start's time of day: a week later
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-14 09:00:00");

    raw.TimeToApply() = 11 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-07 11:00:00");

    // Every second week from there: 7, 21 March.
    clock.Get().Set(LocalTime(2001, 3, 20, 12, 0));
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-21 11:00:00");
}

TEST_P(ScheduleTest, MultiMonthlyCountsFromTheFirstOccurrenceAfterTheStart)
{
    ScopedClock clock(LocalTime(2001, 6, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiMonthly;
    raw.Timing() = ByDayOfMonth;
    raw.Multiple() = 3;
    raw.DayOfMonth() = 10;
    raw.MultiStartTime() = LocalTime(2001, 1, 15);
    // 10 Feb, 10 May, 10 Aug: the first after now.
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-08-10 00:00:00");
}

TEST_P(ScheduleTest, MultiAnnually)
{
    ScopedClock clock(LocalTime(2001, 8, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiAnnually;
    raw.Timing() = ByDate;
    raw.Multiple() = 3;
    raw.EventTime() = LocalTime(1998, 7, 1, 9, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 9 * kHour;
    raw.MultiStartTime() = LocalTime(2000, 1, 1);
    // 2000 is the first not before the start; then 2003.
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2003-07-01 09:00:00");

    // By day of month: a candidate equal to the start does not count.
    clock.Get().Set(LocalTime(2002, 5, 1));
    raw.Timing() = ByDayOfMonth;
    raw.Multiple() = 2;
    raw.ApplyTime() = false;
    raw.Month() = 2;
    raw.DayOfMonth() = 10;
    raw.MultiStartTime() = LocalTime(2000, 3, 10);
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2003-03-10 00:00:00");  // 2001, 2003
}

TEST_P(ScheduleTest, MonthlyLastWeekdayLooksBackFromTheEventsOwnMonthLength)
{
    // August 2001 has Fridays on the 3rd, 10th, 17th, 24th and 31st.
    ScopedClock clock(LocalTime(2001, 8, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfWeek;
    raw.WeekOfMonth() = 4;  // last
    raw.DayOfWeek() = 5;
    raw.Month() = 7;  // August: 31 days
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-08-31 00:00:00");

    raw.Month() = 1;  // February 2001: 28 days, so the search starts on the 28th
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-08-24 00:00:00");

    raw.WeekOfMonth() = 0;  // first Friday
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-08-03 00:00:00");
}

TEST_P(ScheduleTest, PrewarningInMonthsCarriesIntoEarlierYears)
{
    ScopedClock clock(LocalTime(2001, 1, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2003, 1, 15, 12, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 12 * kHour;
    raw.ApplyPrewarn() = true;
    raw.PrewarnType() = Months;
    raw.PrewarnTime() = 13;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-12-15 12:00:00");
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);
}

TEST_P(ScheduleTest, PrewarningRepeatsInMonthsKeepTheClockTime)
{
    ScopedClock clock(LocalTime(2001, 4, 20));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2001, 6, 15, 12, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 12 * kHour;
    raw.ApplyPrewarn() = true;
    raw.PrewarnType() = Months;
    raw.PrewarnTime() = 3;  // 15 March
    raw.ApplyPrewarnRepeat() = true;
    raw.PrewarnRepeatType() = Months;
    raw.PrewarnRepeatTime() = 1;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-05-15 12:00:00");
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);
}

TEST_P(ScheduleTest, ZeroPrewarningAndSkippedPrewarningGoStraightToTheEvent)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2001, 3, 10);
    raw.ApplyPrewarn() = true;
    raw.PrewarnTime() = 0;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());

    raw.PrewarnTime() = 2;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-03-08 00:00:00");

    raw.SkipPrewarn() = true;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());
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

TEST_P(ScheduleTest, ZeroIntervalsLeaveOnlyTheFirstOccurrence)
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
}

TEST_P(ScheduleTest, SubDailyUnitsWithoutALengthDoNotRepeat)
{
    ScopedClock clock(LocalTime(2001, 6, 1, 12, 0));
    Event e(&owner);
    auto raw = e.RawFields();
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

TEST_P(ScheduleTest, PrewarningRepeatsThatCannotAdvanceAreDropped)
{
    ScopedClock clock(LocalTime(2001, 3, 5));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.EventTime() = LocalTime(2001, 3, 10);
    raw.ApplyPrewarn() = true;
    raw.PrewarnTime() = 7;
    raw.PrewarnType() = Days;
    raw.ApplyPrewarnRepeat() = true;
    raw.PrewarnRepeatTime() = 0;
    for (TimeIntervalType unit : {Hours, Months}) {
        raw.PrewarnRepeatType() = unit;
        e.UpdateEventTime();
        EXPECT_EQ(e.GetStatus(), WaitingForEvent);
        EXPECT_EQ(e.GetNextEventTime(), e.GetActualEventTime());
    }
}

TEST_P(ScheduleTest, OccurrencesBeyondTheRangeOfTimesEndTheEvent)
{
    ScopedClock clock(LocalTime(2038, 1, 10));
    Event e(&owner);
    auto raw = e.RawFields();

    raw.PeriodType() = Annually;
    raw.Timing() = ByDate;
    raw.EventTime() = LocalTime(2000, 2, 1);
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), DoneWithEvent);
    EXPECT_EQ(e.GetNextEventTime(), 0);
    EXPECT_EQ(Show(e.GetActualEventTime()), "2037-02-01 00:00:00");  // the last one there was

    raw.EventTime() = LocalTime(2000, 1, 15);  // 15 January 2038 is still representable
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(Show(e.GetActualEventTime()), "2038-01-15 00:00:00");

    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfMonth;
    raw.DayOfMonth() = 1;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), DoneWithEvent);
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
    raw.ApplyPrewarn() = true;
    raw.PrewarnTime() = 4000000000u;
    raw.ApplyPrewarnRepeat() = true;
    raw.PrewarnRepeatTime() = 1;
    raw.PrewarnType() = Weeks;
    raw.PrewarnRepeatType() = Weeks;
    e.UpdateEventTime();
    EXPECT_EQ(e.GetStatus(), WaitingForPrewarning);
    EXPECT_EQ(Show(e.GetNextEventTime()), "2001-06-01 12:00:00");

    raw.PrewarnType() = Months;
    raw.PrewarnRepeatType() = Months;
    e.UpdateEventTime();
    EXPECT_GE(e.GetNextEventTime(), CurrentTime());
    EXPECT_LE(e.GetNextEventTime(), e.GetActualEventTime());
}

// --- Daylight saving ---------------------------------------------------------------

class DaylightSavingTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        fZone.emplace(GetParam());
    }
    void TearDown() override { fZone.reset(); }

    TestOwner owner;

private:
    std::optional<ScopedTimeZone> fZone;
};

INSTANTIATE_TEST_SUITE_P(Zones, DaylightSavingTest,
                         ::testing::Values("Europe/Berlin", "America/New_York"), ZoneName);

TEST_P(DaylightSavingTest, MonthlyStepIntoSummerTimeKeepsTheClockTime)
{
    // Both zones start summer time between 20 March and 15 April 2001.
    ScopedClock clock(LocalTime(2001, 3, 20));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Monthly;
    raw.Timing() = ByDayOfMonth;
    raw.DayOfMonth() = 15;
    raw.ApplyTime() = true;
    raw.TimeToApply() = 9 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-04-15 09:00:00");

    raw.Timing() = ByDayOfWeek;
    raw.WeekOfMonth() = 1;  // second Monday
    raw.DayOfWeek() = 1;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-04-09 09:00:00");
}

TEST_P(DaylightSavingTest, AnnualStepsKeepTheClockTime)
{
    // From winter to a summer date.
    ScopedClock clock(LocalTime(2001, 12, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = Annually;
    raw.Timing() = ByDayOfMonth;
    raw.Month() = 6;
    raw.DayOfMonth() = 4;
    raw.ApplyTime() = true;
    raw.TimeToApply() = 9 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2002-07-04 09:00:00");

    // By date from a summer-time day to the same date a year later, when
    // summer time has already ended (28 October 2000 and 2001).
    clock.Get().Set(LocalTime(2000, 12, 1));
    raw.Timing() = ByDate;
    raw.EventTime() = LocalTime(2000, 10, 28, 9, 0);
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-10-28 09:00:00");
}

TEST_P(DaylightSavingTest, MultiMonthlyFromWinterStartKeepsMidnight)
{
    ScopedClock clock(LocalTime(2001, 6, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiMonthly;
    raw.Timing() = ByDayOfMonth;
    raw.Multiple() = 2;
    raw.DayOfMonth() = 32;
    raw.MultiStartTime() = LocalTime(2001, 1, 5);
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-07-31 00:00:00");  // Jan, Mar, May, Jul
}

TEST(DaylightSavingFixedDays, DailyGridOfFixedDaysShiftsWithTheClockChange)
{
    // The grid of whole 86400-second days runs on in standard time: after
    // the change to summer time its points show one hour later.
    EnsureBuiltInHandlers();
    ScopedTimeZone zone("Europe/Berlin");
    TestOwner owner;
    ScopedClock clock(LocalTime(2001, 3, 30, 12, 0));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.PeriodType() = MultiDaily;
    raw.Multiple() = 1;
    raw.MultiStartTime() = LocalTime(2001, 3, 20, 5, 0);
    raw.ApplyTime() = true;
    raw.TimeToApply() = 7 * kHour;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-31 08:00:00");

    // Daily works from local midnight and keeps 07:00.
    raw.PeriodType() = Daily;
    e.UpdateEventTime();
    EXPECT_EQ(Show(e.GetActualEventTime()), "2001-03-31 07:00:00");
}

// --- Calendar helpers ----------------------------------------------------------------

TEST(CalendarFunctions, DaysInMonthUsesTheSimpleLeapRuleAndCarriesMonths)
{
    EXPECT_EQ(DaysInMonth(1, 101), 28);  // February 2001
    EXPECT_EQ(DaysInMonth(1, 104), 29);  // 2004
    EXPECT_EQ(DaysInMonth(1, 100), 29);  // 2000
    EXPECT_EQ(DaysInMonth(1, 200), 29);  // 2100: no century rule
    EXPECT_EQ(DaysInMonth(0, 101), 31);
    EXPECT_EQ(DaysInMonth(3, 101), 30);
    EXPECT_EQ(DaysInMonth(13, 103), 29);  // February 2004
    EXPECT_EQ(DaysInMonth(25, 101), 28);  // February 2003
    EXPECT_EQ(DaysInMonth(-11, 105), 29);  // February 2004
}

TEST(CalendarFunctions, DetermineWeekOfMonthIsTheRowOfAMondayFirstCalendar)
{
    // A month whose 1st is a Sunday.
    EXPECT_EQ(DetermineWeekOfMonth(1, 0), 0);
    EXPECT_EQ(DetermineWeekOfMonth(2, 1), 1);
    EXPECT_EQ(DetermineWeekOfMonth(8, 0), 1);
    EXPECT_EQ(DetermineWeekOfMonth(9, 1), 2);
    // A month whose 1st is a Monday.
    EXPECT_EQ(DetermineWeekOfMonth(1, 1), 0);
    EXPECT_EQ(DetermineWeekOfMonth(7, 0), 0);
    EXPECT_EQ(DetermineWeekOfMonth(8, 1), 1);
    EXPECT_EQ(DetermineWeekOfMonth(31, 3), 4);
}

TEST(CalendarFunctions, MidnightAndSecondsIntoDayOnAClockChangeDay)
{
    ScopedTimeZone zone("Europe/Berlin");
    int32_t noon = LocalTime(2001, 3, 25, 12, 0);
    EXPECT_EQ(Show(GetLast12AM(noon)), "2001-03-25 00:00:00");
    EXPECT_EQ(GetSecondsIntoDay(noon), 11 * kHour);  // one hour was skipped
    int32_t autumn = LocalTime(2001, 10, 28, 12, 0);
    EXPECT_EQ(GetSecondsIntoDay(autumn), 13 * kHour);
}

TEST(CalendarFunctions, MakeLocalTimeDecidesDaylightSavingItself)
{
    ScopedTimeZone zone("America/New_York");
    time_t january = LocalTime(2001, 1, 15, 9, 0);
    struct tm cal;
    localtime_r(&january, &cal);  // tm_isdst 0
    cal.tm_mon = 6;               // July, in summer time
    int32_t july = MakeLocalTime(cal);
    EXPECT_EQ(Show(july), "2001-07-15 09:00:00");
    EXPECT_EQ(cal.tm_hour, 9);
}
