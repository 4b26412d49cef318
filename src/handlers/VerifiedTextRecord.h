// The record shared by the "Command" and "Act on file" handlers: a verify
// flag and a text (the command, or the path of the file).
//
//   count   unsigned 32-bit: the text's length plus 2 (the verify byte and
//           the text's zero), or 0 when the text is null
//   verify  one byte, always written
//   text    count - 1 bytes with the zero, only when count is 2 or more
//
// A null text is thus written as a count of 0 followed by the verify byte:
// five bytes where the count says none follow. Both handlers are always
// loaded and read their own records, so the exception stays on both sides:
// the reader always takes the count and the verify byte, and the text only
// when the count is 2 or more.
#pragma once

#include <cstdint>

class EndianIndependentFile;

bool WriteVerifiedTextRecord(EndianIndependentFile* file, uint8_t verify, const char* text);
// Replaces *text with what was read (null when the count is below 2).
bool ReadVerifiedTextRecord(EndianIndependentFile* file, uint8_t* verify, char** text);
