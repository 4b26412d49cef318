#include "core/TimeText.h"

#include <cstdio>
#include <cstring>
#include <mutex>

#include "calvorin/Locker.h"
#include "core/CalvorinSettings.h"
#include "core/DateParser.h"

const char* const DayAbbr[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const MonthAbbr[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const DayNames[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};
const char* const MonthNames[12] = {"January", "February", "March",     "April",
                                    "May",     "June",     "July",      "August",
                                    "September", "October", "November", "December"};
const char* const TimeOfDayIndicators[kNumberOfTimeOfDayIndicators] = {"am",  "pm",  "hr", "hour",
                                                                      "min", "sec", ":"};

namespace {

// The lock that serialises every breakdown of a time into local time.
struct SafeTimeSemaphore {
    const char* const name = "SafeTime semaphore";
    std::mutex mutex;
};

SafeTimeSemaphore& SafeTimeLock()
{
    static SafeTimeSemaphore semaphore;
    return semaphore;
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

// Reads a number of one or two digits at text[pos]; -1 when there is none.
int ReadTwoDigits(const char* text, size_t& pos)
{
    if (!IsDigit(text[pos]))
        return -1;
    int value = text[pos++] - '0';
    if (IsDigit(text[pos]))
        value = value * 10 + (text[pos++] - '0');
    return value;
}

// Writes text at out (without its terminating 0); returns the end.
char* AppendText(char* out, const char* text)
{
    while (*text != '\0')
        *out++ = *text++;
    return out;
}

// Writes value as printf's "%0*d" would: at least width characters, zeros
// after a minus sign; returns the end.
char* AppendPadded(char* out, int value, int width)
{
    long magnitude = value;
    if (value < 0) {
        *out++ = '-';
        magnitude = -magnitude;
        --width;
    }
    char digits[12];
    int count = 0;
    do {
        digits[count++] = char('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    for (int i = count; i < width; ++i)
        *out++ = '0';
    while (count > 0)
        *out++ = digits[--count];
    return out;
}

}  // namespace

bool InitSafeTime()
{
    SafeTimeLock();
    tzset();
    return true;
}

void Safe_localtime(long t, struct tm* out)
{
    std::lock_guard<std::mutex> hold(SafeTimeLock().mutex);
    time_t value = static_cast<time_t>(t);
    if (localtime_r(&value, out) == nullptr)
        std::memset(out, 0, sizeof(*out));
}

void GetDateTimeString(long t, bool withTime, char* buffer)
{
    if (t == 0 || t == -1) {
        std::memcpy(buffer, "None", 5);
        return;
    }
    struct tm cal;
    Safe_localtime(t, &cal);
    bool use24Hour = CalvorinSettings::Time24Hour;

    int hour = cal.tm_hour;
    if (!use24Hour) {
        if (hour > 12)
            hour -= 12;
        else if (hour == 0)
            hour = 12;
    }
    // "Fri, Jan 05 2001" and, with the time, ", 03:05 PM" or ", 15:05".
    char* out = buffer;
    out = AppendText(out, DayAbbr[((cal.tm_wday % 7) + 7) % 7]);
    out = AppendText(out, ", ");
    out = AppendText(out, MonthAbbr[((cal.tm_mon % 12) + 12) % 12]);
    *out++ = ' ';
    out = AppendPadded(out, cal.tm_mday % 100, 2);
    *out++ = ' ';
    out = AppendPadded(out, (cal.tm_year + 1900) % 10000, 4);
    if (withTime) {
        out = AppendText(out, ", ");
        out = AppendPadded(out, hour % 100, 2);
        *out++ = ':';
        out = AppendPadded(out, cal.tm_min % 100, 2);
        if (!use24Hour)
            out = AppendText(out, cal.tm_hour < 12 ? " AM" : " PM");
    }
    *out = '\0';
}

char* GetTimeOfDayText(long secondsIntoDay)
{
    // A time of day outside one day is brought into it first.
    long s = secondsIntoDay % 86400;
    if (s < 0)
        s += 86400;
    int h = int(s / 3600);
    int m = int((s % 3600) / 60);

    bool use24Hour;
    {
        Autolock hold(CalvorinSettings::Protect);
        use24Hour = CalvorinSettings::Time24Hour;
    }

    // "HH:MM" or "HH:MM AM".
    char* text = new char[use24Hour ? 6 : 9];
    int shown = h;
    if (!use24Hour) {
        shown = h % 12;
        if (shown == 0)
            shown = 12;
    }
    char* out = AppendPadded(text, shown, 2);
    *out++ = ':';
    out = AppendPadded(out, m, 2);
    if (!use24Hour)
        out = AppendText(out, h > 11 ? " PM" : " AM");
    *out = '\0';
    return text;
}

char* GetFixedTime(const char* text)
{
    if (text == nullptr)
        return nullptr;
    size_t length = std::strlen(text);

    // The first a/A or p/P directly followed by m/M that ends a time: a run of
    // digits and ':' just before it, with nothing but blanks in between.
    // A marker without such a run ("Sam") is part of a word and is skipped.
    size_t marker = 0;
    size_t start = 0;
    bool found = false;
    for (size_t i = 0; i + 1 < length && !found; ++i) {
        char c = ascii_tolower(text[i]);
        if ((c != 'a' && c != 'p') || ascii_tolower(text[i + 1]) != 'm')
            continue;
        size_t j = i;
        while (j > 0 && IsBlank(text[j - 1]))
            --j;
        size_t runEnd = j;
        while (j > 0 && (IsDigit(text[j - 1]) || text[j - 1] == ':'))
            --j;
        bool hasDigit = false;
        for (size_t k = j; k < runEnd; ++k)
            hasDigit = hasDigit || IsDigit(text[k]);
        if (!hasDigit)
            continue;
        marker = i;
        start = j;
        found = true;
    }

    if (!found) {
        char* copy = new char[length + 1];
        std::memcpy(copy, text, length + 1);
        return copy;
    }

    // Hour, minute and second, each of one or two digits, separated by ':'.
    int fields[3] = {0, 0, 0};
    size_t pos = start;
    for (int f = 0; f < 3; ++f) {
        int value = ReadTwoDigits(text, pos);
        if (value < 0)
            break;
        fields[f] = value;
        if (f < 2) {
            if (text[pos] != ':')
                break;
            ++pos;
        }
    }
    int hour = fields[0];
    if (hour == 12)
        hour = 0;
    if (ascii_tolower(text[marker]) == 'p')
        hour += 12;

    char time[16];
    int timeLength = std::snprintf(time, sizeof(time), "%02d:%02d:%02d", hour, fields[1], fields[2]);
    const char* rest = text + marker + 2;
    size_t restLength = length - (marker + 2);
    char* result = new char[start + size_t(timeLength) + restLength + 1];
    std::memcpy(result, text, start);
    std::memcpy(result + start, time, size_t(timeLength));
    std::memcpy(result + start + timeLength, rest, restLength + 1);
    return result;
}

int32_t hastimeinfo_parsedate(const char* text, bool* hasTime)
{
    if (hasTime != nullptr)
        *hasTime = false;
    if (text == nullptr)
        return -1;

    char* fixed = GetFixedTime(text);
    int32_t result = parsedate(fixed, -1);
    delete[] fixed;

    if (hasTime == nullptr || result == -1)
        return result;

    struct tm cal;
    Safe_localtime(result, &cal);
    if (cal.tm_hour != 0 || cal.tm_min != 0 || cal.tm_sec != 0) {
        *hasTime = true;
    } else if (std::strcmp(text, "12") == 0) {
        *hasTime = true;
    } else {
        // A plain substring test from every position, letters folded to lower case.
        for (const char* p = text; *p != '\0' && !*hasTime; ++p) {
            for (const char* word : TimeOfDayIndicators) {
                size_t k = 0;
                while (word[k] != '\0' && ascii_tolower(p[k]) == word[k])
                    ++k;
                if (word[k] == '\0') {
                    *hasTime = true;
                    break;
                }
            }
        }
    }
    return result;
}

char ascii_tolower(char c)
{
    if (c >= 'A' && c <= 'Z')
        return static_cast<char>(c - 'A' + 'a');
    return c;
}
