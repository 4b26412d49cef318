#include "handlers/HandlerRecord.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "calvorin/EndianIndependentFile.h"

namespace {

// Reads of corrupt counts stop at the end of the file after at most this much.
constexpr uint32_t kReadStep = 64 * 1024;

}  // namespace

bool ReadRecordCount(EndianIndependentFile* file, uint32_t* count)
{
    return file->ReadValue(count);
}

bool WriteRecordCount(EndianIndependentFile* file, uint32_t count)
{
    return file->WriteValue(count);
}

bool ReadRecordBytes(EndianIndependentFile* file, uint32_t size, char** bytes)
{
    *bytes = nullptr;
    std::vector<char> buffer;
    uint32_t done = 0;
    while (done < size) {
        uint32_t step = std::min(size - done, kReadStep);
        buffer.resize(size_t(done) + step);
        if (file->ReadRaw(buffer.data() + done, step) != int32_t(step))
            return false;
        done += step;
    }
    char* result = new char[size_t(size) + 1];
    if (size > 0)
        std::memcpy(result, buffer.data(), size);
    result[size] = '\0';
    *bytes = result;
    return true;
}

bool WriteRecordBytes(EndianIndependentFile* file, const void* bytes, uint32_t size)
{
    if (size == 0)
        return true;
    return file->WriteRaw(bytes, size) == int32_t(size);
}
