#include "core/CivilCalendar.h"

namespace {

// The calendar repeats every 400 years (146097 days). Years are counted from
// 1 March, so that the leap day ends the year; day 719468 of that count is
// 1 January 1970.
constexpr int64_t kDaysPerEra = 146097;
constexpr int64_t kEpochShift = 719468;

}  // namespace

int64_t CivilCalendar::FloorDiv(int64_t a, int64_t b)
{
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}

int64_t CivilCalendar::DayNumber(int64_t yearSince1900, int64_t month, int64_t day)
{
    int64_t year = yearSince1900 + 1900 + FloorDiv(month, 12);
    const int64_t monthOfYear = month - 12 * FloorDiv(month, 12);  // 0..11
    // Months from March: March is 0, February 11 (of the year before).
    const int64_t marchMonth = monthOfYear >= 2 ? monthOfYear - 2 : monthOfYear + 10;
    if (monthOfYear < 2)
        --year;
    const int64_t era = FloorDiv(year, 400);
    const int64_t yearOfEra = year - era * 400;                          // 0..399
    const int64_t dayOfYear = (153 * marchMonth + 2) / 5;                // first day of the month
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * kDaysPerEra + dayOfEra - kEpochShift + (day - 1);
}

CivilCalendar::Date CivilCalendar::DateOf(int64_t dayNumber)
{
    const int64_t shifted = dayNumber + kEpochShift;
    const int64_t era = FloorDiv(shifted, kDaysPerEra);
    const int64_t dayOfEra = shifted - era * kDaysPerEra;  // 0..146096
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;  // 0..399
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t marchMonth = (5 * dayOfYear + 2) / 153;  // 0 = March .. 11 = February
    Date date;
    date.day = static_cast<int>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
    date.month = static_cast<int>(marchMonth < 10 ? marchMonth + 2 : marchMonth - 10);
    date.year = yearOfEra + era * 400 + (date.month < 2 ? 1 : 0) - 1900;
    return date;
}

int CivilCalendar::Weekday(int64_t dayNumber)
{
    // 1 January 1970 was a Thursday.
    return static_cast<int>(dayNumber + 4 - 7 * FloorDiv(dayNumber + 4, 7));
}
