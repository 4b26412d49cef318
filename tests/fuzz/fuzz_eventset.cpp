// Any bytes read as an event set file, with the built-in handlers loaded.
// Reading never crashes or leaks; a set that reads completely saves, reads
// back completely with the same events, and a second save gives the same
// bytes as the first (what the reader repairs stays repaired).
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "calvorin/Event.h"
#include "core/AlertPort.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"
#include "handlers/HandlerRegistry.h"

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// Reports (an unknown version) are answered at once and not kept.
class QuietAlertPort : public AlertPort {
public:
    int Go(const AlertRequest& request) override { return int(request.buttons.size()) - 1; }
};

std::string ScratchFolder()
{
    if (access("/dev/shm", W_OK) == 0)
        return "/dev/shm";
    const char* tmp = std::getenv("TMPDIR");
    return tmp != nullptr && tmp[0] != '\0' ? tmp : "/tmp";
}

std::string WriteTemporary(const std::string& folder, const uint8_t* data, size_t size)
{
    std::string path = folder + "/calvorin-fuzz-set-XXXXXX";
    int fd = mkstemp(path.data());
    Check(fd >= 0);
    size_t done = 0;
    while (done < size) {
        ssize_t n = write(fd, data + done, size - done);
        Check(n > 0);
        done += size_t(n);
    }
    close(fd);
    return path;
}

std::vector<uint8_t> ReadAll(const std::string& path)
{
    std::vector<uint8_t> bytes;
    int fd = open(path.c_str(), O_RDONLY);
    Check(fd >= 0);
    uint8_t buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) > 0)
        bytes.insert(bytes.end(), buffer, buffer + n);
    close(fd);
    return bytes;
}

void Destroy(EventSet* set)
{
    Autolock setsLock(OpenSets::Protect);
    set->Lock();
    delete set;
}

bool SaveAs(EventSet* set, const std::string& path)
{
    Autolock lock(set);
    set->SetFileName(path.c_str());
    return set->SaveData();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QuietAlertPort quiet;
    static const bool ready = [] {
        LoadBuiltInHandlers();
        SetAlertPort(&quiet);
        return true;
    }();
    (void)ready;
    static const std::string folder = ScratchFolder();

    const std::string input = WriteTemporary(folder, data, size);
    ConstructorResult result = kReadComplete;
    bool ok = true;
    EventSet* set = new EventSet(input.c_str(), false, &result, &ok);
    unlink(input.c_str());
    Check(result == kReadComplete || result == kFileNotOpened || result == kReadFailed);

    if (result == kReadComplete && ok) {
        int32_t count;
        {
            Autolock lock(set);
            count = set->CountEvents();
            set->GetNextEventTime(nullptr);
            for (int32_t i = 0; i < count; ++i) {
                for (int column = 0; column < kNumberOfColumns; ++column)
                    Check(set->EventAt(i)->GetColumnText(column) != nullptr);
            }
        }
        const std::string first = input + ".first";
        const std::string second = input + ".second";
        Check(SaveAs(set, first));

        ConstructorResult againResult = kReadFailed;
        bool againOk = false;
        EventSet* again = new EventSet(first.c_str(), false, &againResult, &againOk);
        Check(againResult == kReadComplete && againOk);
        Check(again->CountEvents() == count);
        Check(SaveAs(again, second));
        Check(ReadAll(first) == ReadAll(second));
        Destroy(again);
        unlink(first.c_str());
        unlink(second.c_str());
    }
    Destroy(set);
    return 0;
}
