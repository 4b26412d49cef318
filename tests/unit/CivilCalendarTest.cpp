// Whole-day calendar arithmetic against the C library's UTC conversions, and
// the carrying of months and days the way mktime carries them.
#include <gtest/gtest.h>

#include <ctime>

#include "core/CivilCalendar.h"

TEST(CivilCalendar, AgreesWithTheCLibraryOverCenturiesOfDays)
{
    // From 1 March 1600 to 2400, through leap days and the century years.
    for (int64_t day = -135080; day <= 157000; day += 1) {
        const time_t t = time_t(day) * 86400;
        struct tm utc;
        ASSERT_NE(gmtime_r(&t, &utc), nullptr);
        const CivilCalendar::Date date = CivilCalendar::DateOf(day);
        ASSERT_EQ(date.year, utc.tm_year) << day;
        ASSERT_EQ(date.month, utc.tm_mon) << day;
        ASSERT_EQ(date.day, utc.tm_mday) << day;
        ASSERT_EQ(CivilCalendar::Weekday(day), utc.tm_wday) << day;
        ASSERT_EQ(CivilCalendar::DayNumber(utc.tm_year, utc.tm_mon, utc.tm_mday), day);
    }
}

TEST(CivilCalendar, MonthsAndDaysOutOfRangeCarryLikeMktime)
{
    struct Case {
        int64_t year, month, day;
    } cases[] = {{101, 1, 29},  {100, 1, 29},  {200, 1, 29}, {101, 12, 1}, {101, -1, 31},
                 {101, -13, 5}, {101, 2, 0},   {101, 2, -40}, {101, 0, 400}, {104, 26, 31},
                 {-5, 3, 10},   {101, 1, 1000}};
    for (const Case& c : cases) {
        struct tm cal = {};
        cal.tm_year = int(c.year);
        cal.tm_mon = int(c.month);
        cal.tm_mday = int(c.day);
        const time_t t = timegm(&cal);
        EXPECT_EQ(CivilCalendar::DayNumber(c.year, c.month, c.day), int64_t(t) / 86400)
            << c.year << "/" << c.month << "/" << c.day;
    }
}

TEST(CivilCalendar, FloorDivRoundsTowardMinusInfinity)
{
    EXPECT_EQ(CivilCalendar::FloorDiv(7, 2), 3);
    EXPECT_EQ(CivilCalendar::FloorDiv(-7, 2), -4);
    EXPECT_EQ(CivilCalendar::FloorDiv(-8, 2), -4);
    EXPECT_EQ(CivilCalendar::FloorDiv(7, -2), -4);
    EXPECT_EQ(CivilCalendar::FloorDiv(-1, 86400), -1);
}
