// Date and time texts: the weekday and month names, the guarded local-time
// breakdown, the texts shown for times and times of day, and the reading of
// typed dates with or without a time of day.
#pragma once

#include <cstdint>
#include <ctime>

extern const char* const DayAbbr[7];      // "Sun" .. "Sat"
extern const char* const MonthAbbr[12];   // "Jan" .. "Dec"
extern const char* const DayNames[7];     // "Sunday" .. "Saturday"
extern const char* const MonthNames[12];  // "January" .. "December"
// Words whose presence in a typed date shows that it carries a time of day.
constexpr int kNumberOfTimeOfDayIndicators = 7;
extern const char* const TimeOfDayIndicators[kNumberOfTimeOfDayIndicators];

// Size of the buffer GetDateTimeString writes into.
constexpr int kDateTimeStringSize = 32;

// Sets up the lock ("SafeTime semaphore") that serialises local-time
// breakdowns. Called once at start-up; true on success.
bool InitSafeTime();
// Breaks t down into local time; safe to call from any thread.
void Safe_localtime(long t, struct tm* out);

// "Fri, Jan 05 2001" or, with the time, "Fri, Jan 05 2001, 03:05 PM"
// ("..., 15:05" with the 24-hour clock); "None" for 0 and -1. buffer holds
// at least kDateTimeStringSize bytes.
void GetDateTimeString(long t, bool withTime, char* buffer);
// "HH:MM" (24-hour clock) or "HH:MM AM" for a time of day; the caller
// frees the result with delete[].
char* GetTimeOfDayText(long secondsIntoDay);
// The text with its first am/pm time rewritten in 24-hour form
// ("Jan 5 2001 3:05 pm" -> "Jan 5 2001 15:05:00"); a copy of the text when
// it has none. The caller frees the result with delete[]; null for null.
char* GetFixedTime(const char* text);
// Reads a typed date; -1 when it is not understood. When hasTime is given,
// it tells whether the text named a time of day (so that a typed midnight
// differs from a date typed without a time).
int32_t hastimeinfo_parsedate(const char* text, bool* hasTime);
// c with A-Z mapped to a-z, every other character unchanged (no locale).
char ascii_tolower(char c);
