// Helpers for the records the handlers keep in event set files: the 32-bit
// count that opens every record, raw byte runs, and the owned texts the
// handlers hold.
#pragma once

#include <cstdint>

class EndianIndependentFile;

// The record's count, an unsigned 32-bit number in the file's byte order.
bool ReadRecordCount(EndianIndependentFile* file, uint32_t* count);
bool WriteRecordCount(EndianIndependentFile* file, uint32_t count);

// Reads size raw bytes into a new array with one extra 0 byte behind them
// (so a text without its terminator still ends), freed with delete[]. The
// array grows as the bytes arrive, so a corrupt count costs no more memory
// than the file really holds. False (and *bytes null) on a short read.
bool ReadRecordBytes(EndianIndependentFile* file, uint32_t size, char** bytes);

// Writes size raw bytes; false when fewer were written.
bool WriteRecordBytes(EndianIndependentFile* file, const void* bytes, uint32_t size);

// Replaces an owned text with a copy of text; null and "" leave it null.
void ReplaceRecordText(char** target, const char* text);
