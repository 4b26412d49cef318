#include "handlers/VerifiedTextRecord.h"

#include <cstring>

#include "calvorin/EndianIndependentFile.h"
#include "handlers/HandlerRecord.h"

bool WriteVerifiedTextRecord(EndianIndependentFile* file, uint8_t verify, const char* text)
{
    uint32_t count = text != nullptr ? uint32_t(std::strlen(text) + 2) : 0;
    if (!WriteRecordCount(file, count) || !file->WriteValue(verify))
        return false;
    return count < 2 || WriteRecordBytes(file, text, count - 1);
}

bool ReadVerifiedTextRecord(EndianIndependentFile* file, uint8_t* verify, char** text)
{
    uint32_t count = 0;
    if (!ReadRecordCount(file, &count) || !file->ReadValue(verify))
        return false;
    char* read = nullptr;
    if (count >= 2 && !ReadRecordBytes(file, count - 1, &read))
        return false;
    delete[] *text;
    *text = read;
    return true;
}
