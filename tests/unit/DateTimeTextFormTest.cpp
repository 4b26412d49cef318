// The list's date texts and times of day, written digit by digit, are the
// texts of the printf forms they replace, for times across and beyond the
// range of event times and in both clocks.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "ScopedTimeZone.h"
#include "core/CalvorinSettings.h"
#include "core/TimeText.h"

namespace {

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

TEST(DateTimeTextForm, DateTimeStringsMatchThePrintfForm)
{
    ScopedTimeZone zone("Europe/Berlin");
    const bool saved = CalvorinSettings::Time24Hour;
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
            for (bool withTime : {false, true}) {
                char buffer[kDateTimeStringSize];
                GetDateTimeString(t, withTime, buffer);
                ASSERT_EQ(std::string(buffer), PrintfDateTime(t, withTime, use24Hour)) << t;
            }
        }
    }
    CalvorinSettings::Time24Hour = saved;
}

TEST(DateTimeTextForm, TimesOfDayMatchThePrintfForm)
{
    const bool saved = CalvorinSettings::Time24Hour;
    for (bool use24Hour : {false, true}) {
        CalvorinSettings::Time24Hour = use24Hour;
        for (long s = -86400; s <= 2 * 86400; s += 60) {
            const long inDay = ((s % 86400) + 86400) % 86400;
            const int h = int(inDay / 3600), m = int(inDay % 3600 / 60);
            char expected[16];
            if (use24Hour)
                std::snprintf(expected, sizeof(expected), "%02d:%02d", h, m);
            else
                std::snprintf(expected, sizeof(expected), "%02d:%02d %cM",
                              h % 12 == 0 ? 12 : h % 12, m, h > 11 ? 'P' : 'A');
            std::unique_ptr<char[]> text(GetTimeOfDayText(s));
            ASSERT_STREQ(text.get(), expected) << s;
        }
    }
    CalvorinSettings::Time24Hour = saved;
}
