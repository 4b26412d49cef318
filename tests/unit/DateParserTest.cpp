// The typed-date parser: every documented example and shape, the year and
// range rules, zones and relative words, in UTC and in a zone with daylight
// saving time, and that arbitrary bytes are refused safely.
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/Clock.h"
#include "core/DateParser.h"

namespace {

// Sets TZ for the lifetime of a scope and puts the previous value back.
class ScopedZone {
public:
    explicit ScopedZone(const char* zone)
    {
        const char* old = std::getenv("TZ");
        fHadZone = old != nullptr;
        if (fHadZone)
            fOldZone = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedZone()
    {
        if (fHadZone)
            setenv("TZ", fOldZone.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool fHadZone = false;
    std::string fOldZone;
};

// Local time of the given calendar fields, as mktime normalises them.
int32_t Local(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    struct tm fields {};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return static_cast<int32_t>(mktime(&fields));
}

// UTC time of the given calendar fields.
int32_t Utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    struct tm fields {};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    return static_cast<int32_t>(timegm(&fields));
}

struct Case {
    const char* text;
    int year, month, day, hour, minute, second;
};

// Runs each test once in UTC and once in a zone with daylight saving time
// (New York, whose 2001 summer time began on 1 April).
class DateParserTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        fZone = std::make_unique<ScopedZone>(GetParam());
        fNow = Local(2001, 3, 21, 10, 15, 0);  // Wednesday
    }
    void TearDown() override { fZone.reset(); }

    int32_t Parse(const char* text) const { return parsedate(text, fNow); }

    void ExpectAll(const Case* cases, size_t count) const
    {
        for (size_t i = 0; i < count; ++i) {
            const Case& c = cases[i];
            EXPECT_EQ(Parse(c.text), Local(c.year, c.month, c.day, c.hour, c.minute, c.second))
                << "text: \"" << c.text << "\"";
        }
    }

    void ExpectNotUnderstood(const char* const* texts, size_t count) const
    {
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(Parse(texts[i]), -1) << "text: \"" << texts[i] << "\"";
    }

    std::unique_ptr<ScopedZone> fZone;
    int32_t fNow = 0;
};

TEST_P(DateParserTest, DocumentedExamples)
{
    const Case cases[] = {
        {"Jan 5 2001", 2001, 1, 5, 0, 0, 0},
        {"Jan 5 2001 3:05 pm", 2001, 1, 5, 15, 5, 0},
        {"5 jan 2001 15:05", 2001, 1, 5, 15, 5, 0},
        {"2001-01-05", 2001, 1, 5, 0, 0, 0},
        {"1/5/2001", 2001, 1, 5, 0, 0, 0},
        {"5.1.2001", 2001, 1, 5, 0, 0, 0},
        {"17:30", 2001, 3, 21, 17, 30, 0},
        {"tomorrow", 2001, 3, 22, 0, 0, 0},
        {"tomorrow 9am", 2001, 3, 22, 9, 0, 0},
        {"next friday", 2001, 3, 30, 0, 0, 0},
        {"3 days", 2001, 3, 24, 0, 0, 0},
        {"+2 hours", 2001, 3, 21, 12, 15, 0},
    };
    ExpectAll(cases, std::size(cases));
    EXPECT_EQ(Parse("banana"), -1);
}

TEST_P(DateParserTest, MonthNameShapes)
{
    const Case cases[] = {
        {"Jan 5", 2001, 1, 5, 0, 0, 0},
        {"January 5, 2002", 2002, 1, 5, 0, 0, 0},
        {"Fri, Jan 5 2001", 2001, 1, 5, 0, 0, 0},
        {"friday, january 5 2001 3:05 pm", 2001, 1, 5, 15, 5, 0},
        {"5 Jan", 2001, 1, 5, 0, 0, 0},
        {"5 january 2001", 2001, 1, 5, 0, 0, 0},
        {"5-Jan-2001", 2001, 1, 5, 0, 0, 0},
        {"5/jan/2001 8pm", 2001, 1, 5, 20, 0, 0},
        {"Fri 5 Jan", 2001, 1, 5, 0, 0, 0},
        {"Jan 5 2001 15", 2001, 1, 5, 15, 0, 0},
        {"Jan 5 2001 15:05:07", 2001, 1, 5, 15, 5, 7},
        {"3:05 pm Jan 5 2001", 2001, 1, 5, 15, 5, 0},
        {"15:05 5 jan 2001", 2001, 1, 5, 15, 5, 0},
        {"Jan 5 3 pm", 2001, 1, 5, 15, 0, 0},
        {"JAN 5 2001", 2001, 1, 5, 0, 0, 0},
        {"Sept 9", 2001, 9, 9, 0, 0, 0},
        // A month alone, or with a full year, stands for its 1st.
        {"march", 2001, 3, 1, 0, 0, 0},
        {"March 2002", 2002, 3, 1, 0, 0, 0},
    };
    ExpectAll(cases, std::size(cases));
}

TEST_P(DateParserTest, NumericShapes)
{
    const Case cases[] = {
        {"3/25", 2001, 3, 25, 0, 0, 0},
        {"12-25", 2001, 12, 25, 0, 0, 0},
        {"1/5/01", 2001, 1, 5, 0, 0, 0},
        {"2001/1/5", 2001, 1, 5, 0, 0, 0},
        {"2001-01-05 15:05", 2001, 1, 5, 15, 5, 0},
        {"15:05 2001-01-05", 2001, 1, 5, 15, 5, 0},
        {"1/5/2001 3pm", 2001, 1, 5, 15, 0, 0},
        {"5.1.2001 8:00", 2001, 1, 5, 8, 0, 0},
        // Normalised as mktime does.
        {"feb 30", 2001, 3, 2, 0, 0, 0},
        {"24:00", 2001, 3, 22, 0, 0, 0},
    };
    ExpectAll(cases, std::size(cases));
    // Separators must match within one date.
    EXPECT_EQ(Parse("1/5-2001"), -1);
}

TEST_P(DateParserTest, TimeAndWeekdayShapes)
{
    const Case cases[] = {
        {"9:05", 2001, 3, 21, 9, 5, 0},
        {"23:59:58", 2001, 3, 21, 23, 59, 58},
        {"3 pm", 2001, 3, 21, 15, 0, 0},
        {"3:30pm", 2001, 3, 21, 15, 30, 0},
        {"12", 2001, 3, 21, 12, 0, 0},
        {"12 am", 2001, 3, 21, 0, 0, 0},
        {"12:30 am", 2001, 3, 21, 0, 30, 0},
        {"12 pm", 2001, 3, 21, 12, 0, 0},
        {"12:30 PM", 2001, 3, 21, 12, 30, 0},
        // A weekday is that day in the current week, Sunday first.
        {"wed", 2001, 3, 21, 0, 0, 0},
        {"sunday", 2001, 3, 18, 0, 0, 0},
        {"Saturday", 2001, 3, 24, 0, 0, 0},
        {"friday 17:00", 2001, 3, 23, 17, 0, 0},
        {"17:00 friday", 2001, 3, 23, 17, 0, 0},
        {"this friday", 2001, 3, 23, 0, 0, 0},
        {"last friday", 2001, 3, 16, 0, 0, 0},
        {"next monday 9am", 2001, 3, 26, 9, 0, 0},
    };
    ExpectAll(cases, std::size(cases));
    const char* const bad[] = {"13 pm", "0 am", "15:05 pm", "friday friday", "3 pm 4 pm"};
    ExpectNotUnderstood(bad, std::size(bad));
}

TEST_P(DateParserTest, TwoDigitYears)
{
    EXPECT_EQ(Parse("Jan 5 50"), Local(1950, 1, 5));
    EXPECT_EQ(Parse("Jan 5 11"), Local(2011, 1, 5));
    EXPECT_EQ(Parse("Jan 5 12"), Local(1912, 1, 5));  // more than ten years ahead
    EXPECT_EQ(Parse("1/5/00"), Local(2000, 1, 5));
    EXPECT_EQ(Parse("5.1.99"), Local(1999, 1, 5));

    // Counted from now's year: in 2011, "21" is still this century.
    const int32_t in2011 = Local(2011, 6, 1, 12, 0, 0);
    EXPECT_EQ(parsedate("Jan 5 11", in2011), Local(2011, 1, 5));
    EXPECT_EQ(parsedate("Jan 5 21", in2011), Local(2021, 1, 5));
    EXPECT_EQ(parsedate("Jan 5 22", in2011), Local(1922, 1, 5));
    EXPECT_EQ(parsedate("Jan 5 50", in2011), Local(1950, 1, 5));
    // Four digits are taken as they stand.
    EXPECT_EQ(Parse("Jan 5 1950"), Local(1950, 1, 5));
}

TEST_P(DateParserTest, OutOfRangeFieldsFail)
{
    const char* const bad[] = {
        "Jan 32",   "Jan 0",     "32 jan 2001", "13/5/2001", "0/5/2001",  "2001-13-05",
        "2001-1-0", "32.1.2001", "5.13.2001",   "25:00",     "12:60",     "12:30:60",
        "24:60",    "99:00",     "Jan 5 2001 25:00",
    };
    ExpectNotUnderstood(bad, std::size(bad));
    // A year outside what 32 bits can hold.
    EXPECT_EQ(Parse("Jan 5 1800"), -1);
    EXPECT_EQ(Parse("Jan 5 2100"), -1);
}

TEST_P(DateParserTest, Ordinals)
{
    const Case cases[] = {
        {"Jan 1st", 2001, 1, 1, 0, 0, 0},      {"2nd March", 2001, 3, 2, 0, 0, 0},
        {"March 3rd 2002", 2002, 3, 3, 0, 0, 0}, {"April 4th", 2001, 4, 4, 0, 0, 0},
        {"may 11th", 2001, 5, 11, 0, 0, 0},    {"may 22nd", 2001, 5, 22, 0, 0, 0},
        {"jan 21th", 2001, 1, 21, 0, 0, 0},    {"Jan 31ST, 2001", 2001, 1, 31, 0, 0, 0},
    };
    ExpectAll(cases, std::size(cases));
    // A suffix that does not fit, or an ordinal where no day belongs.
    const char* const bad[] = {"Jan 2st", "Jan 1nd", "Jan 11st", "Jan 12nd", "Jan 5 2001st",
                               "1st",     "3rd:05",  "2nd/3/2001", "Jan 5xy"};
    ExpectNotUnderstood(bad, std::size(bad));
}

TEST_P(DateParserTest, ZonesAndOffsets)
{
    EXPECT_EQ(Parse("Jan 5 2001 15:05 UTC"), Utc(2001, 1, 5, 15, 5));
    EXPECT_EQ(Parse("Jan 5 2001 15:05 gmt"), Utc(2001, 1, 5, 15, 5));
    EXPECT_EQ(Parse("Jan 5 2001 10:00 EST"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Jan 5 2001 10:00 -0500"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Jan 5 2001 16:00 +0100"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Jan 5 2001 16:30 +01:30"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Jan 5 2001 16:00 CET"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Jul 5 2001 17:00 CEST"), Utc(2001, 7, 5, 15, 0));
    EXPECT_EQ(Parse("Jan 5 2001 15:00 PST"), Utc(2001, 1, 5, 23, 0));
    EXPECT_EQ(Parse("Jan 6 2001 00:00 JST"), Utc(2001, 1, 5, 15, 0));
    EXPECT_EQ(Parse("Wed, 21 Mar 2001 10:15:00 +0100"), Utc(2001, 3, 21, 9, 15));
    EXPECT_EQ(Parse("Jan 5 2001 3 pm GMT+1"), Utc(2001, 1, 5, 14, 0));

    // The missing fields come from now as seen in that zone.
    const int32_t now = Utc(2001, 3, 21, 23, 30);
    EXPECT_EQ(parsedate("9:00 +0100", now), Utc(2001, 3, 22, 8, 0));
    EXPECT_EQ(parsedate("9:00 UTC", now), Utc(2001, 3, 21, 9, 0));
    EXPECT_EQ(parsedate("tomorrow 9:00 UTC", now), Utc(2001, 3, 22, 9, 0));
    EXPECT_EQ(parsedate("UTC", now), now);

    // Offsets go up to 23:59.
    EXPECT_EQ(Parse("Jan 5 2001 12:00 +2359"), Utc(2001, 1, 4, 12, 1));
    const char* const bad[] = {"12:00 +2400", "12:00 +0160", "12:00 +12345", "12:00 UTC EST",
                               "12:00 XYZ"};
    ExpectNotUnderstood(bad, std::size(bad));
}

TEST_P(DateParserTest, RelativeWordsAndChains)
{
    const Case cases[] = {
        {"now", 2001, 3, 21, 10, 15, 0},
        {"today", 2001, 3, 21, 0, 0, 0},
        {"today 17:00", 2001, 3, 21, 17, 0, 0},
        {"yesterday", 2001, 3, 20, 0, 0, 0},
        {"17:00 yesterday", 2001, 3, 20, 17, 0, 0},
        {"tomorrow tomorrow", 2001, 3, 23, 0, 0, 0},
        {"next week", 2001, 3, 28, 0, 0, 0},
        {"last week", 2001, 3, 14, 0, 0, 0},
        {"-1 week", 2001, 3, 14, 0, 0, 0},
        {"2 weeks 3 days", 2001, 4, 7, 0, 0, 0},
        {"friday next week", 2001, 3, 30, 0, 0, 0},
        {"next week 9:30", 2001, 3, 28, 9, 30, 0},
        // A month offset starts from the 1st, a year offset from January 1st,
        // whatever order they come in.
        {"next month", 2001, 4, 1, 0, 0, 0},
        {"1 month 3 days", 2001, 4, 4, 0, 0, 0},
        {"3 days 1 month", 2001, 4, 4, 0, 0, 0},
        {"next year", 2002, 1, 1, 0, 0, 0},
        {"last year", 2000, 1, 1, 0, 0, 0},
        {"this month", 2001, 3, 1, 0, 0, 0},
        // Clock offsets keep the time of day.
        {"-2 hours", 2001, 3, 21, 8, 15, 0},
        {"+ 90 minutes", 2001, 3, 21, 11, 45, 0},
        {"30 secs", 2001, 3, 21, 10, 15, 30},
        {"tomorrow +2 hrs", 2001, 3, 22, 2, 0, 0},
        {"next march", 2002, 3, 1, 0, 0, 0},
        {"last march", 2000, 3, 1, 0, 0, 0},
        // With a relative word, a date keeps now's clock.
        {"Jan 5 2001 +2 hours", 2001, 1, 5, 12, 15, 0},
        {"Jan 5 tomorrow", 2001, 1, 6, 0, 0, 0},
    };
    ExpectAll(cases, std::size(cases));
    const char* const bad[] = {"next", "last 3", "+2", "3 days ago", "next next week",
                               "next friday last friday", "next march jan 5"};
    ExpectNotUnderstood(bad, std::size(bad));
}

TEST_P(DateParserTest, ReferenceMinusOneIsTheClock)
{
    ScopedClock clock(fNow);
    EXPECT_EQ(parsedate("tomorrow 9am", -1), Local(2001, 3, 22, 9, 0, 0));
    clock.Get().Set(Local(2011, 6, 1, 12, 0, 0));
    EXPECT_EQ(parsedate("now", -1), Local(2011, 6, 1, 12, 0, 0));
}

TEST_P(DateParserTest, GarbageIsNotUnderstood)
{
    const char* const bad[] = {
        "",          "   ",        ",",         "-",            "+",          "::",
        "Jan 5 2001 x", "5 jan 2001!", "12:00\x01", "jan\xc3\xa9", "\xff\xfe", "2001-01-05T10:00",
        "999999999999", "1234567890 days", "999999999 years", "99999 days",  "1e5",
        "0x10",      "12..5",      "Jan,,5",    "wednesdays",   "septembers", "a b c",
    };
    ExpectNotUnderstood(bad, std::size(bad));
    EXPECT_EQ(parsedate(nullptr, fNow), -1);

    // Long inputs are refused without trouble.
    EXPECT_EQ(Parse(std::string(100000, '1').c_str()), -1);
    std::string manyTokens;
    for (int i = 0; i < 5000; ++i)
        manyTokens += "tomorrow ";
    EXPECT_EQ(Parse(manyTokens.c_str()), -1);
    std::string longWord(5000, 'a');
    EXPECT_EQ(Parse(longWord.c_str()), -1);
}

TEST_P(DateParserTest, AnyByteOutsideTheAlphabetIsRefused)
{
    // Random texts built from the meaningful characters, with one byte that
    // the parser does not accept put somewhere in them.
    const std::string alphabet = "0123456789 ,.:/-+ janfebtomorwdhsxyzAMP";
    std::mt19937 random(20010321);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        const int length = 1 + int(random() % 24);
        for (int i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        char bad;
        do {
            bad = char(1 + random() % 255);
        } while ((bad >= '0' && bad <= '9') || (bad >= 'a' && bad <= 'z') ||
                 (bad >= 'A' && bad <= 'Z') || std::string(" \t\n\r\v\f,.:/-+").find(bad) != std::string::npos);
        text.insert(random() % (text.size() + 1), 1, bad);
        EXPECT_EQ(Parse(text.c_str()), -1) << "text: \"" << text << "\"";
    }
}

TEST_P(DateParserTest, DaylightSavingChanges)
{
    // Across a change of clocks, day offsets land on local midnight and
    // clock offsets count real seconds.
    const int32_t beforeSpring = Local(2001, 3, 31, 23, 30, 0);
    EXPECT_EQ(parsedate("tomorrow", beforeSpring), Local(2001, 4, 1));
    EXPECT_EQ(parsedate("2 days", beforeSpring), Local(2001, 4, 2));
    EXPECT_EQ(parsedate("tomorrow 12:00", beforeSpring), Local(2001, 4, 1, 12, 0, 0));
    EXPECT_EQ(parsedate("+3 hours", beforeSpring), beforeSpring + 3 * 3600);
    EXPECT_EQ(parsedate("next week 8:00", beforeSpring), Local(2001, 4, 7, 8, 0, 0));

    // Times that do not exist or exist twice are normalised like mktime.
    EXPECT_EQ(parsedate("Apr 1 2001 2:30", beforeSpring), Local(2001, 4, 1, 2, 30, 0));
    EXPECT_EQ(parsedate("Oct 28 2001 1:30", beforeSpring), Local(2001, 10, 28, 1, 30, 0));
    EXPECT_EQ(parsedate("Jul 4 2001 12:00", beforeSpring), Local(2001, 7, 4, 12, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Zones, DateParserTest,
                         ::testing::Values("UTC0", "America/New_York"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string(info.index == 0 ? "Utc" : "NewYork");
                         });

}  // namespace
