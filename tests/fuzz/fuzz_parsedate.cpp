// Any bytes given to parsedate as typed text: no crash, no hang, and a text
// with a character outside the date alphabet (digits, letters, white space
// and , . : / - +) is never understood.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/DateParser.h"

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

bool InAlphabet(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ' ' ||
           c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f' || c == ',' || c == '.' ||
           c == ':' || c == '/' || c == '-' || c == '+';
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A zone with daylight saving time, so that its normalisation is exercised.
    setenv("TZ", "America/New_York", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The parser reads a C string: the text ends at the first zero byte.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* typed = text.c_str();

    bool foreign = false;
    for (const char* p = typed; *p != '\0'; ++p) {
        if (!InAlphabet(*p))
            foreign = true;
    }

    // Wednesday 21 March 2001 10:15 local, and a reference near the end of
    // the 32-bit range.
    const int32_t a = parsedate(typed, 985187700);
    const int32_t b = parsedate(typed, 2147000000);
    if (foreign) {
        Check(a == -1);
        Check(b == -1);
    }
    return 0;
}
