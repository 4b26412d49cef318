#include "core/CalendarFunctions.h"

#include "core/TimeText.h"

namespace {
const long kMonthLengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
}

long DaysInMonth(long month, long yearSince1900)
{
    // Carry whole years out of the month; a negative month borrows years the
    // same way, so that no value indexes outside the table.
    yearSince1900 += month / 12;
    month %= 12;
    if (month < 0) {
        month += 12;
        yearSince1900 -= 1;
    }
    if (month == 1 && yearSince1900 % 4 == 0)
        return 29;
    return kMonthLengths[month];
}

signed char DetermineWeekOfMonth(signed char dayOfMonth, signed char dayOfWeek)
{
    int r = dayOfMonth % 7;
    int c = dayOfWeek - r;  // weekday of "day 0" of the month
    if (c < 0)
        c += 7;
    return static_cast<signed char>((dayOfMonth + c - 1) / 7);
}

namespace {
int64_t LocalMidnight(int32_t t)
{
    struct tm cal;
    Safe_localtime(t, &cal);
    cal.tm_hour = 0;
    cal.tm_min = 0;
    cal.tm_sec = 0;
    return MakeLocalTime64(cal);
}
}  // namespace

int32_t GetLast12AM(int32_t t)
{
    return static_cast<int32_t>(LocalMidnight(t));
}

int32_t GetSecondsIntoDay(int32_t t)
{
    return static_cast<int32_t>(int64_t(t) - LocalMidnight(t));
}

int64_t MakeLocalTime64(struct tm& cal)
{
    cal.tm_isdst = -1;
    return static_cast<int64_t>(mktime(&cal));
}

int32_t MakeLocalTime(struct tm& cal)
{
    return static_cast<int32_t>(MakeLocalTime64(cal));
}
