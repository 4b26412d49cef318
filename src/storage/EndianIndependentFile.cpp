#include "calvorin/EndianIndependentFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace {

bool IsNumberSize(uint8_t size)
{
    return size == 1 || size == 2 || size == 4 || size == 8;
}

// Reverses the bytes of each of count numbers of the given size, in place.
void SwapNumbers(void* data, uint8_t size, int32_t count)
{
    uint8_t* bytes = static_cast<uint8_t*>(data);
    for (int32_t i = 0; i < count; i++, bytes += size)
        std::reverse(bytes, bytes + size);
}

// Byte count of count numbers, or -1 when that cannot be a single transfer.
int64_t TransferSize(uint8_t size, int32_t count)
{
    if (!IsNumberSize(size) || count < 0)
        return -1;
    int64_t total = int64_t(size) * count;
    if (total > std::numeric_limits<int32_t>::max())
        return -1;
    return total;
}

}  // namespace

EndianIndependentFile::EndianIndependentFile(const char* path, uint32_t openMode,
                                             int32_t bufferSize)
    : BufferedFile(path, openMode, bufferSize)
{
    InitEndianness(openMode);
}

EndianIndependentFile::EndianIndependentFile(const char* directory, const char* leaf,
                                             uint32_t openMode, int32_t bufferSize)
    : BufferedFile(directory, leaf, openMode, bufferSize)
{
    InitEndianness(openMode);
}

// Settles the byte order: an existing file opened for reading keeps the order
// recorded in its first byte; a new or erased file gets the host's order,
// written as that first byte.
void EndianIndependentFile::InitEndianness(uint32_t openMode)
{
    if (fStatus != B_OK)
        return;

    fHostIsBigEndian = std::endian::native == std::endian::big;
    fEndianStatus = B_OK;

    if (openMode & B_OPEN_AT_END) {
        if (BufferedFile::Seek(0, 0) != 0) {
            fEndianStatus = B_FILE_ERROR;
            return;
        }
    }

    bool settled = false;
    uint32_t access = openMode & 3;
    bool readFlag = access == B_READ_ONLY || (openMode & 0x403) == B_READ_WRITE ||
                    (openMode & 0xC03) == (B_OPEN_AT_END | B_WRITE_ONLY);
    if (readFlag) {
        uint8_t flag = 0;
        if (BufferedRead(&flag, 1) == 1) {
            fFileIsBigEndian = flag != 0;
            settled = true;
        }
    }
    if (!settled && (access == B_WRITE_ONLY || access == B_READ_WRITE)) {
        fFileIsBigEndian = fHostIsBigEndian;
        uint8_t flag = fFileIsBigEndian ? 1 : 0;
        if (BufferedWrite(&flag, 1) == 1)
            settled = true;
    }
    if (!settled) {
        fEndianStatus = B_FILE_ERROR;
        return;
    }

    if (openMode & B_OPEN_AT_END)
        fEndianStatus = status_t(EndianIndependentFile::Seek(0, 2));
}

status_t EndianIndependentFile::InitCheck() const
{
    status_t status = BufferedFile::InitCheck();
    return status != B_OK ? status : fEndianStatus;
}

int32_t EndianIndependentFile::WriteNumber(void* data, uint8_t size, int32_t count)
{
    int64_t total = TransferSize(size, count);
    if (total <= 0)
        return 0;

    // Swapped in the caller's memory and back again rather than copied.
    bool swap = !IsNativeEndian() && size > 1;
    if (swap)
        SwapNumbers(data, size, count);
    int32_t written = BufferedWrite(data, uint32_t(total));
    if (swap)
        SwapNumbers(data, size, count);
    return written / size;
}

int32_t EndianIndependentFile::ReadNumber(void* data, uint8_t size, int32_t count)
{
    int64_t total = TransferSize(size, count);
    if (total <= 0)
        return 0;

    int32_t numbers = BufferedRead(data, uint32_t(total)) / size;
    // A partly read last number stays as it came, and is not counted.
    if (!IsNativeEndian() && size > 1)
        SwapNumbers(data, size, numbers);
    return numbers;
}

status_t EndianIndependentFile::WriteString(const char* string)
{
    if (string == nullptr)
        string = "";
    size_t length = std::strlen(string) + 1;
    if (length > size_t(std::numeric_limits<int32_t>::max()))
        return B_FILE_ERROR;
    if (BufferedWrite(string, uint32_t(length)) < int32_t(length))
        return B_FILE_ERROR;
    return B_OK;
}

status_t EndianIndependentFile::ReadString(char* buffer, int32_t bufferSize)
{
    if (buffer == nullptr || bufferSize < 1)
        return B_ERROR;

    for (int32_t i = 0; i < bufferSize; i++) {
        if (BufferedRead(&buffer[i], 1) != 1) {
            buffer[i] = '\0';
            return B_FILE_ERROR;
        }
        if (buffer[i] == '\0')
            return B_OK;
    }
    // Too long for the buffer: cut short, and the rest of the string is
    // still in the file, so the caller must treat this as a failed read.
    buffer[bufferSize - 1] = '\0';
    return B_ERROR;
}

int32_t EndianIndependentFile::WriteRaw(const void* data, uint32_t size)
{
    return BufferedWrite(data, size);
}

int32_t EndianIndependentFile::ReadRaw(void* data, uint32_t size)
{
    return BufferedRead(data, size);
}

// Logical positions start after the flag byte. The shift applies to every
// whence value, so seeks from the current position or from the end also go
// one byte further than asked.
off_t EndianIndependentFile::Seek(off_t position, uint32_t whence)
{
    off_t result = BufferedFile::Seek(position + 1, whence);
    return result < 0 ? result : result - 1;
}

ssize_t EndianIndependentFile::ReadAt(off_t position, void* data, size_t size)
{
    return BufferedFile::ReadAt(position + 1, data, size);
}

ssize_t EndianIndependentFile::WriteAt(off_t position, const void* data, size_t size)
{
    return BufferedFile::WriteAt(position + 1, data, size);
}

status_t EndianIndependentFile::SetSize(off_t size)
{
    return BufferedFile::SetSize(size + 1);
}
