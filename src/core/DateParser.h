// Turns a date or time that a person typed ("Jan 5 2001 3:05 pm",
// "tomorrow 9am", "next friday", "2001-01-05") into seconds since the epoch,
// relative to a reference time. Any bytes are safe to pass.
#pragma once

#include <cstdint>

// The instant the text names, or -1 when it is not understood. A reference
// of -1 means the current time (CurrentTime()).
int32_t parsedate(const char* text, int64_t reference);
