// One event's record in an event set file: its fields in a fixed order, its
// icon when it has its own, the editor window's frame, then the name of its
// handler and the handler's own block (a 32-bit count and that many bytes).
#include <cstring>

#include "calvorin/EndianIndependentFile.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/UnknownDataHandler.h"

namespace {

constexpr int32_t kStringBufferSize = 4096;
constexpr int32_t kCustomIcon = -2;
constexpr int32_t kLastStandardIcon = 10;

// Reads the fields of one record, in order, into an event. Every read is
// checked; the first that fails makes the whole record unreadable.
class RecordReader {
public:
    RecordReader(EndianIndependentFile* file) : fFile(file) {}

    bool Int32(int32_t* value) { return fOk = fOk && fFile->ReadValue(value); }
    bool UInt32(uint32_t* value) { return fOk = fOk && fFile->ReadValue(value); }
    bool Float(float* value) { return fOk = fOk && fFile->ReadNumber(value, 4, 1) == 1; }
    bool Int8(int8_t* value) { return fOk = fOk && fFile->ReadValue(value); }
    bool Bool(bool* value)
    {
        uint8_t byte = 0;
        fOk = fOk && fFile->ReadValue(&byte);
        if (fOk)
            *value = byte != 0;
        return fOk;
    }
    // A number that must lie in [low, high]; anything else is corruption.
    template <typename Enum> bool Ranged(Enum* value, int32_t low, int32_t high)
    {
        int32_t number = 0;
        fOk = fOk && fFile->ReadValue(&number) && number >= low && number <= high;
        if (fOk)
            *value = Enum(number);
        return fOk;
    }
    bool Int8Ranged(int8_t* value, int32_t low, int32_t high)
    {
        fOk = fOk && fFile->ReadValue(value) && *value >= low && *value <= high;
        return fOk;
    }
    // A text; an empty one stays absent.
    bool Text(char** target)
    {
        fOk = fOk && ReadRaw();
        if (fOk)
            SetNewString(fBuffer, target);
        return fOk;
    }
    // A text into the reader's own buffer (for the handler name).
    const char* RawText()
    {
        fOk = fOk && ReadRaw();
        return fOk ? fBuffer : nullptr;
    }
    bool Bytes(void* data, uint32_t size)
    {
        return fOk = fOk && fFile->ReadRaw(data, size) == int32_t(size);
    }
    bool Ok() const { return fOk; }

private:
    bool ReadRaw() { return fFile->ReadString(fBuffer, kStringBufferSize) == B_OK; }

    EndianIndependentFile* fFile;
    bool fOk = true;
    char fBuffer[kStringBufferSize];
};

// Writes the fields of one record; false on the first short write.
class RecordWriter {
public:
    RecordWriter(EndianIndependentFile* file) : fFile(file) {}

    RecordWriter& Int32(int32_t value)
    {
        fOk = fOk && fFile->WriteValue(value);
        return *this;
    }
    RecordWriter& Float(float value)
    {
        fOk = fOk && fFile->WriteNumber(&value, 4, 1) == 1;
        return *this;
    }
    RecordWriter& Byte(uint8_t value)
    {
        fOk = fOk && fFile->WriteValue(value);
        return *this;
    }
    RecordWriter& Bool(bool value) { return Byte(value ? 1 : 0); }
    RecordWriter& Text(const char* text)
    {
        fOk = fOk && fFile->WriteString(text) == B_OK;
        return *this;
    }
    RecordWriter& Bytes(const void* data, uint32_t size)
    {
        fOk = fOk && fFile->WriteRaw(data, size) == int32_t(size);
        return *this;
    }
    bool Ok() const { return fOk; }

private:
    EndianIndependentFile* fFile;
    bool fOk = true;
};

// The pixels of a custom icon, or transparent ones when the bitmap is missing.
void WriteIconBits(RecordWriter& writer, const IconBitmap* icon, int size)
{
    const size_t length = size_t(size) * size_t(size);
    if (icon != nullptr && icon->BitsLength() == length) {
        writer.Bytes(icon->Bits(), uint32_t(length));
    } else {
        uint8_t transparent[IconBitmap::kLargeSize * IconBitmap::kLargeSize];
        std::memset(transparent, IconBitmap::kTransparent, length);
        writer.Bytes(transparent, uint32_t(length));
    }
}

}  // namespace

Event::Event(EventOwner* owner, EndianIndependentFile* file, unsigned char versionIndex,
             ConstructorResult* result, bool* ok)
{
    InitBlank(owner);
    ConstructorResult ignoredResult;
    bool ignoredOk;
    if (result == nullptr)
        result = &ignoredResult;
    if (ok == nullptr)
        ok = &ignoredOk;
    *ok = true;
    *result = kReadComplete;

    RecordReader in(file);
    Raw r = RawFields();
    in.Text(&r.Name());
    in.Int32(&r.NextEventTime());
    in.Int32(&r.ActualEventTime());
    in.Bool(&r.Active());
    in.Ranged(&r.Status(), WaitingForPrewarning, DoneWithEvent);
    // Files of version "1.0" keep the deletable flag further on.
    if (versionIndex != 0)
        in.Bool(&r.Deletable());
    in.Ranged(&r.PeriodType(), Once, SubDaily);
    in.UInt32(&r.Multiple());
    in.Ranged(&r.Timing(), ByDate, ByDayOfWeek);
    in.Ranged(&r.SavedTimingType(), ByDate, ByDayOfWeek);
    in.Int32(&r.EventTime());
    in.Int8Ranged(&r.DayOfMonth(), 1, 127);
    in.Int8Ranged(&r.WeekOfMonth(), 0, 127);
    in.Int8Ranged(&r.DayOfWeek(), 0, 6);
    in.Int8Ranged(&r.Month(), 0, 11);
    in.Int32(&r.MultiStartTime());
    in.Bool(&r.ApplyTime());
    in.Int32(&r.TimeToApply());
    in.Ranged(&r.SubIntType(), Months, Minutes);
    in.Bool(&r.ApplyStop());
    in.Int32(&r.StopTime());
    in.Bool(&r.ApplyPrewarn());
    in.UInt32(&r.PrewarnTime());
    in.Ranged(&r.PrewarnType(), Months, Minutes);
    in.Bool(&r.ApplyPrewarnRepeat());
    in.UInt32(&r.PrewarnRepeatTime());
    in.Ranged(&r.PrewarnRepeatType(), Months, Minutes);
    in.Text(&r.PrewarnMessage());
    in.Bool(&r.ApplyNag());
    in.UInt32(&r.NagRepeatTime());
    in.Ranged(&r.NagRepeatType(), Months, Minutes);
    in.Text(&r.NagMessage());
    in.Bool(&r.DeliverIfMissed());
    in.Bool(&r.DeleteOnceDelivered());
    in.Text(&r.Comment());
    in.Ranged(&r.IconNumber(), kCustomIcon, kLastStandardIcon);
    if (in.Ok() && r.IconNumber() == kCustomIcon) {
        uint8_t large[IconBitmap::kLargeSize * IconBitmap::kLargeSize];
        uint8_t mini[IconBitmap::kMiniSize * IconBitmap::kMiniSize];
        if (in.Bytes(large, sizeof large) && in.Bytes(mini, sizeof mini)) {
            r.LargeIcon() = new IconBitmap(IconBitmap::kLargeSize, IconBitmap::kLargeSize, large);
            r.MiniIcon() = new IconBitmap(IconBitmap::kMiniSize, IconBitmap::kMiniSize, mini);
        }
    }
    Rect frame;
    in.Float(&frame.left);
    in.Float(&frame.top);
    in.Float(&frame.right);
    in.Float(&frame.bottom);
    if (in.Ok()) {
        Autolock settingsLock(CalvorinSettings::Protect);
        r.WindowFrame() = CalvorinSettings::EventWindowPosition.CheckFrame(frame);
    }
    in.Bool(&r.ShouldWindowOpen());
    if (versionIndex == 0)
        in.Bool(&r.Deletable());
    in.Int32(&r.TabShown());
    if (!in.Ok()) {
        *result = kReadFailed;
        return;
    }

    AllocateSlots();
    const char* handlerName = in.RawText();
    if (handlerName == nullptr) {
        *result = kReadFailed;
        return;
    }
    int32_t index = FindHandlerByName(handlerName);
    if (index < 0 || index >= fSlotCount || index >= NumberOfEventHandlers ||
        Function_NewAddOnData == nullptr || Function_NewAddOnData[index] == nullptr) {
        *result = kReadFailed;
        return;
    }
    bool handlerOk = true;
    EventAddOnData* data = Function_NewAddOnData[index](this, file, &handlerOk);
    AddOnData[index] = data;
    SelectedHandler = index;
    if (!handlerOk || data == nullptr) {
        *result = kReadFailed;
        return;
    }
    // An event whose handler is not loaded keeps the handler's name, so that
    // saving writes it back and the handler takes the event up again once
    // it is installed.
    if (index == kUnknownHandler)
        static_cast<UnknownDataHandler*>(data)->SetOriginalHandler(handlerName);

    RefreshColumns();
}

bool Event::SaveData(EndianIndependentFile* file)
{
    // The editor-window-open byte records whether the editor is open now.
    ShouldWindowOpen = Window != nullptr;

    EventAddOnData* data = GetAddOnData();
    if (data == nullptr)
        return false;
    const char* handlerName = "";
    if (SelectedHandler == kUnknownHandler)
        handlerName = static_cast<UnknownDataHandler*>(data)->GetOriginalHandler();
    else if (SelectedHandler > 0 && SelectedHandler < NumberOfEventHandlers)
        handlerName = AddOnNames[SelectedHandler];

    RecordWriter out(file);
    out.Text(Name)
        .Int32(NextEventTime)
        .Int32(ActualEventTime)
        .Bool(Active)
        .Int32(Status)
        .Bool(Deletable)
        .Int32(PeriodType)
        .Int32(int32_t(Multiple))
        .Int32(fTimingType)
        .Int32(SavedTimingType)
        .Int32(EventTime)
        .Byte(uint8_t(DayOfMonth))
        .Byte(uint8_t(WeekOfMonth))
        .Byte(uint8_t(DayOfWeek))
        .Byte(uint8_t(Month))
        .Int32(MultiStartTime)
        .Bool(ApplyTime)
        .Int32(TimeToApply)
        .Int32(SubIntType)
        .Bool(ApplyStop)
        .Int32(StopTime)
        .Bool(ApplyPrewarn)
        .Int32(int32_t(PrewarnTime))
        .Int32(PrewarnType)
        .Bool(ApplyPrewarnRepeat)
        .Int32(int32_t(PrewarnRepeatTime))
        .Int32(PrewarnRepeatType)
        .Text(PrewarnMessage)
        .Bool(ApplyNag)
        .Int32(int32_t(NagRepeatTime))
        .Int32(NagRepeatType)
        .Text(NagMessage)
        .Bool(DeliverIfMissed)
        .Bool(DeleteOnceDelivered)
        .Text(Comment)
        .Int32(IconNumber);
    if (IconNumber == kCustomIcon) {
        WriteIconBits(out, LargeIcon, IconBitmap::kLargeSize);
        WriteIconBits(out, MiniIcon, IconBitmap::kMiniSize);
    }
    out.Float(WindowFrame.left)
        .Float(WindowFrame.top)
        .Float(WindowFrame.right)
        .Float(WindowFrame.bottom)
        .Bool(ShouldWindowOpen)
        .Int32(TabShown)
        .Text(handlerName);
    return out.Ok() && data->SaveData(file);
}
