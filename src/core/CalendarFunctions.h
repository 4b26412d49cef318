// Calendar arithmetic in local time used by the event schedule: month
// lengths, local midnight, and the one wrapper through which a broken-down
// time the program built or changed is turned back into seconds.
#pragma once

#include <cstdint>
#include <ctime>

// Days in the month (0 = January) of the year counted from 1900. A month
// above 11 carries whole years first. February has 29 days whenever the year
// is divisible by 4 (no century rule; exact for 1901-2099).
long DaysInMonth(long month, long yearSince1900);

// The default week-of-month of a day: the 0-based row of that day in a
// month calendar whose weeks begin on Monday.
signed char DetermineWeekOfMonth(signed char dayOfMonth, signed char dayOfWeek);

// Seconds from local midnight up to t.
int32_t GetSecondsIntoDay(int32_t t);
// Local midnight at the start of t's day.
int32_t GetLast12AM(int32_t t);

// Converts a broken-down local time back to seconds, letting the time zone
// rules decide whether daylight saving is in force (tm_isdst = -1), and
// normalises cal in place.
int32_t MakeLocalTime(struct tm& cal);
// The same, without narrowing to the 32 bits that events store, so that
// callers can see a time that lies beyond that range.
int64_t MakeLocalTime64(struct tm& cal);
