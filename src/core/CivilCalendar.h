// Whole-day calendar arithmetic in the proleptic Gregorian calendar, free of
// time zones: day numbers of dates, dates of day numbers, and weekdays.
#pragma once

#include <cstdint>

class CivilCalendar {
public:
    // A calendar date with the fields counted as in struct tm.
    struct Date {
        int64_t year;  // years since 1900
        int month;     // 0 = January .. 11 = December
        int day;       // 1..31
    };

    // Days from 1 January 1970 to the given day. The month and the day may
    // lie outside their ranges and carry exactly as mktime carries them:
    // month 12 is January of the next year, month -1 December of the year
    // before, day 0 the last day of the month before, day 32 of a 31-day
    // month the 1st of the next.
    static int64_t DayNumber(int64_t yearSince1900, int64_t month, int64_t day);

    // The date of a day number.
    static Date DateOf(int64_t dayNumber);

    // The weekday of a day number: 0 = Sunday .. 6 = Saturday.
    static int Weekday(int64_t dayNumber);

    // a / b rounded toward minus infinity (b != 0).
    static int64_t FloorDiv(int64_t a, int64_t b);
};
