// A buffered file whose first byte records the byte order its numbers were
// written in (0x00 little-endian, 0x01 big-endian). Numbers are swapped on
// the way in and out as needed, so files move between machines of either
// order. Positions seen by users start after the flag byte.
#pragma once

#include "calvorin/BufferedFile.h"

class EndianIndependentFile : public BufferedFile {
public:
    EndianIndependentFile(const char* path, uint32_t openMode, int32_t bufferSize);
    EndianIndependentFile(const char* directory, const char* leaf, uint32_t openMode,
                          int32_t bufferSize);

    status_t InitCheck() const;

    // size is 1, 2, 4 or 8; the results count whole numbers.
    int32_t WriteNumber(void* data, uint8_t size, int32_t count);
    int32_t ReadNumber(void* data, uint8_t size, int32_t count);
    // 0-terminated strings, no length prefix; null is written as "".
    status_t WriteString(const char* string);
    status_t ReadString(char* buffer, int32_t bufferSize);
    int32_t WriteRaw(const void* data, uint32_t size);
    int32_t ReadRaw(void* data, uint32_t size);

    bool IsBigEndian() const { return fFileIsBigEndian; }
    bool IsNativeEndian() const { return fFileIsBigEndian == fHostIsBigEndian; }

    off_t Seek(off_t position, uint32_t whence) override;
    ssize_t ReadAt(off_t position, void* data, size_t size) override;
    ssize_t WriteAt(off_t position, const void* data, size_t size) override;
    status_t SetSize(off_t size) override;

    // Convenience wrappers for single values (true when the whole value moved).
    template <typename T> bool WriteValue(T value) { return WriteNumber(&value, sizeof(T), 1) == 1; }
    template <typename T> bool ReadValue(T* value) { return ReadNumber(value, sizeof(T), 1) == 1; }

private:
    void InitEndianness(uint32_t openMode);

    bool fFileIsBigEndian = false;
    bool fHostIsBigEndian = false;
    status_t fEndianStatus = B_OK;
};
