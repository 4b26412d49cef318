// Reading and writing an event set file: the byte-order flag, the version
// string, the events one after another, then the set window's frame and the
// list layout. Saving is atomic: the whole set goes to a temporary file in
// the same folder, which then replaces the old file in one rename.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "calvorin/EndianIndependentFile.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "handlers/HandlerRegistry.h"

namespace {

// The file's buffer. The format does not depend on it; a large one keeps the
// reads and writes of a big set few.
constexpr int32_t kSetFileBufferSize = 64 * 1024;
constexpr int32_t kVersionBufferSize = 30;
constexpr const char* kMimeTypeAttribute = "user.mime_type";

// Joins pieces into one new[] string.
char* JoinNew(std::initializer_list<const char*> pieces)
{
    std::string text;
    for (const char* piece : pieces)
        text += piece != nullptr ? piece : "";
    char* result = new char[text.size() + 1];
    std::memcpy(result, text.c_str(), text.size() + 1);
    return result;
}

// The permission bits a newly created file gets from this process.
mode_t NewFileMode()
{
    mode_t mask = 022;
    if (FILE* status = std::fopen("/proc/self/status", "r")) {
        char line[128];
        while (std::fgets(line, sizeof line, status) != nullptr) {
            unsigned int value;
            if (std::sscanf(line, "Umask: %o", &value) == 1) {
                mask = mode_t(value);
                break;
            }
        }
        std::fclose(status);
    }
    return 0666 & ~mask;
}

// The file a save replaces: a symbolic link is followed, so that saving
// through a link updates the file it points to and keeps the link.
std::string SaveTarget(const char* fileName)
{
    std::string target = fileName;
    struct stat info;
    if (::lstat(fileName, &info) == 0 && S_ISLNK(info.st_mode)) {
        if (char* resolved = ::realpath(fileName, nullptr)) {
            target = resolved;
            std::free(resolved);
        }
    }
    return target;
}

void SyncFolder(const std::string& folder)
{
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Layout values outside what the set window understands are put back to
// sensible ones: the layout is cosmetic and never a reason to refuse a set.
void RepairColumnOrder(int32_t order[6])
{
    bool seen[6] = {};
    for (int i = 0; i < 6; ++i) {
        if (order[i] < 0 || order[i] > 5 || seen[order[i]]) {
            for (int j = 0; j < 6; ++j)
                order[j] = j;
            return;
        }
        seen[order[i]] = true;
    }
}

}  // namespace

void ReportSetVersionError(const char* fileName, const char* version)
{
    char* text = JoinNew({"The EventSet file ", fileName,
                          " was written by an unknown version of Calvorin.  It was written by "
                          "version ",
                          version, ", and the current version is ", kEventSetVersion,
                          ".  The set will not be able to be opened until you get a newer "
                          "version of Calvorin."});
    ReportError(text);
    delete[] text;
}

char* GetAddOnVersionErrorReportString(const char* fileName, Event* event)
{
    int32_t handler = event->GetSelectedHandler();
    const char* handlerName =
        handler >= 0 && handler < NumberOfEventHandlers ? AddOnNames[handler] : "";
    return JoinNew(
        {"The EventSet file ", fileName, " contains an event called ", event->GetName(),
         ", which is handled by an add-on called ", handlerName,
         ", and the data was written by a newer version of the add-on than what is currently "
         "installed.  The event could not be handled by the add-on and is being removed from "
         "the set.  Try quitting without saving, and either installing the newest version of "
         "the add-on or removing the current version of the add-on until you can obtain the "
         "current version.  Removing the add-on will preserve the event in its current form, "
         "which will be handled by the \"unknown\" add-on handler until you can install the "
         "current version."});
}

void EventSet::ReadFile(const char* fileName, ConstructorResult* result, bool* ok)
{
    SetFileName(fileName);
    EndianIndependentFile file(fileName, B_READ_ONLY, kSetFileBufferSize);
    if (file.InitCheck() != B_OK) {
        *result = kFileNotOpened;
        return;
    }
    fReadBigEndian = file.IsBigEndian();

    char version[kVersionBufferSize];
    if (file.ReadString(version, kVersionBufferSize) != B_OK) {
        *result = kReadFailed;
        return;
    }
    int versionIndex = -1;
    for (int i = 0; VersionHistory[i] != nullptr; ++i) {
        if (std::strcmp(version, VersionHistory[i]) == 0) {
            versionIndex = i;
            break;
        }
    }
    if (versionIndex < 0) {
        ReportSetVersionError(fileName, version);
        *ok = false;
        return;
    }
    std::memcpy(fReadVersion, version, sizeof fReadVersion);

    int32_t count;
    if (!file.ReadValue(&count)) {
        *result = kReadFailed;
        return;
    }

    {
        // Events check their editor frames with the settings' placement
        // helper: the settings lock comes before the set's own.
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setLock(this);
        for (int32_t i = 0; i < count; ++i) {
            ConstructorResult eventResult = kReadComplete;
            bool eventOk = true;
            Event* event =
                new Event(this, &file, (unsigned char)versionIndex, &eventResult, &eventOk);
            if (!eventOk) {
                char* report = GetAddOnVersionErrorReportString(fileName, event);
                ReportError(report);
                delete[] report;
                delete event;
                continue;
            }
            if (eventResult != kReadComplete) {
                *result = eventResult;
                delete event;
                DeleteAllEvents();
                fModified = false;
                return;
            }
            fEvents.push_back(event);
        }
        EvalNextEvent();
    }

    float frame[4];
    if (file.ReadNumber(frame, 4, 4) != 4) {
        *result = kReadFailed;
        return;
    }
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        fWindowFrame = CalvorinSettings::SetWindowPosition.CheckFrame(
            Rect{frame[0], frame[1], frame[2], frame[3]});
    }

    uint8_t shown[6];
    float widths[6];
    int32_t keys[5];
    int32_t modes[5];
    int32_t viewMode;
    if (file.ReadNumber(fColumnOrder, 4, 6) != 6 || file.ReadNumber(shown, 1, 6) != 6 ||
        file.ReadNumber(widths, 4, 6) != 6 || !file.ReadValue(&fNumberOfKeys) ||
        file.ReadNumber(keys, 4, 5) != 5 || file.ReadNumber(modes, 4, 5) != 5 ||
        !file.ReadValue(&viewMode)) {
        *result = kReadFailed;
        fModified = false;
        return;
    }
    RepairColumnOrder(fColumnOrder);
    for (int i = 0; i < 6; ++i) {
        fColumnShown[i] = shown[i] != 0;
        fColumnWidth[i] = std::isfinite(widths[i]) && widths[i] >= 0.0f && widths[i] <= 1.0e5f
                              ? widths[i]
                              : 100.0f;
    }
    if (fNumberOfKeys < 0 || fNumberOfKeys > 5)
        fNumberOfKeys = 0;
    for (int i = 0; i < 5; ++i) {
        fSortKeys[i] = keys[i] >= 0 && keys[i] <= 5 ? keys[i] : 0;
        fSortModes[i] = modes[i] >= Ascending && modes[i] <= NoSort ? CLVSortMode(modes[i]) : NoSort;
    }
    fViewMode = viewMode >= ListViewMode && viewMode <= WeekViewMode ? ViewModes(viewMode)
                                                                      : ListViewMode;
    fModified = false;
}

bool EventSet::SaveData()
{
    if (fFileName == nullptr || fFileName[0] == '\0')
        return false;

    const std::string target = SaveTarget(fFileName);
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : target.substr(0, slash);
    const std::string leaf = slash == std::string::npos ? target : target.substr(slash + 1);

    // The file being replaced keeps its permission bits and owner; a file
    // the user may not write stays as it is, as if it had been opened for
    // writing.
    mode_t mode = NewFileMode();
    struct stat old;
    const bool replacing = ::stat(target.c_str(), &old) == 0;
    if (replacing) {
        if (::access(target.c_str(), W_OK) != 0)
            return false;
        mode = old.st_mode & 07777;
    }

    std::string temporary = folder + "/." + leaf + ".XXXXXX";
    int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    ::close(fd);

    bool written = false;
    {
        EndianIndependentFile file(temporary.c_str(), B_WRITE_ONLY | B_CREATE_FILE | B_ERASE_FILE,
                                   kSetFileBufferSize);
        if (file.InitCheck() == B_OK) {
            int descriptor = file.FileDescriptor();
            // The file type, where the file system keeps extended attributes.
            ::fsetxattr(descriptor, kMimeTypeAttribute, kEventSetMimeType,
                        std::strlen(kEventSetMimeType), 0);
            if (replacing && ::fchown(descriptor, old.st_uid, old.st_gid) != 0) {
                // Only the owner's own files can be given away; keep ours.
            }
            ::fchmod(descriptor, mode);

            auto writeAll = [&]() {
                if (file.WriteString(kEventSetVersion) != B_OK)
                    return false;
                if (!file.WriteValue<int32_t>(CountEvents()))
                    return false;
                for (Event* event : fEvents) {
                    if (!event->SaveData(&file))
                        return false;
                }
                float frame[4] = {fWindowFrame.left, fWindowFrame.top, fWindowFrame.right,
                                  fWindowFrame.bottom};
                uint8_t shown[6];
                for (int i = 0; i < 6; ++i)
                    shown[i] = fColumnShown[i] ? 1 : 0;
                int32_t order[6];
                float widths[6];
                int32_t keys[5];
                int32_t modes[5];
                std::memcpy(order, fColumnOrder, sizeof order);
                std::memcpy(widths, fColumnWidth, sizeof widths);
                for (int i = 0; i < 5; ++i) {
                    keys[i] = fSortKeys[i];
                    modes[i] = fSortModes[i];
                }
                return file.WriteNumber(frame, 4, 4) == 4 && file.WriteNumber(order, 4, 6) == 6 &&
                       file.WriteNumber(shown, 1, 6) == 6 && file.WriteNumber(widths, 4, 6) == 6 &&
                       file.WriteValue<int32_t>(fNumberOfKeys) &&
                       file.WriteNumber(keys, 4, 5) == 5 && file.WriteNumber(modes, 4, 5) == 5 &&
                       file.WriteValue<int32_t>(fViewMode);
            };
            written = writeAll() && file.FlushBuffer() == B_OK && ::fsync(descriptor) == 0;
        }
    }

    if (!written || ::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    SyncFolder(folder);
    fModified = false;
    return true;
}
