#include "LogToFileData.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "calvorin/AddOn.h"

namespace {

char* CopyText(const char* text)
{
    if (text == nullptr || text[0] == '\0')
        return nullptr;
    size_t length = std::strlen(text) + 1;
    char* copy = new char[length];
    std::memcpy(copy, text, length);
    return copy;
}

}  // namespace

LogToFileData::LogToFileData(Event* attachedTo) : EventAddOnData(attachedTo) {}

LogToFileData::~LogToFileData()
{
    delete[] fLogFile;
}

QWidget* LogToFileData::CreateEditView(Rect)
{
    return nullptr;
}

void LogToFileData::SetLogFile(const char* path)
{
    delete[] fLogFile;
    fLogFile = CopyText(path);
}

const char* LogToFileData::DefaultLogFile()
{
    // $XDG_STATE_HOME/calvorin/event-log.txt, by default under ~/.local/state.
    static std::string path = [] {
        const char* state = std::getenv("XDG_STATE_HOME");
        const char* home = std::getenv("HOME");
        std::string base = state != nullptr && state[0] == '/'
                               ? std::string(state)
                               : std::string(home != nullptr ? home : "") + "/.local/state";
        return base + "/calvorin/event-log.txt";
    }();
    return path.c_str();
}

// The record, after Calvorin's handler name:
//   count    unsigned 32-bit: the number of bytes that follow
//   version  one byte, kRecordVersion
//   path     the log file with its terminating zero ("" for the default)
bool LogToFileData::SaveData(EndianIndependentFile* file)
{
    const char* path = fLogFile != nullptr ? fLogFile : "";
    uint32_t pathSize = uint32_t(std::strlen(path) + 1);
    uint32_t count = 1 + pathSize;
    uint8_t version = kRecordVersion;
    return file->WriteNumber(&count, 4, 1) == 1 && file->WriteNumber(&version, 1, 1) == 1 &&
           file->WriteRaw(path, pathSize) == int32_t(pathSize);
}

bool LogToFileData::ReadData(EndianIndependentFile* file)
{
    // The whole record is read first, whatever its version, so that the
    // event set goes on at the right place even when this one is refused.
    uint32_t count = 0;
    if (file->ReadNumber(&count, 4, 1) != 1)
        return false;
    std::vector<char> bytes;
    const uint32_t step = 4096;
    for (uint32_t done = 0; done < count;) {
        uint32_t part = count - done < step ? count - done : step;
        bytes.resize(done + part);
        if (file->ReadRaw(bytes.data() + done, part) != int32_t(part))
            return false;
        done += part;
    }
    if (count < 1 || uint8_t(bytes[0]) > kRecordVersion)
        return false;
    bytes.push_back('\0');  // a path that lost its zero still ends
    SetLogFile(bytes.data() + 1);
    return true;
}

void LogToFileData::DealWithEvent(bool missed)
{
    Event* event = GetAttachedTo();
    std::string name;
    time_t when = 0;
    std::string path;
    {
        // The event's fields and this data are read under the event's lock.
        Autolock lock(event->GetProtectionSemaphore());
        name = event->GetName() != nullptr ? event->GetName() : "";
        when = event->GetActualEventTime();
        path = fLogFile != nullptr ? fLogFile : DefaultLogFile();
    }

    struct tm cal = {};
    localtime_r(&when, &cal);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M", &cal);

    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    std::FILE* log = std::fopen(path.c_str(), "a");
    bool written = false;
    if (log != nullptr) {
        written = std::fprintf(log, "%s  %s%s\n", stamp, name.c_str(),
                               missed ? "  (missed)" : "") > 0;
        written = std::fclose(log) == 0 && written;
    }
    if (!written) {
        DeliverEventMessage(event, missed, "\n\nThe \"Log to file\" handler could not write to \"",
                            path.c_str(), "\".", nullptr, nullptr, "OK", nullptr);
    }
}
