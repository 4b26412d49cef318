// Helpers for the records the handlers keep in event set files: the 32-bit
// count that opens every record and raw byte runs.
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
