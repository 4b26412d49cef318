// An event as a transfer message, for copy and paste: every setting of the
// event as a named field, and the selected handler's whole block (its count
// and its bytes, as its SaveData wrote them) as one opaque data field. The
// block passes through a private temporary file because only the handler
// knows how to write and read it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "calvorin/EndianIndependentFile.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "core/ErrorReporting.h"
#include "core/Message.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/UnknownDataHandler.h"

namespace {

constexpr uint32_t kIconBitsType = 0x69426974;     // 'iBit'
constexpr uint32_t kHandlerDataType = 0x68446174;  // 'hDat'
constexpr int32_t kTransferBufferSize = 4095;
constexpr int32_t kCustomIcon = -2;

// A private temporary file for one handler block, opened read-write. Its
// name is removed as soon as it is open, so nothing stays behind whatever
// happens next; the file itself goes when it is closed.
class TransferFile {
public:
    TransferFile()
    {
        const char* folder = std::getenv("TMPDIR");
        if (folder == nullptr || folder[0] == '\0')
            folder = "/tmp";
        std::string path = std::string(folder) + "/calvorin-transfer-XXXXXX";
        int fd = ::mkostemp(path.data(), O_CLOEXEC);
        if (fd < 0 && std::strcmp(folder, "/tmp") != 0) {
            path = "/tmp/calvorin-transfer-XXXXXX";
            fd = ::mkostemp(path.data(), O_CLOEXEC);
        }
        if (fd < 0)
            return;
        fFile = new EndianIndependentFile(path.c_str(), B_READ_WRITE | B_CREATE_FILE | B_ERASE_FILE,
                                          kTransferBufferSize);
        ::unlink(path.c_str());
        ::close(fd);
        if (fFile->InitCheck() != B_OK) {
            delete fFile;
            fFile = nullptr;
        }
    }
    ~TransferFile() { delete fFile; }
    TransferFile(const TransferFile&) = delete;
    TransferFile& operator=(const TransferFile&) = delete;

    EndianIndependentFile* File() { return fFile; }

private:
    EndianIndependentFile* fFile = nullptr;
};

}  // namespace

bool Event::GenerateMessageForEvent(Message* message)
{
    message->AddString("Name", Name);
    message->AddInt32("NextEventTime", NextEventTime);
    message->AddInt32("ActualEventTime", ActualEventTime);
    message->AddBool("Active", Active);
    message->AddInt32("Status", Status);
    message->AddInt32("PeriodType", PeriodType);
    message->AddInt32("Multiple", int32_t(Multiple));
    message->AddInt32("TimeType", fTimingType);
    message->AddInt32("RememberType", SavedTimingType);
    message->AddInt32("SelectEventTime", EventTime);
    message->AddInt8("DayOfMonth", DayOfMonth);
    message->AddInt8("WeekOfMonth", WeekOfMonth);
    message->AddInt8("DayOfWeek", DayOfWeek);
    message->AddInt8("Month", Month);
    message->AddInt32("MultiStartTime", MultiStartTime);
    message->AddBool("ApplyTime", ApplyTime);
    message->AddInt32("SecondsIntoDay", TimeToApply);
    message->AddInt32("SubIntType", SubIntType);
    message->AddBool("ApplyStop", ApplyStop);
    message->AddInt32("StopTime", StopTime);
    message->AddBool("ApplyPrewarn", ApplyPrewarn);
    message->AddInt32("PrewarnTime", int32_t(PrewarnTime));
    message->AddInt32("PrewarnType", PrewarnType);
    message->AddBool("ApplyPrewarnRepeat", ApplyPrewarnRepeat);
    message->AddInt32("PrewarnRepeatTime", int32_t(PrewarnRepeatTime));
    message->AddInt32("PrewarnRepeatType", PrewarnRepeatType);
    message->AddString("PrewarnMessage", PrewarnMessage);
    message->AddBool("ApplyNag", ApplyNag);
    message->AddInt32("NagRepeatTime", int32_t(NagRepeatTime));
    message->AddInt32("NagRepeatType", NagRepeatType);
    message->AddString("NagMessage", NagMessage);
    message->AddBool("DeliverIfMissed", DeliverIfMissed);
    message->AddBool("DeleteOnceDelivered", DeleteOnceDelivered);
    message->AddString("Comment", Comment);
    message->AddInt32("IconNum", IconNumber);
    if (IconNumber == kCustomIcon) {
        std::vector<uint8_t> large(size_t(IconBitmap::kLargeSize) * IconBitmap::kLargeSize,
                                   IconBitmap::kTransparent);
        std::vector<uint8_t> mini(size_t(IconBitmap::kMiniSize) * IconBitmap::kMiniSize,
                                  IconBitmap::kTransparent);
        if (LargeIcon != nullptr && LargeIcon->BitsLength() == large.size())
            std::memcpy(large.data(), LargeIcon->Bits(), large.size());
        if (MiniIcon != nullptr && MiniIcon->BitsLength() == mini.size())
            std::memcpy(mini.data(), MiniIcon->Bits(), mini.size());
        message->AddData("LargeIcon", kIconBitsType, large.data(), large.size());
        message->AddData("MiniIcon", kIconBitsType, mini.data(), mini.size());
    }
    message->AddRect("WindowFrame", WindowFrame);
    message->AddInt32("ShownTab", TabShown);

    EventAddOnData* data = GetAddOnData();
    const char* handlerName = nullptr;
    if (SelectedHandler == kUnknownHandler && data != nullptr)
        handlerName = static_cast<UnknownDataHandler*>(data)->GetOriginalHandler();
    else if (SelectedHandler >= 0 && SelectedHandler < NumberOfEventHandlers)
        handlerName = AddOnNames[SelectedHandler];
    message->AddString("HandlerName", handlerName);

    if (data == nullptr)
        return false;
    TransferFile transfer;
    EndianIndependentFile* file = transfer.File();
    if (file == nullptr)
        return false;
    if (!data->SaveData(file) || file->FlushBuffer() != B_OK)
        return false;

    // The whole block, count included, exactly as the handler wrote it:
    // everything behind the byte-order flag.
    struct stat info;
    if (::fstat(file->FileDescriptor(), &info) != 0 || info.st_size < 1 ||
        file->Seek(0, SEEK_SET) != 0)
        return false;
    std::vector<uint8_t> block(size_t(info.st_size - 1));
    if (block.empty())
        return true;
    if (file->ReadRaw(block.data(), uint32_t(block.size())) != int32_t(block.size()))
        return false;
    return message->AddData("HandlerData", kHandlerDataType, block.data(), block.size()) == B_OK;
}

Event::Event(EventOwner* owner, Message* message, bool* ok)
{
    InitBlank(owner);
    bool ignoredOk;
    if (ok == nullptr)
        ok = &ignoredOk;
    *ok = true;

    SetNewString(message->GetString("Name"), &Name);
    NextEventTime = message->GetInt32("NextEventTime");
    ActualEventTime = message->GetInt32("ActualEventTime");
    Active = message->GetBool("Active");
    // Numbers that select from a table are kept inside it.
    auto ranged = [&](const char* name, int32_t low, int32_t high) {
        int32_t value = message->GetInt32(name);
        if (value < low || value > high) {
            *ok = false;
            return low;
        }
        return value;
    };
    Status = EventStatus(ranged("Status", WaitingForPrewarning, DoneWithEvent));
    PeriodType = PeriodicityType(ranged("PeriodType", Once, SubDaily));
    Multiple = uint32_t(message->GetInt32("Multiple"));
    fTimingType = TimingType(ranged("TimeType", ByDate, ByDayOfWeek));
    SavedTimingType = TimingType(ranged("RememberType", ByDate, ByDayOfWeek));
    EventTime = message->GetInt32("SelectEventTime");
    DayOfMonth = message->GetInt8("DayOfMonth");
    WeekOfMonth = message->GetInt8("WeekOfMonth");
    DayOfWeek = message->GetInt8("DayOfWeek");
    Month = message->GetInt8("Month");
    if (DayOfWeek < 0 || DayOfWeek > 6 || Month < 0 || Month > 11 || WeekOfMonth < 0) {
        DayOfWeek = 0;
        Month = 0;
        WeekOfMonth = 0;
        *ok = false;
    }
    MultiStartTime = message->GetInt32("MultiStartTime");
    ApplyTime = message->GetBool("ApplyTime");
    TimeToApply = message->GetInt32("SecondsIntoDay");
    SubIntType = TimeIntervalType(ranged("SubIntType", Months, Minutes));
    ApplyStop = message->GetBool("ApplyStop");
    StopTime = message->GetInt32("StopTime");
    ApplyPrewarn = message->GetBool("ApplyPrewarn");
    PrewarnTime = uint32_t(message->GetInt32("PrewarnTime"));
    PrewarnType = TimeIntervalType(ranged("PrewarnType", Months, Minutes));
    ApplyPrewarnRepeat = message->GetBool("ApplyPrewarnRepeat");
    PrewarnRepeatTime = uint32_t(message->GetInt32("PrewarnRepeatTime"));
    PrewarnRepeatType = TimeIntervalType(ranged("PrewarnRepeatType", Months, Minutes));
    SetNewString(message->GetString("PrewarnMessage"), &PrewarnMessage);
    ApplyNag = message->GetBool("ApplyNag");
    NagRepeatTime = uint32_t(message->GetInt32("NagRepeatTime"));
    NagRepeatType = TimeIntervalType(ranged("NagRepeatType", Months, Minutes));
    SetNewString(message->GetString("NagMessage"), &NagMessage);
    DeliverIfMissed = message->GetBool("DeliverIfMissed");
    DeleteOnceDelivered = message->GetBool("DeleteOnceDelivered");
    SetNewString(message->GetString("Comment"), &Comment);
    Deletable = true;
    ShouldWindowOpen = false;

    IconNumber = ranged("IconNum", kCustomIcon, 10);
    if (IconNumber == kCustomIcon) {
        const void* large = nullptr;
        const void* mini = nullptr;
        size_t largeSize = 0;
        size_t miniSize = 0;
        const size_t wantLarge = size_t(IconBitmap::kLargeSize) * IconBitmap::kLargeSize;
        const size_t wantMini = size_t(IconBitmap::kMiniSize) * IconBitmap::kMiniSize;
        if (message->FindData("LargeIcon", kIconBitsType, &large, &largeSize) == B_OK &&
            message->FindData("MiniIcon", kIconBitsType, &mini, &miniSize) == B_OK &&
            largeSize == wantLarge && miniSize == wantMini) {
            LargeIcon = new IconBitmap(IconBitmap::kLargeSize, IconBitmap::kLargeSize, large);
            MiniIcon = new IconBitmap(IconBitmap::kMiniSize, IconBitmap::kMiniSize, mini);
        } else {
            // A custom icon without its pixels shows as no icon.
            IconNumber = -1;
        }
    }
    WindowFrame = message->GetRect("WindowFrame");
    TabShown = message->GetInt32("ShownTab");

    AllocateSlots();
    const char* handlerName = message->GetString("HandlerName");
    int32_t index = handlerName != nullptr ? FindHandlerByName(handlerName) : kUnknownHandler;
    if (index < 0 || index >= fSlotCount || Function_NewAddOnData == nullptr ||
        Function_NewAddOnData[index] == nullptr) {
        *ok = false;
        RefreshColumns();
        return;
    }

    TransferFile transfer;
    EndianIndependentFile* file = transfer.File();
    if (file == nullptr) {
        *ok = false;
        RefreshColumns();
        return;
    }
    // The block goes back to the handler exactly as it was carried.
    const void* block = nullptr;
    size_t blockSize = 0;
    if (message->FindData("HandlerData", kHandlerDataType, &block, &blockSize) == B_OK &&
        blockSize > 0) {
        if (file->WriteRaw(block, uint32_t(blockSize)) != int32_t(blockSize) ||
            file->FlushBuffer() != B_OK)
            *ok = false;
    }
    if (file->Seek(0, SEEK_SET) != 0)
        *ok = false;

    bool handlerOk = true;
    EventAddOnData* data = Function_NewAddOnData[index](this, file, &handlerOk);
    AddOnData[index] = data;
    SelectedHandler = index;
    if (!handlerOk || data == nullptr)
        *ok = false;
    else if (index == kUnknownHandler && handlerName != nullptr)
        static_cast<UnknownDataHandler*>(data)->SetOriginalHandler(handlerName);
    RefreshColumns();
}
