// Turns typed date and time texts into instants. The text is first cut into
// tokens (numbers, known words, the separators , . : / - +); the token list
// is then read item by item (a date, a time, a weekday, a zone, relative
// words and offsets), each item trying its accepted shapes in turn. Finally
// the items are combined with the reference time's calendar fields and
// converted back with mktime (or, when a zone is named, in that zone).
#include "core/DateParser.h"

#include <cstddef>
#include <ctime>

#include "core/Clock.h"

namespace {

enum class TokenKind : uint8_t {
    Number,
    Word,
    Comma,
    Dot,
    Colon,
    Slash,
    Dash,
    Plus,
};

enum class WordKind : uint8_t {
    Weekday,   // value 0 (Sunday) .. 6
    Month,     // value 0 (January) .. 11
    Meridian,  // value 0 am, 1 pm
    DayWord,   // value: day offset (today 0, tomorrow 1, yesterday -1)
    Now,
    Modifier,  // value: this 0, next 1, last -1
    Unit,      // value: a Unit
    Zone,      // value: minutes east of UTC
};

enum Unit : int32_t {
    kYearUnit,
    kMonthUnit,
    kWeekUnit,
    kDayUnit,
    kHourUnit,
    kMinuteUnit,
    kSecondUnit,
};

struct Word {
    const char* text;
    WordKind kind;
    int32_t value;
};

constexpr Word kWords[] = {
    {"sunday", WordKind::Weekday, 0},     {"sun", WordKind::Weekday, 0},
    {"monday", WordKind::Weekday, 1},     {"mon", WordKind::Weekday, 1},
    {"tuesday", WordKind::Weekday, 2},    {"tue", WordKind::Weekday, 2},
    {"tues", WordKind::Weekday, 2},       {"wednesday", WordKind::Weekday, 3},
    {"wed", WordKind::Weekday, 3},        {"thursday", WordKind::Weekday, 4},
    {"thu", WordKind::Weekday, 4},        {"thur", WordKind::Weekday, 4},
    {"thurs", WordKind::Weekday, 4},      {"friday", WordKind::Weekday, 5},
    {"fri", WordKind::Weekday, 5},        {"saturday", WordKind::Weekday, 6},
    {"sat", WordKind::Weekday, 6},

    {"january", WordKind::Month, 0},      {"jan", WordKind::Month, 0},
    {"february", WordKind::Month, 1},     {"feb", WordKind::Month, 1},
    {"march", WordKind::Month, 2},        {"mar", WordKind::Month, 2},
    {"april", WordKind::Month, 3},        {"apr", WordKind::Month, 3},
    {"may", WordKind::Month, 4},          {"june", WordKind::Month, 5},
    {"jun", WordKind::Month, 5},          {"july", WordKind::Month, 6},
    {"jul", WordKind::Month, 6},          {"august", WordKind::Month, 7},
    {"aug", WordKind::Month, 7},          {"september", WordKind::Month, 8},
    {"sep", WordKind::Month, 8},          {"sept", WordKind::Month, 8},
    {"october", WordKind::Month, 9},      {"oct", WordKind::Month, 9},
    {"november", WordKind::Month, 10},    {"nov", WordKind::Month, 10},
    {"december", WordKind::Month, 11},    {"dec", WordKind::Month, 11},

    {"am", WordKind::Meridian, 0},        {"pm", WordKind::Meridian, 1},

    {"today", WordKind::DayWord, 0},      {"tomorrow", WordKind::DayWord, 1},
    {"yesterday", WordKind::DayWord, -1}, {"now", WordKind::Now, 0},
    {"this", WordKind::Modifier, 0},      {"next", WordKind::Modifier, 1},
    {"last", WordKind::Modifier, -1},

    {"year", WordKind::Unit, kYearUnit},     {"years", WordKind::Unit, kYearUnit},
    {"month", WordKind::Unit, kMonthUnit},   {"months", WordKind::Unit, kMonthUnit},
    {"week", WordKind::Unit, kWeekUnit},     {"weeks", WordKind::Unit, kWeekUnit},
    {"day", WordKind::Unit, kDayUnit},       {"days", WordKind::Unit, kDayUnit},
    {"hour", WordKind::Unit, kHourUnit},     {"hours", WordKind::Unit, kHourUnit},
    {"hr", WordKind::Unit, kHourUnit},       {"hrs", WordKind::Unit, kHourUnit},
    {"minute", WordKind::Unit, kMinuteUnit}, {"minutes", WordKind::Unit, kMinuteUnit},
    {"min", WordKind::Unit, kMinuteUnit},    {"mins", WordKind::Unit, kMinuteUnit},
    {"second", WordKind::Unit, kSecondUnit}, {"seconds", WordKind::Unit, kSecondUnit},
    {"sec", WordKind::Unit, kSecondUnit},    {"secs", WordKind::Unit, kSecondUnit},

    {"gmt", WordKind::Zone, 0},      {"ut", WordKind::Zone, 0},
    {"utc", WordKind::Zone, 0},      {"wet", WordKind::Zone, 0},
    {"west", WordKind::Zone, 60},    {"bst", WordKind::Zone, 60},
    {"cet", WordKind::Zone, 60},     {"cest", WordKind::Zone, 120},
    {"met", WordKind::Zone, 60},     {"mest", WordKind::Zone, 120},
    {"eet", WordKind::Zone, 120},    {"eest", WordKind::Zone, 180},
    {"msk", WordKind::Zone, 180},    {"hkt", WordKind::Zone, 480},
    {"sgt", WordKind::Zone, 480},    {"awst", WordKind::Zone, 480},
    {"jst", WordKind::Zone, 540},    {"kst", WordKind::Zone, 540},
    {"acst", WordKind::Zone, 570},   {"acdt", WordKind::Zone, 630},
    {"aest", WordKind::Zone, 600},   {"aedt", WordKind::Zone, 660},
    {"nzst", WordKind::Zone, 720},   {"nzdt", WordKind::Zone, 780},
    {"nst", WordKind::Zone, -210},   {"ndt", WordKind::Zone, -150},
    {"ast", WordKind::Zone, -240},   {"adt", WordKind::Zone, -180},
    {"est", WordKind::Zone, -300},   {"edt", WordKind::Zone, -240},
    {"cst", WordKind::Zone, -360},   {"cdt", WordKind::Zone, -300},
    {"mst", WordKind::Zone, -420},   {"mdt", WordKind::Zone, -360},
    {"pst", WordKind::Zone, -480},   {"pdt", WordKind::Zone, -420},
    {"akst", WordKind::Zone, -540},  {"akdt", WordKind::Zone, -480},
    {"hst", WordKind::Zone, -600},
};

constexpr size_t kLongestWord = 9;  // "wednesday", "september"
constexpr int kMaxTokens = 64;
constexpr int kMaxDigits = 9;  // keeps every number below 10^9

// Bounds on accumulated offsets: anything beyond them cannot give a time
// that fits in 32 bits, and stopping early keeps the arithmetic small.
constexpr int64_t kMaxYearOffset = 1000;
constexpr int64_t kMaxMonthOffset = 12000;
constexpr int64_t kMaxDayOffset = 400000;
constexpr int64_t kMaxSecondOffset = 10000000000LL;

struct Token {
    TokenKind kind;
    WordKind word;
    int32_t value;
    uint8_t digits;  // numbers: how many digits were typed
    bool ordinal;    // numbers: typed with st/nd/rd/th
};

// Calendar fields as the parser works on them; wide enough that no
// combination of offsets overflows before the range checks.
struct Fields {
    int64_t year;    // full year, e.g. 2001
    int64_t month;   // 0..11 before normalisation
    int64_t day;     // 1..31 before normalisation
    int64_t hour;
    int64_t minute;
    int64_t second;
    int weekday;     // of the reference day, 0 = Sunday
};

char LowerAscii(char c)
{
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

int64_t FloorDiv(int64_t a, int64_t b)
{
    int64_t q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// Days from 1970-01-01 to the given proleptic Gregorian date (month 1..12).
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d)
{
    y -= m <= 2;
    const int64_t era = FloorDiv(y, 400);
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

// The inverse of DaysFromCivil.
void CivilFromDays(int64_t z, int64_t& y, int64_t& m, int64_t& d)
{
    z += 719468;
    const int64_t era = FloorDiv(z, 146097);
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = yoe + era * 400 + (m <= 2);
}

}  // namespace

class DateParser {
public:
    DateParser(const char* text, int64_t reference) : fText(text), fReference(reference) {}
    int32_t Parse();

private:
    // Tokenizer.
    bool Tokenize();
    bool AddToken(const Token& token);
    bool ReadNumber(const char*& p);
    bool ReadWord(const char*& p);

    // Token tests at a position (false past the end).
    bool IsKind(int at, TokenKind kind) const;
    bool IsWord(int at, WordKind word) const;
    bool IsPlainNumber(int at) const;
    bool IsDateSeparator(int at) const;
    bool StartsTime(int at) const;

    // Item matchers: each reads one item at fPos and advances past it, or
    // leaves everything untouched and returns false.
    bool MatchItem();
    bool MatchRelative();
    bool MatchTime();
    bool MatchNumericDate();
    bool MatchDayMonthDate();
    bool MatchMonthDayDate();
    bool MatchWeekday();
    bool MatchZone();
    bool MatchBareHour();

    bool ReadNumericZone(int& at, int32_t& minutes) const;
    bool SetTime(int32_t hour, int32_t minute, int32_t second, int meridian);
    bool SetDate(int64_t year, int32_t yearDigits, int32_t month, int32_t day);
    bool AddOffset(int32_t unit, int64_t amount);
    void SkipComma();

    // Combination.
    bool ReferenceFields(int64_t reference, Fields& fields) const;
    int64_t ExpandYear(int64_t year, int digits, int64_t referenceYear) const;
    bool ToTime(const Fields& fields, int64_t& result) const;

    const char* fText;
    int64_t fReference;

    Token fTokens[kMaxTokens];
    int fCount = 0;
    int fPos = 0;

    // What the text gave.
    bool fHasDate = false;      // a date with month (and day unless fMonthOnly)
    bool fMonthOnly = false;    // a month without a day: its 1st
    int64_t fYear = -1;         // -1: not given
    int fYearDigits = 0;
    int32_t fMonth = 0;         // 0..11
    int32_t fDay = 1;
    int32_t fYearShift = 0;     // this/next/last before a month name

    bool fHasTime = false;
    int32_t fHour = 0;
    int32_t fMinute = 0;
    int32_t fSecond = 0;

    bool fHasWeekday = false;
    int32_t fWeekday = 0;
    int32_t fWeekShift = 0;     // this/next/last before a weekday

    bool fHasZone = false;
    int32_t fZoneMinutes = 0;

    bool fHasRelative = false;
    bool fHasYearOffset = false;
    bool fHasMonthOffset = false;
    bool fHasDayOffset = false;
    int64_t fYearOffset = 0;
    int64_t fMonthOffset = 0;
    int64_t fDayOffset = 0;
    int64_t fSecondOffset = 0;
};

// --- Tokenizer --------------------------------------------------------------

bool DateParser::AddToken(const Token& token)
{
    if (fCount >= kMaxTokens)
        return false;
    fTokens[fCount++] = token;
    return true;
}

bool DateParser::ReadNumber(const char*& p)
{
    int32_t value = 0;
    int digits = 0;
    while (IsDigit(*p)) {
        if (++digits > kMaxDigits)
            return false;
        value = value * 10 + (*p - '0');
        ++p;
    }
    Token token{TokenKind::Number, WordKind::Weekday, value, uint8_t(digits), false};

    // An ordinal suffix directly after the digits: st, nd and rd must agree
    // with the last digit (11th to 13th take th); th is taken after any number.
    if (IsLetter(p[0]) && IsLetter(p[1]) && !IsLetter(p[2])) {
        const char a = LowerAscii(p[0]);
        const char b = LowerAscii(p[1]);
        const int last = value % 10;
        const bool teen = value % 100 >= 11 && value % 100 <= 13;
        bool suffix = false;
        if (a == 's' && b == 't')
            suffix = last == 1 && !teen;
        else if (a == 'n' && b == 'd')
            suffix = last == 2 && !teen;
        else if (a == 'r' && b == 'd')
            suffix = last == 3 && !teen;
        else if (a == 't' && b == 'h')
            suffix = true;
        else
            return AddToken(token);  // another word follows, e.g. "9am"
        if (!suffix)
            return false;
        token.ordinal = true;
        p += 2;
    }
    return AddToken(token);
}

bool DateParser::ReadWord(const char*& p)
{
    char buffer[kLongestWord + 1];
    size_t length = 0;
    while (IsLetter(*p)) {
        if (length >= kLongestWord)
            return false;
        buffer[length++] = LowerAscii(*p);
        ++p;
    }
    buffer[length] = '\0';

    for (const Word& word : kWords) {
        size_t i = 0;
        while (i < length && word.text[i] == buffer[i])
            ++i;
        if (i == length && word.text[i] == '\0')
            return AddToken(Token{TokenKind::Word, word.kind, word.value, 0, false});
    }
    return false;
}

bool DateParser::Tokenize()
{
    const char* p = fText;
    while (*p != '\0') {
        const char c = *p;
        if (IsSpace(c)) {
            ++p;
        } else if (IsDigit(c)) {
            if (!ReadNumber(p))
                return false;
        } else if (IsLetter(c)) {
            if (!ReadWord(p))
                return false;
        } else {
            TokenKind kind;
            switch (c) {
                case ',': kind = TokenKind::Comma; break;
                case '.': kind = TokenKind::Dot; break;
                case ':': kind = TokenKind::Colon; break;
                case '/': kind = TokenKind::Slash; break;
                case '-': kind = TokenKind::Dash; break;
                case '+': kind = TokenKind::Plus; break;
                default: return false;
            }
            if (!AddToken(Token{kind, WordKind::Weekday, 0, 0, false}))
                return false;
            ++p;
        }
    }
    return true;
}

// --- Token tests ------------------------------------------------------------

bool DateParser::IsKind(int at, TokenKind kind) const
{
    return at >= 0 && at < fCount && fTokens[at].kind == kind;
}

bool DateParser::IsWord(int at, WordKind word) const
{
    return IsKind(at, TokenKind::Word) && fTokens[at].word == word;
}

bool DateParser::IsPlainNumber(int at) const
{
    return IsKind(at, TokenKind::Number) && !fTokens[at].ordinal;
}

bool DateParser::IsDateSeparator(int at) const
{
    return IsKind(at, TokenKind::Dash) || IsKind(at, TokenKind::Slash);
}

// A number that begins a time of day ("3:05", "3 pm") or an offset ("3 days").
bool DateParser::StartsTime(int at) const
{
    return IsKind(at + 1, TokenKind::Colon) || IsWord(at + 1, WordKind::Meridian) ||
           IsWord(at + 1, WordKind::Unit);
}

// --- Items ------------------------------------------------------------------

void DateParser::SkipComma()
{
    if (IsKind(fPos, TokenKind::Comma))
        ++fPos;
}

bool DateParser::SetTime(int32_t hour, int32_t minute, int32_t second, int meridian)
{
    if (fHasTime || minute > 59 || second > 59)
        return false;
    if (meridian >= 0) {
        // A 12-hour time: 12 am is midnight, 12 pm is noon.
        if (hour < 1 || hour > 12)
            return false;
        if (hour == 12)
            hour = 0;
        if (meridian == 1)
            hour += 12;
    } else if (hour > 24) {
        return false;
    }
    fHasTime = true;
    fHour = hour;
    fMinute = minute;
    fSecond = second;
    return true;
}

bool DateParser::SetDate(int64_t year, int32_t yearDigits, int32_t month, int32_t day)
{
    if (fHasDate || month < 0 || month > 11 || day < 1 || day > 31)
        return false;
    fHasDate = true;
    fYear = year;
    fYearDigits = yearDigits;
    fMonth = month;
    fDay = day;
    return true;
}

bool DateParser::AddOffset(int32_t unit, int64_t amount)
{
    fHasRelative = true;
    switch (unit) {
        case kYearUnit:
            fHasYearOffset = true;
            fYearOffset += amount;
            return fYearOffset >= -kMaxYearOffset && fYearOffset <= kMaxYearOffset;
        case kMonthUnit:
            fHasMonthOffset = true;
            fMonthOffset += amount;
            return fMonthOffset >= -kMaxMonthOffset && fMonthOffset <= kMaxMonthOffset;
        case kWeekUnit:
        case kDayUnit:
            fHasDayOffset = true;
            fDayOffset += unit == kWeekUnit ? amount * 7 : amount;
            return fDayOffset >= -kMaxDayOffset && fDayOffset <= kMaxDayOffset;
        default: {
            const int64_t scale = unit == kHourUnit ? 3600 : unit == kMinuteUnit ? 60 : 1;
            fSecondOffset += amount * scale;
            return fSecondOffset >= -kMaxSecondOffset && fSecondOffset <= kMaxSecondOffset;
        }
    }
}

// today, tomorrow, yesterday, now; [+|-] N unit; this/next/last with a
// unit, a weekday or a month.
bool DateParser::MatchRelative()
{
    int at = fPos;
    if (IsWord(at, WordKind::DayWord)) {
        if (!AddOffset(kDayUnit, fTokens[at].value))
            return false;
        fPos = at + 1;
        return true;
    }
    if (IsWord(at, WordKind::Now)) {
        fHasRelative = true;
        fPos = at + 1;
        return true;
    }
    if (IsWord(at, WordKind::Modifier)) {
        const int32_t shift = fTokens[at].value;
        if (IsWord(at + 1, WordKind::Unit)) {
            if (!AddOffset(fTokens[at + 1].value, shift))
                return false;
        } else if (IsWord(at + 1, WordKind::Weekday)) {
            if (fHasWeekday)
                return false;
            fHasWeekday = true;
            fWeekday = fTokens[at + 1].value;
            fWeekShift = shift;
            fHasRelative = true;
        } else if (IsWord(at + 1, WordKind::Month)) {
            if (fHasDate)
                return false;
            fHasDate = true;
            fMonthOnly = true;
            fMonth = fTokens[at + 1].value;
            fYearShift = shift;
            fHasRelative = true;
        } else {
            return false;
        }
        fPos = at + 2;
        return true;
    }

    int sign = 1;
    if (IsKind(at, TokenKind::Plus) || IsKind(at, TokenKind::Dash)) {
        sign = IsKind(at, TokenKind::Dash) ? -1 : 1;
        ++at;
    }
    if (IsPlainNumber(at) && IsWord(at + 1, WordKind::Unit)) {
        if (!AddOffset(fTokens[at + 1].value, sign * int64_t(fTokens[at].value)))
            return false;
        fPos = at + 2;
        return true;
    }
    return false;
}

// "+0100", "-5", "+01:00": minutes east of UTC, up to 23:59.
bool DateParser::ReadNumericZone(int& at, int32_t& minutes) const
{
    int i = at;
    if (!IsKind(i, TokenKind::Plus) && !IsKind(i, TokenKind::Dash))
        return false;
    const int sign = IsKind(i, TokenKind::Dash) ? -1 : 1;
    ++i;
    if (!IsPlainNumber(i) || IsWord(i + 1, WordKind::Unit))
        return false;
    const Token& number = fTokens[i];
    int32_t hours;
    int32_t mins;
    if (number.digits <= 2 && IsKind(i + 1, TokenKind::Colon) && IsPlainNumber(i + 2) &&
        fTokens[i + 2].digits == 2) {
        hours = number.value;
        mins = fTokens[i + 2].value;
        i += 3;
    } else if (number.digits <= 2) {
        hours = number.value;
        mins = 0;
        i += 1;
    } else if (number.digits <= 4) {
        hours = number.value / 100;
        mins = number.value % 100;
        i += 1;
    } else {
        return false;
    }
    if (hours > 23 || mins > 59)
        return false;
    minutes = sign * (hours * 60 + mins);
    at = i;
    return true;
}

// "H:M", "H:M:S", "H p", "H:M p", "H:M:S p", each with an optional zone.
bool DateParser::MatchTime()
{
    int at = fPos;
    if (!IsPlainNumber(at) || fTokens[at].digits > 2)
        return false;
    const int32_t hour = fTokens[at].value;
    int32_t minute = 0;
    int32_t second = 0;
    ++at;
    bool colon = false;
    if (IsKind(at, TokenKind::Colon)) {
        if (!IsPlainNumber(at + 1) || fTokens[at + 1].digits > 2)
            return false;
        minute = fTokens[at + 1].value;
        at += 2;
        colon = true;
        if (IsKind(at, TokenKind::Colon)) {
            if (!IsPlainNumber(at + 1) || fTokens[at + 1].digits > 2)
                return false;
            second = fTokens[at + 1].value;
            at += 2;
        }
    }
    int meridian = -1;
    if (IsWord(at, WordKind::Meridian)) {
        meridian = fTokens[at].value;
        ++at;
    }
    if (!colon && meridian < 0)
        return false;

    bool hasZone = false;
    int32_t zone = 0;
    if (IsWord(at, WordKind::Zone)) {
        if (fHasZone)
            return false;
        zone = fTokens[at].value;
        ++at;
        int32_t extra = 0;
        if (ReadNumericZone(at, extra))
            zone += extra;
        hasZone = true;
    } else if (ReadNumericZone(at, zone)) {
        if (fHasZone)
            return false;
        hasZone = true;
    }

    if (!SetTime(hour, minute, second, meridian))
        return false;
    if (hasZone) {
        fHasZone = true;
        fZoneMinutes = zone;
    }
    fPos = at;
    return true;
}

// "m-d", "m-d-y", "y-m-d", "d.m.y" and "d-B-Y" ("-" may also be "/").
bool DateParser::MatchNumericDate()
{
    const int at = fPos;
    if (!IsPlainNumber(at))
        return false;
    const Token& first = fTokens[at];

    if (IsKind(at + 1, TokenKind::Dot)) {
        if (!IsPlainNumber(at + 2) || !IsKind(at + 3, TokenKind::Dot) || !IsPlainNumber(at + 4))
            return false;
        const Token& year = fTokens[at + 4];
        if (first.digits > 2 || fTokens[at + 2].digits > 2 || year.digits > 4)
            return false;
        if (!SetDate(year.value, year.digits, fTokens[at + 2].value - 1, first.value))
            return false;
        fPos = at + 5;
        return true;
    }

    if (!IsDateSeparator(at + 1))
        return false;
    const TokenKind separator = fTokens[at + 1].kind;

    // d-B-Y
    if (IsWord(at + 2, WordKind::Month)) {
        if (!IsKind(at + 3, separator) || !IsPlainNumber(at + 4) || first.digits > 2 ||
            fTokens[at + 4].digits > 4)
            return false;
        const Token& year = fTokens[at + 4];
        if (!SetDate(year.value, year.digits, fTokens[at + 2].value, first.value))
            return false;
        fPos = at + 5;
        return true;
    }

    if (!IsPlainNumber(at + 2))
        return false;
    const Token& second = fTokens[at + 2];
    const bool hasThird =
        IsKind(at + 3, separator) && IsPlainNumber(at + 4) && !IsWord(at + 5, WordKind::Unit);

    if (hasThird) {
        const Token& third = fTokens[at + 4];
        if (second.digits > 2 || third.digits > 4)
            return false;
        bool ok;
        if (first.digits >= 3) {
            // y-m-d
            if (first.digits > 4 || third.digits > 2)
                return false;
            ok = SetDate(first.value, first.digits, second.value - 1, third.value);
        } else {
            // m-d-y
            ok = SetDate(third.value, third.digits, first.value - 1, second.value);
        }
        if (!ok)
            return false;
        fPos = at + 5;
        return true;
    }

    // m-d
    if (first.digits > 2 || second.digits > 2 || StartsTime(at + 2))
        return false;
    if (!SetDate(-1, 0, first.value - 1, second.value))
        return false;
    fPos = at + 3;
    return true;
}

// "d B" and "d B Y" (the day may be an ordinal).
bool DateParser::MatchDayMonthDate()
{
    const int at = fPos;
    if (!IsKind(at, TokenKind::Number) || fTokens[at].digits > 2 || !IsWord(at + 1, WordKind::Month))
        return false;
    int end = at + 2;
    int64_t year = -1;
    int digits = 0;
    if (IsPlainNumber(end) && fTokens[end].digits <= 4 && !StartsTime(end)) {
        year = fTokens[end].value;
        digits = fTokens[end].digits;
        ++end;
    }
    if (!SetDate(year, digits, fTokens[at + 1].value, fTokens[at].value))
        return false;
    fPos = end;
    return true;
}

// "B d", "B d Y", "B d, Y", and a month alone or with a four-digit year
// ("March", "March 2002"), which stands for its 1st.
bool DateParser::MatchMonthDayDate()
{
    const int at = fPos;
    if (!IsWord(at, WordKind::Month) || fHasDate)
        return false;
    const int32_t month = fTokens[at].value;

    const int dayAt = at + 1;
    if (IsKind(dayAt, TokenKind::Number) && fTokens[dayAt].digits <= 2 &&
        fTokens[dayAt].value >= 1 && fTokens[dayAt].value <= 31 && !StartsTime(dayAt)) {
        int end = dayAt + 1;
        int64_t year = -1;
        int digits = 0;
        const int yearAt = IsKind(end, TokenKind::Comma) ? end + 1 : end;
        if (IsPlainNumber(yearAt) && fTokens[yearAt].digits <= 4 && !StartsTime(yearAt)) {
            year = fTokens[yearAt].value;
            digits = fTokens[yearAt].digits;
            end = yearAt + 1;
        }
        if (!SetDate(year, digits, month, fTokens[dayAt].value))
            return false;
        fPos = end;
        return true;
    }

    // A short number that is not a time was meant as a day out of range.
    if (IsKind(dayAt, TokenKind::Number) && fTokens[dayAt].digits <= 2 && !StartsTime(dayAt))
        return false;
    int end = at + 1;
    int64_t year = -1;
    int digits = 0;
    if (IsPlainNumber(end) && (fTokens[end].digits == 3 || fTokens[end].digits == 4) &&
        !StartsTime(end)) {
        year = fTokens[end].value;
        digits = fTokens[end].digits;
        ++end;
    }
    if (!SetDate(year, digits, month, 1))
        return false;
    fMonthOnly = true;
    fPos = end;
    return true;
}

bool DateParser::MatchWeekday()
{
    if (!IsWord(fPos, WordKind::Weekday) || fHasWeekday)
        return false;
    fHasWeekday = true;
    fWeekday = fTokens[fPos].value;
    ++fPos;
    return true;
}

// A zone name, optionally with an offset from it ("GMT+1").
bool DateParser::MatchZone()
{
    int at = fPos;
    if (!IsWord(at, WordKind::Zone) || fHasZone)
        return false;
    int32_t zone = fTokens[at].value;
    ++at;
    int32_t extra = 0;
    if (ReadNumericZone(at, extra))
        zone += extra;
    fHasZone = true;
    fZoneMinutes = zone;
    fPos = at;
    return true;
}

// A number alone is an hour ("tomorrow 9", "Jan 5 2001 15").
bool DateParser::MatchBareHour()
{
    if (!IsPlainNumber(fPos) || fTokens[fPos].digits > 2)
        return false;
    if (!SetTime(fTokens[fPos].value, 0, 0, -1))
        return false;
    ++fPos;
    return true;
}

bool DateParser::MatchItem()
{
    if (MatchRelative() || MatchTime() || MatchNumericDate() || MatchDayMonthDate() ||
        MatchMonthDayDate() || MatchWeekday() || MatchZone() || MatchBareHour()) {
        SkipComma();
        return true;
    }
    return false;
}

// --- Combination ------------------------------------------------------------

bool DateParser::ReferenceFields(int64_t reference, Fields& fields) const
{
    if (fHasZone) {
        const int64_t shifted = reference + int64_t(fZoneMinutes) * 60;
        const int64_t days = FloorDiv(shifted, 86400);
        const int64_t secs = shifted - days * 86400;
        CivilFromDays(days, fields.year, fields.month, fields.day);
        fields.month -= 1;
        fields.hour = secs / 3600;
        fields.minute = secs % 3600 / 60;
        fields.second = secs % 60;
        fields.weekday = int((days % 7 + 11) % 7);  // 1970-01-01 was a Thursday
        return true;
    }
    const time_t t = static_cast<time_t>(reference);
    tm local{};
    if (localtime_r(&t, &local) == nullptr)
        return false;
    fields.year = int64_t(local.tm_year) + 1900;
    fields.month = local.tm_mon;
    fields.day = local.tm_mday;
    fields.hour = local.tm_hour;
    fields.minute = local.tm_min;
    fields.second = local.tm_sec;
    fields.weekday = local.tm_wday;
    return true;
}

// A one- or two-digit year lies in the reference's century, unless that is
// more than ten years after the reference year: then in the century before.
int64_t DateParser::ExpandYear(int64_t year, int digits, int64_t referenceYear) const
{
    if (digits > 2)
        return year;
    const int64_t century = referenceYear - (referenceYear % 100 + 100) % 100;
    int64_t full = century + year;
    if (full > referenceYear + 10)
        full -= 100;
    return full;
}

bool DateParser::ToTime(const Fields& f, int64_t& result) const
{
    // Keep every field well inside int before it meets mktime.
    constexpr int64_t kLimit = 100000000;
    if (f.year < -kLimit || f.year > kLimit || f.month < -kLimit || f.month > kLimit ||
        f.day < -kLimit || f.day > kLimit)
        return false;

    if (fHasZone) {
        const int64_t year = f.year + FloorDiv(f.month, 12);
        const int64_t month = f.month - FloorDiv(f.month, 12) * 12;
        const int64_t days = DaysFromCivil(year, month + 1, 1) + f.day - 1;
        result = days * 86400 + f.hour * 3600 + f.minute * 60 + f.second -
                 int64_t(fZoneMinutes) * 60;
        return true;
    }

    tm broken{};
    broken.tm_year = int(f.year - 1900);
    broken.tm_mon = int(f.month);
    broken.tm_mday = int(f.day);
    broken.tm_hour = int(f.hour);
    broken.tm_min = int(f.minute);
    broken.tm_sec = int(f.second);
    broken.tm_isdst = -1;
    const time_t t = mktime(&broken);
    if (t == time_t(-1))
        return false;
    result = int64_t(t);
    return true;
}

int32_t DateParser::Parse()
{
    if (fText == nullptr || !Tokenize() || fCount == 0)
        return -1;
    while (fPos < fCount) {
        if (!MatchItem())
            return -1;
    }

    const int64_t reference = fReference == -1 ? int64_t(CurrentTime()) : fReference;
    Fields f;
    if (!ReferenceFields(reference, f))
        return -1;

    bool dayGiven = false;
    bool monthGiven = false;
    bool clockReset = false;

    if (fHasDate) {
        const int64_t year = fYear < 0 ? f.year : ExpandYear(fYear, fYearDigits, f.year);
        f.year = year + fYearShift;
        f.month = fMonth;
        f.day = fDay;
        monthGiven = true;
        dayGiven = !fMonthOnly;
        // A complete date starts at its midnight, and so does a month alone.
        if (fMonthOnly || !fHasRelative)
            clockReset = true;
    } else if (fHasWeekday) {
        // That weekday in the reference's week (Sunday first), moved by weeks.
        f.day += fWeekday - f.weekday + 7 * int64_t(fWeekShift);
        dayGiven = true;
        clockReset = true;
    }

    // Larger units first; each offset restarts the smaller fields that the
    // text did not give.
    if (fHasYearOffset) {
        f.year += fYearOffset;
        if (!monthGiven)
            f.month = 0;
        if (!dayGiven)
            f.day = 1;
        clockReset = true;
    }
    if (fHasMonthOffset) {
        f.month += fMonthOffset;
        if (!dayGiven)
            f.day = 1;
        clockReset = true;
    }
    if (fHasDayOffset) {
        f.day += fDayOffset;
        clockReset = true;
    }

    if (fHasTime) {
        f.hour = fHour;
        f.minute = fMinute;
        f.second = fSecond;
    } else if (clockReset) {
        f.hour = 0;
        f.minute = 0;
        f.second = 0;
    }

    int64_t result;
    if (!ToTime(f, result))
        return -1;
    result += fSecondOffset;
    if (result < INT32_MIN || result > INT32_MAX)
        return -1;
    return int32_t(result);
}

int32_t parsedate(const char* text, int64_t reference)
{
    DateParser parser(text, reference);
    return parser.Parse();
}
