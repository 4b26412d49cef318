// Date and time texts: the list's date strings, times of day, the rewriting
// of am/pm times and the reading of typed dates with or without a time.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "ScopedTimeZone.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/TimeText.h"

namespace {

class TimeTextTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(InitSafeTime());
        fSaved24Hour = CalvorinSettings::Time24Hour;
    }
    void TearDown() override { CalvorinSettings::Time24Hour = fSaved24Hour; }

    static std::string DateTime(int32_t t, bool withTime)
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
    static std::string Fixed(const char* text)
    {
        std::unique_ptr<char[]> fixed(GetFixedTime(text));
        return fixed.get();
    }

    ScopedTimeZone zone{"America/New_York"};

private:
    bool fSaved24Hour = false;
};

}  // namespace

TEST_F(TimeTextTest, DateTimeStringsInBothClocks)
{
    const int32_t t = LocalTime(2001, 1, 5, 15, 5);
    CalvorinSettings::Time24Hour = false;
    EXPECT_EQ(DateTime(t, true), "Fri, Jan 05 2001, 03:05 PM");
    EXPECT_EQ(DateTime(t, false), "Fri, Jan 05 2001");
    CalvorinSettings::Time24Hour = true;
    EXPECT_EQ(DateTime(t, true), "Fri, Jan 05 2001, 15:05");
    EXPECT_EQ(DateTime(t, false), "Fri, Jan 05 2001");
}

TEST_F(TimeTextTest, NoonMidnightAndAfternoonInTwelveHourForm)
{
    CalvorinSettings::Time24Hour = false;
    EXPECT_EQ(DateTime(LocalTime(2001, 12, 31, 12, 0), true), "Mon, Dec 31 2001, 12:00 PM");
    EXPECT_EQ(DateTime(LocalTime(2001, 12, 31, 0, 0), true), "Mon, Dec 31 2001, 12:00 AM");
    EXPECT_EQ(DateTime(LocalTime(2001, 12, 31, 13, 0), true), "Mon, Dec 31 2001, 01:00 PM");
    EXPECT_EQ(DateTime(LocalTime(2001, 12, 31, 11, 59), true), "Mon, Dec 31 2001, 11:59 AM");
    CalvorinSettings::Time24Hour = true;
    EXPECT_EQ(DateTime(LocalTime(2001, 12, 31, 0, 7), true), "Mon, Dec 31 2001, 00:07");
}

TEST_F(TimeTextTest, NoTimeShowsNone)
{
    EXPECT_EQ(DateTime(0, true), "None");
    EXPECT_EQ(DateTime(-1, false), "None");
    EXPECT_NE(DateTime(1, false), "None");
}

TEST_F(TimeTextTest, DateTimeStringFitsItsBufferAtTheEndsOfTheRange)
{
    CalvorinSettings::Time24Hour = false;
    EXPECT_EQ(DateTime(INT32_MAX, true), "Mon, Jan 18 2038, 10:14 PM");
    EXPECT_EQ(DateTime(INT32_MIN, true), "Fri, Dec 13 1901, 03:45 PM");
}

TEST_F(TimeTextTest, TimeOfDayTexts)
{
    CalvorinSettings::Time24Hour = false;
    EXPECT_EQ(TimeOfDay(0), "12:00 AM");
    EXPECT_EQ(TimeOfDay(12 * 3600), "12:00 PM");
    EXPECT_EQ(TimeOfDay(13 * 3600 + 5 * 60), "01:05 PM");
    EXPECT_EQ(TimeOfDay(11 * 3600 + 59 * 60 + 59), "11:59 AM");
    EXPECT_EQ(TimeOfDay(86399), "11:59 PM");
    CalvorinSettings::Time24Hour = true;
    EXPECT_EQ(TimeOfDay(0), "00:00");
    EXPECT_EQ(TimeOfDay(13 * 3600 + 5 * 60), "13:05");
    EXPECT_EQ(TimeOfDay(86399), "23:59");
    // Outside one day: brought into it rather than overflowing the text.
    EXPECT_EQ(TimeOfDay(86400 + 60), "00:01");
    EXPECT_EQ(TimeOfDay(-60), "23:59");
}

TEST_F(TimeTextTest, FixedTimeRewritesTwelveHourTimes)
{
    EXPECT_EQ(Fixed("12:30 am"), "00:30:00");
    EXPECT_EQ(Fixed("12 pm"), "12:00:00");
    EXPECT_EQ(Fixed("12 am"), "00:00:00");
    EXPECT_EQ(Fixed("Jan 5 2001 3:05 pm"), "Jan 5 2001 15:05:00");
    EXPECT_EQ(Fixed("Jan 5 2001 3:05:09PM"), "Jan 5 2001 15:05:09");
    EXPECT_EQ(Fixed("tomorrow 9am"), "tomorrow 09:00:00");
    EXPECT_EQ(Fixed("9:15 AM next friday"), "09:15:00 next friday");
    EXPECT_EQ(Fixed("5 jan 2001 11:59  pM"), "5 jan 2001 23:59:00");
}

TEST_F(TimeTextTest, FixedTimeLeavesOtherTextsAlone)
{
    EXPECT_EQ(Fixed("Jan 5 2001 15:05"), "Jan 5 2001 15:05");
    EXPECT_EQ(Fixed(""), "");
    EXPECT_EQ(Fixed("am"), "am");
    // "am" inside a word has no time before it.
    EXPECT_EQ(Fixed("Sample 10 pm"), "Sample 22:00:00");
    EXPECT_EQ(Fixed("Sample"), "Sample");
    EXPECT_EQ(GetFixedTime(nullptr), nullptr);
}

TEST_F(TimeTextTest, ParsedTextsTellWhetherTheyHadATimeOfDay)
{
    ScopedClock clock(LocalTime(2001, 3, 21, 10, 15));
    bool hasTime = true;
    EXPECT_EQ(hastimeinfo_parsedate("Jan 5 2001", &hasTime), LocalTime(2001, 1, 5));
    EXPECT_FALSE(hasTime);

    // A typed midnight counts as a time of day because of its ':'.
    EXPECT_EQ(hastimeinfo_parsedate("Jan 5 2001 0:00", &hasTime), LocalTime(2001, 1, 5));
    EXPECT_TRUE(hasTime);

    EXPECT_EQ(hastimeinfo_parsedate("Jan 5 2001 3:05 pm", &hasTime), LocalTime(2001, 1, 5, 15, 5));
    EXPECT_TRUE(hasTime);

    // "12 am" is midnight; the "am" shows the time.
    EXPECT_EQ(hastimeinfo_parsedate("tomorrow 12 AM", &hasTime), LocalTime(2001, 3, 22));
    EXPECT_TRUE(hasTime);

    EXPECT_EQ(hastimeinfo_parsedate("tomorrow", &hasTime), LocalTime(2001, 3, 22));
    EXPECT_FALSE(hasTime);

    EXPECT_EQ(hastimeinfo_parsedate("tomorrow 9am", nullptr), LocalTime(2001, 3, 22, 9, 0));
}

TEST_F(TimeTextTest, TextsNotUnderstoodGiveMinusOne)
{
    ScopedClock clock(LocalTime(2001, 3, 21, 10, 15));
    bool hasTime = true;
    EXPECT_EQ(hastimeinfo_parsedate("banana", &hasTime), -1);
    EXPECT_FALSE(hasTime);
    hasTime = true;
    EXPECT_EQ(hastimeinfo_parsedate(nullptr, &hasTime), -1);
    EXPECT_FALSE(hasTime);
}

TEST_F(TimeTextTest, AsciiToLowerFoldsOnlyCapitalLetters)
{
    EXPECT_EQ(ascii_tolower('A'), 'a');
    EXPECT_EQ(ascii_tolower('Z'), 'z');
    EXPECT_EQ(ascii_tolower('a'), 'a');
    EXPECT_EQ(ascii_tolower('@'), '@');
    EXPECT_EQ(ascii_tolower('['), '[');
    EXPECT_EQ(ascii_tolower('\xC9'), '\xC9');
}
