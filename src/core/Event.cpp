#include "calvorin/Event.h"

#include <cassert>
#include <string>

#include "calvorin/AddOn.h"
#include "calvorin/EventAddOnData.h"
#include "calvorin/EventOwner.h"
#include "core/CalendarFunctions.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/ErrorReporting.h"
#include "core/EventWindowPort.h"
#include "core/StandardIcons.h"
#include "core/TimeText.h"
#include "handlers/HandlerRegistry.h"

const char* const PeriodTypeNames[kNumberOfPeriodTypes] = {
    "Once",          "Annually",     "Monthly",     "Weekly",     "Daily",      "Weekdays",
    "Weekends",      "MultiAnnually", "MultiMonthly", "MultiWeekly", "MultiDaily", "SubDaily"};

const int32_t IntervalLength[kNumberOfIntervalTypes] = {0, 604800, 86400, 3600, 60};

const unsigned char AllowableTypeCombination[kNumberOfPeriodTypes * kNumberOfTimingTypes] = {
    // By date, by day of month, by day of week
    1, 0, 0,  // Once
    1, 1, 1,  // Annually
    0, 1, 1,  // Monthly
    0, 0, 1,  // Weekly
    1, 1, 1,  // Daily
    1, 1, 1,  // Weekdays
    1, 1, 1,  // Weekends
    1, 1, 1,  // MultiAnnually
    0, 1, 1,  // MultiMonthly
    0, 0, 1,  // MultiWeekly
    1, 1, 1,  // MultiDaily
    1, 1, 1,  // SubDaily
};

const char* const StatusMessages[4] = {"Waiting for prewarning", "Waiting for event",
                                       "Waiting to nag", "Done with event"};
const char* const InactiveStatusText = "Inactive";

namespace {

constexpr int32_t kSecondsPerDay = 86400;
// The status key an inactive event sorts by (after "Done with event").
constexpr int32_t kInactiveSortKey = 4;

bool IsAllowed(PeriodicityType period, TimingType timing)
{
    if (period < 0 || period >= kNumberOfPeriodTypes || timing < 0 || timing >= kNumberOfTimingTypes)
        return false;
    return AllowableTypeCombination[period * kNumberOfTimingTypes + timing] == 1;
}

// A time of day brought into 0..86399 by whole days.
int32_t WrapIntoDay(int32_t secondsIntoDay)
{
    int32_t value = secondsIntoDay % kSecondsPerDay;
    if (value < 0)
        value += kSecondsPerDay;
    return value;
}

const char* HandlerName(int32_t index)
{
    if (AddOnNames == nullptr || index < 0 || index >= NumberOfEventHandlers ||
        AddOnNames[index] == nullptr)
        return "";
    return AddOnNames[index];
}

// Compares two texts bytewise with only A-Z folded to lower case.
int CompareFolded(const char* a, const char* b)
{
    if (a == nullptr)
        a = "";
    if (b == nullptr)
        b = "";
    for (;; ++a, ++b) {
        unsigned char ca = static_cast<unsigned char>(ascii_tolower(*a));
        unsigned char cb = static_cast<unsigned char>(ascii_tolower(*b));
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == '\0')
            return 0;
    }
}

int Sign(int64_t value)
{
    return (value > 0) - (value < 0);
}

}  // namespace

// --- Construction and destruction -------------------------------------------

Event::Event(EventOwner* owner)
{
    InitBlank(owner);

    // Tomorrow: local midnight at the start of the next day.
    struct tm cal;
    Safe_localtime(CurrentTime(), &cal);
    cal.tm_sec = 0;
    cal.tm_min = 0;
    cal.tm_hour = 0;
    cal.tm_mday += 1;
    int32_t tomorrow = MakeLocalTime(cal);

    Name = GetCopyString("Untitled");
    IconNumber = 0;
    NextEventTime = tomorrow;
    ActualEventTime = tomorrow;
    EventTime = tomorrow;
    MultiStartTime = tomorrow;
    Active = true;
    Status = WaitingForEvent;
    PeriodType = Once;
    Multiple = 2;
    fTimingType = ByDate;
    SavedTimingType = ByDate;
    DayOfMonth = static_cast<int8_t>(cal.tm_mday);
    DayOfWeek = static_cast<int8_t>(cal.tm_wday);
    Month = static_cast<int8_t>(cal.tm_mon);
    WeekOfMonth = DetermineWeekOfMonth(DayOfMonth, DayOfWeek);
    ApplyTime = false;
    TimeToApply = 0;
    SubIntType = Hours;
    ApplyStop = false;
    StopTime = 79200;
    Deletable = true;
    ApplyPrewarn = false;
    PrewarnTime = 1;
    PrewarnType = Days;
    ApplyPrewarnRepeat = false;
    PrewarnRepeatTime = 6;
    PrewarnRepeatType = Hours;
    ApplyNag = false;
    NagRepeatTime = 2;
    NagRepeatType = Days;
    DeliverIfMissed = true;
    DeleteOnceDelivered = false;
    {
        Autolock hold(CalvorinSettings::Protect);
        WindowFrame = CalvorinSettings::EventWindowPosition.GetNextUntitledWindow();
    }
    ShouldWindowOpen = true;
    TabShown = 0;
    SkipNag = false;
    SkipPrewarn = false;

    AllocateSlots();
    SelectedHandler = -1;
    RefreshColumns();
    SetSelectedHandler(kMessageHandler);
}

void Event::InitBlank(EventOwner* owner)
{
    for (std::string& column : fColumns)
        column.clear();
    Owner = owner;
    Window = nullptr;
    Name = nullptr;
    PrewarnMessage = nullptr;
    NagMessage = nullptr;
    Comment = nullptr;
    LargeIcon = nullptr;
    MiniIcon = nullptr;
    AddOnData = nullptr;
    fSlotCount = 0;
    WindowFrame = Rect{0.0f, 0.0f, -1.0f, -1.0f};
}

void Event::AllocateSlots()
{
    if (AddOnData != nullptr)
        return;
    fSlotCount = NumberOfEventHandlers > 0 ? NumberOfEventHandlers : 0;
    AddOnData = new EventAddOnData*[size_t(fSlotCount)]();
}

Event::~Event()
{
    assert(Window == nullptr && "The Event window should have been destroyed already");

    if (Owner != nullptr)
        Owner->RemoveEvent(this);

    delete[] Name;
    delete[] PrewarnMessage;
    delete[] NagMessage;
    delete[] Comment;
    // The custom icons come as a pair: the mini icon goes with the large one.
    if (LargeIcon != nullptr) {
        delete LargeIcon;
        if (MiniIcon != LargeIcon)
            delete MiniIcon;
    }
    if (AddOnData != nullptr) {
        for (int32_t i = 0; i < fSlotCount; ++i)
            delete AddOnData[i];
        delete[] AddOnData;
    }
}

// --- Row --------------------------------------------------------------------

const char* Event::GetColumnText(int column) const
{
    if (column < 0 || column >= kNumberOfColumns)
        return "";
    return fColumns[column].c_str();
}

void Event::RefreshColumns()
{
    fColumns[kIconColumn] = std::to_string(IconNumber);
    fColumns[kNameColumn] = Name != nullptr ? Name : "";
    RefreshTimeColumns();
    fColumns[kHandlerColumn] = HandlerName(SelectedHandler);
    fColumns[kStatusColumn] =
        Active && Status >= 0 && Status <= DoneWithEvent ? StatusMessages[Status] : InactiveStatusText;
}

void Event::RefreshTimeColumns()
{
    char buffer[kDateTimeStringSize];
    GetDateTimeString(ActualEventTime, ApplyTime, buffer);
    fColumns[kEventTimeColumn] = buffer;
    // The same time (no prewarning pending) gives the same text.
    if (NextEventTime != ActualEventTime)
        GetDateTimeString(NextEventTime, ApplyTime, buffer);
    fColumns[kNextMessageTimeColumn] = buffer;
}

void Event::Notify()
{
    if (Owner != nullptr)
        Owner->EventModified(this);
}

void Event::SetModified()
{
    if (Owner != nullptr)
        Owner->SetModified();
}

// --- Access -----------------------------------------------------------------

EventAddOnData* Event::GetAddOnData() const
{
    if (SelectedHandler < 0)
        return nullptr;
    return GetAddOnData(static_cast<unsigned long>(SelectedHandler));
}

EventAddOnData* Event::GetAddOnData(unsigned long index) const
{
    if (AddOnData == nullptr || index >= static_cast<unsigned long>(fSlotCount))
        return nullptr;
    return AddOnData[index];
}

int32_t Event::GetIcon(const IconBitmap** large, const IconBitmap** mini) const
{
    const IconBitmap* l = nullptr;
    const IconBitmap* m = nullptr;
    if (IconNumber == -2) {
        l = LargeIcon;
        m = MiniIcon;
    } else if (IconNumber >= 0 && IconNumber < kNumberOfStandardIcons) {
        l = GetStandardIcon(IconNumber, true);
        m = GetStandardIcon(IconNumber, false);
    }
    if (large != nullptr)
        *large = l;
    if (mini != nullptr)
        *mini = m;
    return IconNumber;
}

Locker* Event::GetProtectionSemaphore() const
{
    return Owner;
}

// --- Setters ----------------------------------------------------------------

void Event::SetName(const char* name)
{
    SetNewString(name, &Name);
    fColumns[kNameColumn] = Name != nullptr ? Name : "";
    Notify();
}

void Event::SetActive(bool active)
{
    Active = active;
    fColumns[kStatusColumn] =
        Active && Status >= 0 && Status <= DoneWithEvent ? StatusMessages[Status] : InactiveStatusText;
    if (Window != nullptr)
        Window->StatusChanged();
    Notify();
}

void Event::SetPeriodType(PeriodicityType type)
{
    PeriodType = type;
    if (!IsAllowed(type, fTimingType)) {
        if (IsAllowed(type, SavedTimingType)) {
            fTimingType = SavedTimingType;
        } else {
            // Remember the timing type in force, then take the allowed ones in
            // turn: the highest-numbered allowed timing type is the one kept.
            SavedTimingType = fTimingType;
            for (int timing = 0; timing < kNumberOfTimingTypes; ++timing) {
                if (IsAllowed(type, TimingType(timing)))
                    fTimingType = TimingType(timing);
            }
        }
    }
    if (type == SubDaily)
        ApplyTime = true;
    UpdateEventTime();
}

void Event::SetMultiple(unsigned long multiple)
{
    Multiple = static_cast<uint32_t>(multiple);
    UpdateEventTime();
}

void Event::SetTimingType(TimingType type)
{
    fTimingType = type;
    UpdateEventTime();
}

void Event::SetEventTime(int32_t time, bool hasTimeOfDay)
{
    if (hasTimeOfDay) {
        EventTime = time;
        TimeToApply = GetSecondsIntoDay(time);
        ApplyTime = true;
    } else {
        EventTime = GetLast12AM(time);
        if (ApplyTime)
            EventTime += TimeToApply;
    }
    UpdateEventTime();
}

void Event::SetDayOfMonth(signed char day)
{
    DayOfMonth = day;
    UpdateEventTime();
}

void Event::SetWeekOfMonth(signed char week)
{
    WeekOfMonth = week;
    UpdateEventTime();
}

void Event::SetDayOfWeek(signed char day)
{
    DayOfWeek = day;
    UpdateEventTime();
}

void Event::SetMonth(signed char month)
{
    Month = month;
    UpdateEventTime();
}

void Event::SetMultiStartTime(int32_t time)
{
    MultiStartTime = time;
    UpdateEventTime();
}

void Event::SetApplyTime(bool apply)
{
    ApplyTime = apply;
    EventTime = GetLast12AM(EventTime);
    if (apply)
        EventTime += TimeToApply;
    UpdateEventTime();
}

void Event::SetTimeToApply(int32_t secondsIntoDay)
{
    TimeToApply = WrapIntoDay(secondsIntoDay);
    if (ApplyTime)
        EventTime = GetLast12AM(EventTime) + TimeToApply;
    UpdateEventTime();
}

void Event::SetSubIntType(TimeIntervalType type)
{
    SubIntType = type;
    UpdateEventTime();
}

void Event::SetApplyStop(bool apply)
{
    ApplyStop = apply;
    UpdateEventTime();
}

void Event::SetStopTime(int32_t secondsIntoDay)
{
    StopTime = WrapIntoDay(secondsIntoDay);
    UpdateEventTime();
}

void Event::SetApplyPrewarn(bool apply)
{
    ApplyPrewarn = apply;
    UpdateEventTime();
}

void Event::SetPrewarnTime(unsigned long time)
{
    PrewarnTime = static_cast<uint32_t>(time);
    UpdateEventTime();
}

void Event::SetPrewarnType(TimeIntervalType type)
{
    PrewarnType = type;
    UpdateEventTime();
}

void Event::SetApplyPrewarnRepeat(bool apply)
{
    ApplyPrewarnRepeat = apply;
    UpdateEventTime();
}

void Event::SetPrewarnRepeatTime(unsigned long time)
{
    PrewarnRepeatTime = static_cast<uint32_t>(time);
    UpdateEventTime();
}

void Event::SetPrewarnRepeatType(TimeIntervalType type)
{
    PrewarnRepeatType = type;
    UpdateEventTime();
}

void Event::SetPrewarnMessage(const char* message)
{
    SetNewString(message, &PrewarnMessage);
    SetModified();
}

void Event::SetApplyNag(bool apply)
{
    ApplyNag = apply;
    // Switching nagging off ends a nag phase in progress.
    if (Status == WaitingToNag && !apply)
        UpdateEventTime();
    SetModified();
}

void Event::SetNagRepeatTime(unsigned long time)
{
    NagRepeatTime = static_cast<uint32_t>(time);
    SetModified();
}

void Event::SetNagRepeatType(TimeIntervalType type)
{
    NagRepeatType = type;
    SetModified();
}

void Event::SetNagMessage(const char* message)
{
    SetNewString(message, &NagMessage);
    SetModified();
}

void Event::SetDeliverIfMissed(bool deliver)
{
    DeliverIfMissed = deliver;
    SetModified();
}

void Event::SetDeleteOnceDelivered(bool del)
{
    DeleteOnceDelivered = del;
    SetModified();
}

void Event::SetComment(const char* comment)
{
    SetNewString(comment, &Comment);
    SetModified();
}

void Event::SetSelectedHandler(long index)
{
    if (index == SelectedHandler)
        return;
    int32_t previous = SelectedHandler;
    SelectedHandler = static_cast<int32_t>(index);

    if (AddOnData != nullptr && index >= 0 && index < fSlotCount && index < NumberOfEventHandlers &&
        AddOnData[index] == nullptr && Function_NewAddOnData != nullptr &&
        Function_NewAddOnData[index] != nullptr) {
        bool ok = true;
        AddOnData[index] = Function_NewAddOnData[index](this, nullptr, &ok);
    }

    if (Window != nullptr) {
        if (previous >= 0) {
            EventAddOnData* old = GetAddOnData(static_cast<unsigned long>(previous));
            if (old != nullptr)
                old->DestroyEditView();
        }
        EventAddOnData* data = GetAddOnData();
        if (data != nullptr) {
            QWidget* view = data->CreateEditView(Window->GetEditFrame());
            data->RecordEditView(view);
            if (view != nullptr)
                Window->AttachEditView(view);
        }
    }

    fColumns[kHandlerColumn] = HandlerName(SelectedHandler);
    Notify();
}

void Event::SetIcon(long number, IconBitmap* large, IconBitmap* mini)
{
    IconNumber = static_cast<int32_t>(number);
    // Free the custom bitmaps held, except one handed back in again.
    IconBitmap* kept[2] = {number == -2 ? large : nullptr, number == -2 ? mini : nullptr};
    IconBitmap* held[2] = {LargeIcon, MiniIcon == LargeIcon ? nullptr : MiniIcon};
    for (IconBitmap* icon : held) {
        if (icon != nullptr && icon != kept[0] && icon != kept[1])
            delete icon;
    }
    LargeIcon = kept[0];
    MiniIcon = kept[1];
    fColumns[kIconColumn] = std::to_string(IconNumber);
    if (Window != nullptr)
        Window->PostCommand(kEventIconChanged);
    Notify();
}

// --- Window -----------------------------------------------------------------

void Event::OpenWindow()
{
    if (Window != nullptr) {
        Window->Activate();
        return;
    }
    EventWindowFactory factory = GetEventWindowFactory();
    if (factory != nullptr)
        Window = factory(this);
}

void Event::UpdateViews()
{
    if (Window != nullptr)
        Window->InvalidateEventView();
    Notify();
}

// --- Ordering ---------------------------------------------------------------

int Event::Compare(const Event* a, const Event* b, long column)
{
    switch (column) {
        case kNameColumn:
            return CompareFolded(a->Name, b->Name);
        case kHandlerColumn:
            return CompareFolded(HandlerName(a->SelectedHandler), HandlerName(b->SelectedHandler));
        case kEventTimeColumn:
            return Sign(int64_t(a->ActualEventTime) - int64_t(b->ActualEventTime));
        case kNextMessageTimeColumn:
            return Sign(int64_t(a->NextEventTime) - int64_t(b->NextEventTime));
        case kStatusColumn: {
            int32_t keyA = a->Active ? int32_t(a->Status) : kInactiveSortKey;
            int32_t keyB = b->Active ? int32_t(b->Status) : kInactiveSortKey;
            return Sign(int64_t(keyA) - int64_t(keyB));
        }
        default:
            return 0;
    }
}

// --- Reserved ---------------------------------------------------------------

void Event::Reserved1() {}
void Event::Reserved2() {}
void Event::Reserved3() {}
void Event::Reserved4() {}
void Event::Reserved5() {}
void Event::Reserved6() {}
