// Date and time texts: the list's date strings and times of day in both
// clocks (the worked examples, and every time against the printf forms that
// the digit-by-digit writers replace), the rewriting of am/pm times and the
// reading of typed dates with or without a time.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ScopedTimeZone.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/TimeText.h"

namespace {

class TimeTextTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(InitSafeTime()); }
    void TearDown() override { CalvorinSettings::Time24Hour = fSaved24Hour; }

    static std::string DateTime(long t, bool withTime)
    {
        char buffer[kDateTimeStringSize];
        std::memset(buffer, 'x', sizeof(buffer));
        GetDateTimeString(t, withTime, buffer);
        return buffer;
    }
    static std::string TimeOfDay(long seconds)
    {
        std::unique_ptr<char[]> text(GetTimeOfDayText(seconds));
        return text.get();
    }

    ScopedTimeZone zone{"America/New_York"};
    const bool fSaved24Hour = CalvorinSettings::Time24Hour;
};

// The printf form of GetDateTimeString.
std::string PrintfDateTime(long t, bool withTime, bool use24Hour)
{
    if (t == 0 || t == -1)
        return "None";
    struct tm cal;
    Safe_localtime(t, &cal);
    int hour = cal.tm_hour;
    if (!use24Hour)
        hour = hour > 12 ? hour - 12 : (hour == 0 ? 12 : hour);
    char text[64];
    const char* day = DayAbbr[((cal.tm_wday % 7) + 7) % 7];
    const char* month = MonthAbbr[((cal.tm_mon % 12) + 12) % 12];
    const int year = (cal.tm_year + 1900) % 10000;
    if (withTime)
        std::snprintf(text, sizeof(text), "%s, %s %02d %04d, %02d:%02d%s", day, month,
                      cal.tm_mday % 100, year, hour % 100, cal.tm_min % 100,
                      use24Hour ? "" : (cal.tm_hour < 12 ? " AM" : " PM"));
    else
        std::snprintf(text, sizeof(text), "%s, %s %02d %04d", day, month, cal.tm_mday % 100, year);
    return text;
}

}  // namespace

TEST_F(TimeTextTest, DateTimeStrings)
{
    const int32_t friday = LocalTime(2001, 1, 5, 15, 5);
    const struct {
        long t;
        bool use24Hour, withTime;
        const char* text;
    } cases[] = {
        {friday, false, true, "Fri, Jan 05 2001, 03:05 PM"},
        {friday, false, false, "Fri, Jan 05 2001"},
        {friday, true, true, "Fri, Jan 05 2001, 15:05"},
        {friday, true, false, "Fri, Jan 05 2001"},
        // Noon, midnight and the afternoon in the twelve-hour form.
        {LocalTime(2001, 12, 31, 12, 0), false, true, "Mon, Dec 31 2001, 12:00 PM"},
        {LocalTime(2001, 12, 31, 0, 0), false, true, "Mon, Dec 31 2001, 12:00 AM"},
        {LocalTime(2001, 12, 31, 13, 0), false, true, "Mon, Dec 31 2001, 01:00 PM"},
        {LocalTime(2001, 12, 31, 11, 59), false, true, "Mon, Dec 31 2001, 11:59 AM"},
        {LocalTime(2001, 12, 31, 0, 7), true, true, "Mon, Dec 31 2001, 00:07"},
        // No time; and the ends of the range fit the buffer.
        {0, false, true, "None"},
        {-1, false, false, "None"},
        {INT32_MAX, false, true, "Mon, Jan 18 2038, 10:14 PM"},
        {INT32_MIN, false, true, "Fri, Dec 13 1901, 03:45 PM"},
    };
    for (const auto& c : cases) {
        CalvorinSettings::Time24Hour = c.use24Hour;
        EXPECT_EQ(DateTime(c.t, c.withTime), c.text);
    }
    EXPECT_NE(DateTime(1, false), "None");
}

TEST_F(TimeTextTest, DateTimeStringsMatchThePrintfForm)
{
    ScopedTimeZone berlin("Europe/Berlin");
    // Every 3 days 2 hours 7 minutes over the 32-bit range, and far beyond it
    // (years before 0 and after 9999, and times the C library cannot break
    // down).
    std::vector<long> times = {0, -1, 1, INT32_MIN, INT32_MAX, -70000000000L, -62200000000L,
                               253402300800L, 400000000000L, 1L << 62};
    for (long t = INT32_MIN; t < INT32_MAX - 267000; t += 266820)
        times.push_back(t);
    for (bool use24Hour : {false, true}) {
        CalvorinSettings::Time24Hour = use24Hour;
        for (long t : times) {
            for (bool withTime : {false, true})
                ASSERT_EQ(DateTime(t, withTime), PrintfDateTime(t, withTime, use24Hour)) << t;
        }
    }
}

TEST_F(TimeTextTest, TimesOfDay)
{
    // Outside one day, a time is brought into it rather than overflowing the text.
    const struct {
        long seconds;
        bool use24Hour;
        const char* text;
    } cases[] = {
        {0, false, "12:00 AM"},     {12 * 3600, false, "12:00 PM"}, {13 * 3600 + 5 * 60, false, "01:05 PM"},
        {43199, false, "11:59 AM"}, {86399, false, "11:59 PM"},     {0, true, "00:00"},
        {13 * 3600 + 5 * 60, true, "13:05"}, {86399, true, "23:59"}, {86400 + 60, true, "00:01"},
        {-60, true, "23:59"},
    };
    for (const auto& c : cases) {
        CalvorinSettings::Time24Hour = c.use24Hour;
        EXPECT_EQ(TimeOfDay(c.seconds), c.text) << c.seconds;
    }
    // Every minute of three days against the printf forms.
    for (bool use24Hour : {false, true}) {
        CalvorinSettings::Time24Hour = use24Hour;
        for (long s = -86400; s <= 2 * 86400; s += 60) {
            const long inDay = ((s % 86400) + 86400) % 86400;
            const int h = int(inDay / 3600), m = int(inDay % 3600 / 60);
            char expected[16];
            if (use24Hour)
                std::snprintf(expected, sizeof(expected), "%02d:%02d", h, m);
            else
                std::snprintf(expected, sizeof(expected), "%02d:%02d %cM", h % 12 == 0 ? 12 : h % 12,
                              m, h > 11 ? 'P' : 'A');
            ASSERT_EQ(TimeOfDay(s), expected) << s;
        }
    }
}

TEST_F(TimeTextTest, FixedTimeRewritesTwelveHourTimesAndLeavesOtherTextsAlone)
{
    const std::pair<const char*, const char*> cases[] = {
        {"12:30 am", "00:30:00"},
        {"12 pm", "12:00:00"},
        {"12 am", "00:00:00"},
        {"Jan 5 2001 3:05 pm", "Jan 5 2001 15:05:00"},
        {"Jan 5 2001 3:05:09PM", "Jan 5 2001 15:05:09"},
        {"tomorrow 9am", "tomorrow 09:00:00"},
        {"9:15 AM next friday", "09:15:00 next friday"},
        {"5 jan 2001 11:59  pM", "5 jan 2001 23:59:00"},
        {"Jan 5 2001 15:05", "Jan 5 2001 15:05"},
        {"", ""},
        {"am", "am"},
        {"Sample 10 pm", "Sample 22:00:00"},  // "am" inside a word has no time before it
        {"Sample", "Sample"},
    };
    for (const auto& [text, fixed] : cases) {
        std::unique_ptr<char[]> result(GetFixedTime(text));
        EXPECT_STREQ(result.get(), fixed) << text;
    }
    EXPECT_EQ(GetFixedTime(nullptr), nullptr);
}

TEST_F(TimeTextTest, ParsedTextsTellWhetherTheyHadATimeOfDay)
{
    ScopedClock clock(LocalTime(2001, 3, 21, 10, 15));
    const struct {
        const char* text;
        int32_t time;
        bool hasTime;
    } cases[] = {
        {"Jan 5 2001", LocalTime(2001, 1, 5), false},
        {"Jan 5 2001 0:00", LocalTime(2001, 1, 5), true},  // a typed midnight, because of its ':'
        {"Jan 5 2001 3:05 pm", LocalTime(2001, 1, 5, 15, 5), true},
        {"tomorrow 12 AM", LocalTime(2001, 3, 22), true},  // midnight; the "am" shows the time
        {"tomorrow", LocalTime(2001, 3, 22), false},
        {"banana", -1, false},
        {nullptr, -1, false},
    };
    for (const auto& c : cases) {
        bool hasTime = !c.hasTime;
        EXPECT_EQ(hastimeinfo_parsedate(c.text, &hasTime), c.time) << (c.text ? c.text : "null");
        EXPECT_EQ(hasTime, c.hasTime) << (c.text ? c.text : "null");
    }
    EXPECT_EQ(hastimeinfo_parsedate("tomorrow 9am", nullptr), LocalTime(2001, 3, 22, 9, 0));
}

TEST_F(TimeTextTest, AsciiToLowerFoldsOnlyCapitalLetters)
{
    const std::pair<char, char> cases[] = {{'A', 'a'}, {'Z', 'z'}, {'a', 'a'},
                                           {'@', '@'}, {'[', '['}, {'\xC9', '\xC9'}};
    for (const auto& [in, out] : cases)
        EXPECT_EQ(ascii_tolower(in), out) << int(in);
}
