// One event's record in an event set file: its fields in a fixed order, its
// icon when it has its own, the editor window's frame, then the name of its
// handler and the handler's own block (a 32-bit count and that many bytes).
#include <cassert>
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
constexpr int32_t kTextPreview = 256;
constexpr int32_t kCustomIcon = -2;
constexpr int32_t kLastStandardIcon = 10;

// The widths of a run of fixed-size fields: 'i' a 32-bit number, 'b' a byte.
constexpr uint32_t Width(const char* layout)
{
    uint32_t width = 0;
    for (; *layout != '\0'; ++layout)
        width += *layout == 'i' ? 4 : 1;
    return width;
}

// The runs of fixed-size fields between the texts of a record. Each run is
// read in one piece and then taken apart field by field.
constexpr const char* kTimesAndStatus = "iibi";  // next, actual, active, status
constexpr const char* kSchedule =                // period .. prewarn repeat type
    "iiiii"                                      // period, multiple, timing, saved, event time
    "bbbb"                                       // day of month, week of month, day of week, month
    "ibiibi"                                     // start, apply time, time of day, unit, stop
    "biibii";                                    // prewarn and its repeat
constexpr const char* kNag = "bii";
constexpr const char* kDelivery = "bb";
constexpr const char* kFrame = "iiiib";  // editor frame, editor open

// Reads one record's fields, in order. Every read is checked; the first that
// fails makes the whole record unreadable.
class RecordReader {
public:
    explicit RecordReader(EndianIndependentFile* file)
        : fFile(file), fSwap(!file->IsNativeEndian()) {}

    // Reads the next run of fixed-size fields.
    bool Fetch(uint32_t width)
    {
        fAt = 0;
        fWidth = width;
        return fOk = fOk && width <= sizeof fRun && fFile->ReadRaw(fRun, width) == int32_t(width);
    }
    bool RunUsedUp() const { return !fOk || fAt == fWidth; }

    uint32_t UInt32()
    {
        uint32_t value = 0;
        if (!fOk || fAt + 4 > fWidth)
            return fOk = false, 0;
        std::memcpy(&value, fRun + fAt, 4);
        fAt += 4;
        return fSwap ? __builtin_bswap32(value) : value;
    }
    int32_t Int32() { return int32_t(UInt32()); }
    float Float()
    {
        uint32_t bits = UInt32();
        float value;
        std::memcpy(&value, &bits, 4);
        return value;
    }
    uint8_t Byte()
    {
        if (!fOk || fAt + 1 > fWidth)
            return fOk = false, 0;
        return fRun[fAt++];
    }
    bool Bool() { return Byte() != 0; }
    // A number that must lie in [low, high]; anything else is corruption.
    template <typename Enum> Enum Ranged(int32_t low, int32_t high)
    {
        int32_t number = Int32();
        if (number < low || number > high) {
            fOk = false;
            return Enum(low);
        }
        return Enum(number);
    }
    int8_t Int8Ranged(int32_t low, int32_t high)
    {
        int8_t value = int8_t(Byte());
        if (value < low || value > high)
            fOk = false;
        return value;
    }

    // A text; an empty one stays absent.
    bool Text(char** target)
    {
        fOk = fOk && ReadText();
        if (fOk)
            SetNewString(fText, target);
        return fOk;
    }
    // A text into the reader's own buffer (for the handler name).
    const char* RawText()
    {
        fOk = fOk && ReadText();
        return fOk ? fText : nullptr;
    }
    bool Bytes(void* data, uint32_t size)
    {
        return fOk = fOk && fFile->ReadRaw(data, size) == int32_t(size);
    }
    bool Ok() const { return fOk; }

private:
    // Texts are read as ReadString reads them; when the whole text already
    // waits in the file's buffer it is taken in one piece instead of byte by
    // byte.
    bool ReadText()
    {
        int32_t ahead = fFile->BufferedPreview(fText, kTextPreview);
        if (ahead > 0) {
            if (const void* end = std::memchr(fText, '\0', size_t(ahead))) {
                int32_t length = int32_t(static_cast<const char*>(end) - fText) + 1;
                return fFile->ReadRaw(fText, uint32_t(length)) == length;
            }
        }
        return fFile->ReadString(fText, kStringBufferSize) == B_OK;
    }

    EndianIndependentFile* fFile;
    bool fSwap;
    bool fOk = true;
    uint8_t fRun[64];
    uint32_t fWidth = 0;
    uint32_t fAt = 0;
    char fText[kStringBufferSize];
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
    // Files of version "1.0" keep the deletable flag further on.
    const bool deletableFirst = versionIndex != 0;
    if (in.Fetch(Width(kTimesAndStatus) + (deletableFirst ? 1 : 0))) {
        r.NextEventTime() = in.Int32();
        r.ActualEventTime() = in.Int32();
        r.Active() = in.Bool();
        r.Status() = in.Ranged<EventStatus>(WaitingForPrewarning, DoneWithEvent);
        if (deletableFirst)
            r.Deletable() = in.Bool();
    }
    if (in.Fetch(Width(kSchedule))) {
        r.PeriodType() = in.Ranged<PeriodicityType>(Once, SubDaily);
        r.Multiple() = in.UInt32();
        r.Timing() = in.Ranged<TimingType>(ByDate, ByDayOfWeek);
        r.SavedTimingType() = in.Ranged<TimingType>(ByDate, ByDayOfWeek);
        r.EventTime() = in.Int32();
        r.DayOfMonth() = in.Int8Ranged(1, 127);
        r.WeekOfMonth() = in.Int8Ranged(0, 127);
        r.DayOfWeek() = in.Int8Ranged(0, 6);
        r.Month() = in.Int8Ranged(0, 11);
        r.MultiStartTime() = in.Int32();
        r.ApplyTime() = in.Bool();
        r.TimeToApply() = in.Int32();
        r.SubIntType() = in.Ranged<TimeIntervalType>(Months, Minutes);
        r.ApplyStop() = in.Bool();
        r.StopTime() = in.Int32();
        r.ApplyPrewarn() = in.Bool();
        r.PrewarnTime() = in.UInt32();
        r.PrewarnType() = in.Ranged<TimeIntervalType>(Months, Minutes);
        r.ApplyPrewarnRepeat() = in.Bool();
        r.PrewarnRepeatTime() = in.UInt32();
        r.PrewarnRepeatType() = in.Ranged<TimeIntervalType>(Months, Minutes);
    }
    assert(in.RunUsedUp());
    in.Text(&r.PrewarnMessage());
    if (in.Fetch(Width(kNag))) {
        r.ApplyNag() = in.Bool();
        r.NagRepeatTime() = in.UInt32();
        r.NagRepeatType() = in.Ranged<TimeIntervalType>(Months, Minutes);
    }
    in.Text(&r.NagMessage());
    if (in.Fetch(Width(kDelivery))) {
        r.DeliverIfMissed() = in.Bool();
        r.DeleteOnceDelivered() = in.Bool();
    }
    in.Text(&r.Comment());
    if (in.Fetch(Width("i")))
        r.IconNumber() = in.Ranged<int32_t>(kCustomIcon, kLastStandardIcon);
    if (in.Ok() && r.IconNumber() == kCustomIcon) {
        uint8_t large[IconBitmap::kLargeSize * IconBitmap::kLargeSize];
        uint8_t mini[IconBitmap::kMiniSize * IconBitmap::kMiniSize];
        if (in.Bytes(large, sizeof large) && in.Bytes(mini, sizeof mini)) {
            r.LargeIcon() = new IconBitmap(IconBitmap::kLargeSize, IconBitmap::kLargeSize, large);
            r.MiniIcon() = new IconBitmap(IconBitmap::kMiniSize, IconBitmap::kMiniSize, mini);
        }
    }
    if (in.Fetch(Width(kFrame) + (deletableFirst ? 0 : 1) + Width("i"))) {
        Rect frame;
        frame.left = in.Float();
        frame.top = in.Float();
        frame.right = in.Float();
        frame.bottom = in.Float();
        r.ShouldWindowOpen() = in.Bool();
        if (!deletableFirst)
            r.Deletable() = in.Bool();
        r.TabShown() = in.Int32();
        if (in.Ok()) {
            Autolock settingsLock(CalvorinSettings::Protect);
            r.WindowFrame() = CalvorinSettings::EventWindowPosition.CheckFrame(frame);
        }
    }
    assert(in.RunUsedUp());
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
