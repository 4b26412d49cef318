// The typed-date parser: every documented example and shape, the year and
// range rules, zones and relative words, in UTC and in a zone with daylight
// saving time, and that arbitrary bytes are refused safely.
#include <cctype>
#include <ctime>
#include <initializer_list>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "ScopedTimeZone.h"
#include "core/Clock.h"
#include "core/DateParser.h"

namespace {

// UTC time of the given calendar fields.
int32_t Utc(int year, int month, int day, int hour = 0, int minute = 0)
{
    struct tm fields {};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    return static_cast<int32_t>(timegm(&fields));
}

struct Case {
    const char* text;
    int year, month, day, hour = 0, minute = 0, second = 0;
};

// Runs each test once in UTC and once in a zone with daylight saving time
// (New York, whose 2001 summer time began on 1 April). Now is Wednesday
// 21 March 2001, 10:15.
class DateParserTest : public ::testing::TestWithParam<const char*> {
protected:
    int32_t Parse(const char* text) const { return parsedate(text, fNow); }

    void ExpectAll(std::initializer_list<Case> cases) const
    {
        for (const Case& c : cases) {
            EXPECT_EQ(Parse(c.text), LocalTime(c.year, c.month, c.day, c.hour, c.minute, c.second))
                << "text: \"" << c.text << "\"";
        }
    }
    void ExpectNotUnderstood(std::initializer_list<const char*> texts) const
    {
        for (const char* text : texts)
            EXPECT_EQ(Parse(text), -1) << "text: \"" << text << "\"";
    }

    ScopedTimeZone fZone{GetParam()};
    const int32_t fNow = LocalTime(2001, 3, 21, 10, 15, 0);
};

TEST_P(DateParserTest, DocumentedExamplesAndMonthNameShapes)
{
    ExpectAll({
        {"Jan 5 2001", 2001, 1, 5},          {"Jan 5 2001 3:05 pm", 2001, 1, 5, 15, 5},
        {"5 jan 2001 15:05", 2001, 1, 5, 15, 5}, {"2001-01-05", 2001, 1, 5},
        {"1/5/2001", 2001, 1, 5},            {"5.1.2001", 2001, 1, 5},
        {"17:30", 2001, 3, 21, 17, 30},      {"tomorrow", 2001, 3, 22},
        {"tomorrow 9am", 2001, 3, 22, 9},    {"next friday", 2001, 3, 30},
        {"3 days", 2001, 3, 24},             {"+2 hours", 2001, 3, 21, 12, 15},
        {"Jan 5", 2001, 1, 5},               {"January 5, 2002", 2002, 1, 5},
        {"Fri, Jan 5 2001", 2001, 1, 5},     {"friday, january 5 2001 3:05 pm", 2001, 1, 5, 15, 5},
        {"5 Jan", 2001, 1, 5},               {"5 january 2001", 2001, 1, 5},
        {"5-Jan-2001", 2001, 1, 5},          {"5/jan/2001 8pm", 2001, 1, 5, 20},
        {"Fri 5 Jan", 2001, 1, 5},           {"Jan 5 2001 15", 2001, 1, 5, 15},
        {"Jan 5 2001 15:05:07", 2001, 1, 5, 15, 5, 7}, {"3:05 pm Jan 5 2001", 2001, 1, 5, 15, 5},
        {"15:05 5 jan 2001", 2001, 1, 5, 15, 5}, {"Jan 5 3 pm", 2001, 1, 5, 15},
        {"JAN 5 2001", 2001, 1, 5},          {"Sept 9", 2001, 9, 9},
        // A month alone, or with a full year, stands for its 1st.
        {"march", 2001, 3, 1},               {"March 2002", 2002, 3, 1},
    });
    EXPECT_EQ(Parse("banana"), -1);
}

TEST_P(DateParserTest, NumericTimeAndWeekdayShapes)
{
    ExpectAll({
        {"3/25", 2001, 3, 25},               {"12-25", 2001, 12, 25},
        {"1/5/01", 2001, 1, 5},              {"2001/1/5", 2001, 1, 5},
        {"2001-01-05 15:05", 2001, 1, 5, 15, 5}, {"15:05 2001-01-05", 2001, 1, 5, 15, 5},
        {"1/5/2001 3pm", 2001, 1, 5, 15},    {"5.1.2001 8:00", 2001, 1, 5, 8},
        // Normalised as mktime does.
        {"feb 30", 2001, 3, 2},              {"24:00", 2001, 3, 22},
        {"9:05", 2001, 3, 21, 9, 5},         {"23:59:58", 2001, 3, 21, 23, 59, 58},
        {"3 pm", 2001, 3, 21, 15},           {"3:30pm", 2001, 3, 21, 15, 30},
        {"12", 2001, 3, 21, 12},             {"12 am", 2001, 3, 21, 0},
        {"12:30 am", 2001, 3, 21, 0, 30},    {"12 pm", 2001, 3, 21, 12},
        {"12:30 PM", 2001, 3, 21, 12, 30},
        // A weekday is that day in the current week, Sunday first.
        {"wed", 2001, 3, 21},                {"sunday", 2001, 3, 18},
        {"Saturday", 2001, 3, 24},           {"friday 17:00", 2001, 3, 23, 17},
        {"17:00 friday", 2001, 3, 23, 17},   {"this friday", 2001, 3, 23},
        {"last friday", 2001, 3, 16},        {"next monday 9am", 2001, 3, 26, 9},
    });
    // Separators must match within one date.
    ExpectNotUnderstood({"1/5-2001", "13 pm", "0 am", "15:05 pm", "friday friday", "3 pm 4 pm"});
}

TEST_P(DateParserTest, TwoDigitYearsCountFromNowsYear)
{
    // More than ten years ahead is the century before; four digits are
    // taken as they stand. In 2011, "21" is still this century.
    const int32_t in2011 = LocalTime(2011, 6, 1, 12, 0, 0);
    const struct {
        const char* text;
        int32_t now;
        int year;
    } cases[] = {
        {"Jan 5 50", fNow, 1950},   {"Jan 5 11", fNow, 2011},   {"Jan 5 12", fNow, 1912},
        {"Jan 5 1950", fNow, 1950}, {"Jan 5 11", in2011, 2011}, {"Jan 5 21", in2011, 2021},
        {"Jan 5 22", in2011, 1922}, {"Jan 5 50", in2011, 1950},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parsedate(c.text, c.now), LocalTime(c.year, 1, 5)) << c.text << " in " << c.now;
    EXPECT_EQ(Parse("1/5/00"), LocalTime(2000, 1, 5));
    EXPECT_EQ(Parse("5.1.99"), LocalTime(1999, 1, 5));
}

TEST_P(DateParserTest, OutOfRangeFieldsAndOrdinals)
{
    // The last two: years outside what 32 bits can hold.
    ExpectNotUnderstood({"Jan 32", "Jan 0", "32 jan 2001", "13/5/2001", "0/5/2001", "2001-13-05",
                         "2001-1-0", "32.1.2001", "5.13.2001", "25:00", "12:60", "12:30:60",
                         "24:60", "99:00", "Jan 5 2001 25:00", "Jan 5 1800", "Jan 5 2100"});
    ExpectAll({
        {"Jan 1st", 2001, 1, 1},             {"2nd March", 2001, 3, 2},
        {"March 3rd 2002", 2002, 3, 3},      {"April 4th", 2001, 4, 4},
        {"may 11th", 2001, 5, 11},           {"may 22nd", 2001, 5, 22},
        {"jan 21th", 2001, 1, 21},           {"Jan 31ST, 2001", 2001, 1, 31},
    });
    // A suffix that does not fit, or an ordinal where no day belongs.
    ExpectNotUnderstood({"Jan 2st", "Jan 1nd", "Jan 11st", "Jan 12nd", "Jan 5 2001st", "1st",
                         "3rd:05", "2nd/3/2001", "Jan 5xy"});
}

TEST_P(DateParserTest, ZonesAndOffsets)
{
    // The missing fields come from now as seen in that zone; offsets go up
    // to 23:59.
    const int32_t late = Utc(2001, 3, 21, 23, 30);
    const struct {
        const char* text;
        int32_t now, expected;
    } cases[] = {
        {"Jan 5 2001 15:05 UTC", fNow, Utc(2001, 1, 5, 15, 5)},
        {"Jan 5 2001 15:05 gmt", fNow, Utc(2001, 1, 5, 15, 5)},
        {"Jan 5 2001 10:00 EST", fNow, Utc(2001, 1, 5, 15)},
        {"Jan 5 2001 10:00 -0500", fNow, Utc(2001, 1, 5, 15)},
        {"Jan 5 2001 16:00 +0100", fNow, Utc(2001, 1, 5, 15)},
        {"Jan 5 2001 16:30 +01:30", fNow, Utc(2001, 1, 5, 15)},
        {"Jan 5 2001 16:00 CET", fNow, Utc(2001, 1, 5, 15)},
        {"Jul 5 2001 17:00 CEST", fNow, Utc(2001, 7, 5, 15)},
        {"Jan 5 2001 15:00 PST", fNow, Utc(2001, 1, 5, 23)},
        {"Jan 6 2001 00:00 JST", fNow, Utc(2001, 1, 5, 15)},
        {"Wed, 21 Mar 2001 10:15:00 +0100", fNow, Utc(2001, 3, 21, 9, 15)},
        {"Jan 5 2001 3 pm GMT+1", fNow, Utc(2001, 1, 5, 14)},
        {"Jan 5 2001 12:00 +2359", fNow, Utc(2001, 1, 4, 12, 1)},
        {"9:00 +0100", late, Utc(2001, 3, 22, 8)},
        {"9:00 UTC", late, Utc(2001, 3, 21, 9)},
        {"tomorrow 9:00 UTC", late, Utc(2001, 3, 22, 9)},
        {"UTC", late, late},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parsedate(c.text, c.now), c.expected) << c.text;
    ExpectNotUnderstood({"12:00 +2400", "12:00 +0160", "12:00 +12345", "12:00 UTC EST", "12:00 XYZ"});
}

TEST_P(DateParserTest, RelativeWordsAndChains)
{
    ExpectAll({
        {"now", 2001, 3, 21, 10, 15},        {"today", 2001, 3, 21},
        {"today 17:00", 2001, 3, 21, 17},    {"yesterday", 2001, 3, 20},
        {"17:00 yesterday", 2001, 3, 20, 17}, {"tomorrow tomorrow", 2001, 3, 23},
        {"next week", 2001, 3, 28},          {"last week", 2001, 3, 14},
        {"-1 week", 2001, 3, 14},            {"2 weeks 3 days", 2001, 4, 7},
        {"friday next week", 2001, 3, 30},   {"next week 9:30", 2001, 3, 28, 9, 30},
        // A month offset starts from the 1st, a year offset from January
        // 1st, whatever order they come in.
        {"next month", 2001, 4, 1},          {"1 month 3 days", 2001, 4, 4},
        {"3 days 1 month", 2001, 4, 4},      {"next year", 2002, 1, 1},
        {"last year", 2000, 1, 1},           {"this month", 2001, 3, 1},
        // Clock offsets keep the time of day.
        {"-2 hours", 2001, 3, 21, 8, 15},    {"+ 90 minutes", 2001, 3, 21, 11, 45},
        {"30 secs", 2001, 3, 21, 10, 15, 30}, {"tomorrow +2 hrs", 2001, 3, 22, 2},
        {"next march", 2002, 3, 1},          {"last march", 2000, 3, 1},
        // With a relative word, a date keeps now's clock.
        {"Jan 5 2001 +2 hours", 2001, 1, 5, 12, 15}, {"Jan 5 tomorrow", 2001, 1, 6},
    });
    ExpectNotUnderstood({"next", "last 3", "+2", "3 days ago", "next next week",
                         "next friday last friday", "next march jan 5"});
}

TEST_P(DateParserTest, ReferenceMinusOneIsTheClock)
{
    ScopedClock clock(fNow);
    EXPECT_EQ(parsedate("tomorrow 9am", -1), LocalTime(2001, 3, 22, 9, 0, 0));
    clock.Get().Set(LocalTime(2011, 6, 1, 12, 0, 0));
    EXPECT_EQ(parsedate("now", -1), LocalTime(2011, 6, 1, 12, 0, 0));
}

TEST_P(DateParserTest, GarbageIsNotUnderstood)
{
    ExpectNotUnderstood({"", "   ", ",", "-", "+", "::", "Jan 5 2001 x", "5 jan 2001!", "12:00\x01",
                         "jan\xc3\xa9", "\xff\xfe", "2001-01-05T10:00", "999999999999",
                         "1234567890 days", "999999999 years", "99999 days", "1e5", "0x10", "12..5",
                         "Jan,,5", "wednesdays", "septembers", "a b c"});
    EXPECT_EQ(parsedate(nullptr, fNow), -1);

    // Long inputs are refused without trouble.
    std::string manyTokens;
    for (int i = 0; i < 5000; ++i)
        manyTokens += "tomorrow ";
    ExpectNotUnderstood(
        {std::string(100000, '1').c_str(), manyTokens.c_str(), std::string(5000, 'a').c_str()});

    // Random texts built from the meaningful characters, with one byte that
    // the parser does not accept put somewhere in them.
    const std::string alphabet = "0123456789 ,.:/-+ janfebtomorwdhsxyzAMP";
    const std::string accepted = " \t\n\r\v\f,.:/-+";
    std::mt19937 random(20010321);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        const int length = 1 + int(random() % 24);
        for (int i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        char bad;
        do {
            bad = char(1 + random() % 255);
        } while (std::isalnum(static_cast<unsigned char>(bad)) || accepted.find(bad) != std::string::npos);
        text.insert(random() % (text.size() + 1), 1, bad);
        EXPECT_EQ(Parse(text.c_str()), -1) << "text: \"" << text << "\"";
    }
}

TEST_P(DateParserTest, DaylightSavingChanges)
{
    // Across a change of clocks, day offsets land on local midnight and
    // clock offsets count real seconds; times that do not exist or exist
    // twice are normalised like mktime.
    const int32_t beforeSpring = LocalTime(2001, 3, 31, 23, 30, 0);
    const struct {
        const char* text;
        int32_t expected;
    } cases[] = {
        {"tomorrow", LocalTime(2001, 4, 1)},
        {"2 days", LocalTime(2001, 4, 2)},
        {"tomorrow 12:00", LocalTime(2001, 4, 1, 12, 0, 0)},
        {"+3 hours", beforeSpring + 3 * 3600},
        {"next week 8:00", LocalTime(2001, 4, 7, 8, 0, 0)},
        {"Apr 1 2001 2:30", LocalTime(2001, 4, 1, 2, 30, 0)},
        {"Oct 28 2001 1:30", LocalTime(2001, 10, 28, 1, 30, 0)},
        {"Jul 4 2001 12:00", LocalTime(2001, 7, 4, 12, 0, 0)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parsedate(c.text, beforeSpring), c.expected) << c.text;
}

INSTANTIATE_TEST_SUITE_P(Zones, DateParserTest, ::testing::Values("UTC0", "America/New_York"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string(info.index == 0 ? "Utc" : "NewYork");
                         });

}  // namespace
