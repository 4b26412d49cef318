// Switches the process's local time zone (TZ) for the lifetime of a scope,
// restoring the previous setting afterwards (tests).
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone)
    {
        if (const char* previous = std::getenv("TZ"))
            fPrevious = previous;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone()
    {
        if (fPrevious)
            setenv("TZ", fPrevious->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> fPrevious;
};

// The local time of a calendar date in the current zone (month 1..12).
inline int32_t LocalTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    struct tm cal = {};
    cal.tm_year = year - 1900;
    cal.tm_mon = month - 1;
    cal.tm_mday = day;
    cal.tm_hour = hour;
    cal.tm_min = minute;
    cal.tm_sec = second;
    cal.tm_isdst = -1;
    return static_cast<int32_t>(mktime(&cal));
}
