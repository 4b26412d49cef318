// One scheduled reminder: its name, when and how often it happens, its
// prewarnings and nagging, its icon and the handler that acts when it falls
// due. An event is also a row of its set's event list and keeps the six
// column texts of that row up to date itself.
//
// Every event belongs to one event set, whose lock (GetProtectionSemaphore)
// must be held by anyone who reads or changes the event.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "calvorin/IconBitmap.h"
#include "calvorin/Locker.h"
#include "calvorin/SupportDefs.h"

class EndianIndependentFile;
class EventAddOnData;
class EventOwner;
class EventWindowPort;
class Message;

enum PeriodicityType : int32_t {
    Once = 0,
    Annually = 1,
    Monthly = 2,
    Weekly = 3,
    Daily = 4,
    Weekdays = 5,
    Weekends = 6,
    MultiAnnually = 7,
    MultiMonthly = 8,
    MultiWeekly = 9,
    MultiDaily = 10,
    SubDaily = 11,
};
constexpr int kNumberOfPeriodTypes = 12;
extern const char* const PeriodTypeNames[kNumberOfPeriodTypes];

enum TimingType : int32_t {
    ByDate = 0,
    ByDayOfMonth = 1,
    ByDayOfWeek = 2,
};
constexpr int kNumberOfTimingTypes = 3;

enum TimeIntervalType : int32_t {
    Months = 0,
    Weeks = 1,
    Days = 2,
    Hours = 3,
    Minutes = 4,
};
constexpr int kNumberOfIntervalTypes = 5;
// Seconds per unit; 0 for months, which step the calendar instead.
extern const int32_t IntervalLength[kNumberOfIntervalTypes];

// Which timing types each period type admits, indexed period * 3 + timing.
extern const unsigned char AllowableTypeCombination[kNumberOfPeriodTypes * kNumberOfTimingTypes];

enum EventStatus : int32_t {
    WaitingForPrewarning = 0,
    WaitingForEvent = 1,
    WaitingToNag = 2,
    DoneWithEvent = 3,
};
extern const char* const StatusMessages[4];
extern const char* const InactiveStatusText;  // "Inactive"

// What reading a set or an event produced.
enum ConstructorResult : int32_t {
    kReadComplete = 0,
    kFileNotOpened = 1,
    kReadFailed = 2,
};

// The list columns an event keeps texts for.
enum EventColumn : int32_t {
    kIconColumn = 0,
    kNameColumn = 1,
    kEventTimeColumn = 2,
    kNextMessageTimeColumn = 3,
    kHandlerColumn = 4,
    kStatusColumn = 5,
};
constexpr int kNumberOfColumns = 6;

// Command codes an event sends to its open editor window.
constexpr uint32_t kEventTimesChanged = 45;
constexpr uint32_t kEventIconChanged = 55;
// Command code posted to the application after each delivery step.
constexpr uint32_t kDeliveryStepDone = 6;

class Event {
public:
    // A new event with the defaults of a new event at the current time.
    explicit Event(EventOwner* owner);
    // Reads one event record from a set file (see EventSet).
    Event(EventOwner* owner, EndianIndependentFile* file, unsigned char versionIndex,
          ConstructorResult* result, bool* ok);
    // Builds an event from a transfer message (copy and paste).
    Event(EventOwner* owner, Message* message, bool* ok);
    virtual ~Event();

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    // Writes this event's record; false on the first short write.
    bool SaveData(EndianIndependentFile* file);
    // Fills a transfer message with every setting of the event.
    bool GenerateMessageForEvent(Message* message);

    // --- Getters ---------------------------------------------------------
    const char* GetName() const { return Name; }
    int32_t GetNextEventTime() const { return NextEventTime; }
    int32_t GetActualEventTime() const { return ActualEventTime; }
    bool GetActive() const { return Active; }
    EventStatus GetStatus() const { return Status; }
    PeriodicityType GetPeriodType() const { return PeriodType; }
    uint32_t GetMultiple() const { return Multiple; }
    TimingType GetTimingType() const { return fTimingType; }
    TimingType GetSavedTimingType() const { return SavedTimingType; }
    int32_t GetEventTime() const { return EventTime; }
    int8_t GetDayOfMonth() const { return DayOfMonth; }
    int8_t GetWeekOfMonth() const { return WeekOfMonth; }
    int8_t GetDayOfWeek() const { return DayOfWeek; }
    int8_t GetMonth() const { return Month; }
    int32_t GetMultiStartTime() const { return MultiStartTime; }
    bool GetApplyTime() const { return ApplyTime; }
    int32_t GetTimeToApply() const { return TimeToApply; }
    TimeIntervalType GetSubIntType() const { return SubIntType; }
    bool GetApplyStop() const { return ApplyStop; }
    int32_t GetStopTime() const { return StopTime; }
    bool GetDeletable() const { return Deletable; }
    int32_t GetSelectedHandler() const { return SelectedHandler; }
    bool GetApplyPrewarn() const { return ApplyPrewarn; }
    uint32_t GetPrewarnTime() const { return PrewarnTime; }
    TimeIntervalType GetPrewarnType() const { return PrewarnType; }
    bool GetApplyPrewarnRepeat() const { return ApplyPrewarnRepeat; }
    uint32_t GetPrewarnRepeatTime() const { return PrewarnRepeatTime; }
    TimeIntervalType GetPrewarnRepeatType() const { return PrewarnRepeatType; }
    const char* GetPrewarnMessage() const { return PrewarnMessage; }
    bool GetApplyNag() const { return ApplyNag; }
    uint32_t GetNagRepeatTime() const { return NagRepeatTime; }
    TimeIntervalType GetNagRepeatType() const { return NagRepeatType; }
    const char* GetNagMessage() const { return NagMessage; }
    bool GetDeliverIfMissed() const { return DeliverIfMissed; }
    bool GetDeleteOnceDelivered() const { return DeleteOnceDelivered; }
    const char* GetComment() const { return Comment; }
    EventWindowPort* GetWindow() const { return Window; }
    EventOwner* GetOwner() const { return Owner; }
    Rect GetWindowFrame() const { return WindowFrame; }
    int32_t GetTabShown() const { return TabShown; }
    bool GetShouldWindowOpen() const { return ShouldWindowOpen; }
    bool GetSkipNag() const { return SkipNag; }
    bool GetSkipPrewarn() const { return SkipPrewarn; }
    int32_t GetIconNumber() const { return IconNumber; }

    // The selected handler's data, or the data in one handler's slot (may be null).
    EventAddOnData* GetAddOnData() const;
    EventAddOnData* GetAddOnData(unsigned long index) const;
    // Number of handler slots this event has (the registry size when it was made).
    int32_t CountAddOnDataSlots() const { return fSlotCount; }

    // Returns the icon number and sets the two pointers: the custom pair for
    // -2, the standard icons for 0..10 (null until the UI installs them), null
    // otherwise.
    int32_t GetIcon(const IconBitmap** large, const IconBitmap** mini) const;

    // The lock of the owning set, which protects every event of the set.
    Locker* GetProtectionSemaphore() const;

    // Text of one list column (column 0: the icon number).
    const char* GetColumnText(int column) const;

    // --- Setters (see each for what it does besides storing) -------------
    void SetName(const char* name);
    void SetActive(bool active);
    void SetPeriodType(PeriodicityType type);
    void SetMultiple(unsigned long multiple);
    void SetTimingType(TimingType type);
    void SetEventTime(int32_t time, bool hasTimeOfDay);
    void SetDayOfMonth(signed char day);
    void SetWeekOfMonth(signed char week);
    void SetDayOfWeek(signed char day);
    void SetMonth(signed char month);
    void SetMultiStartTime(int32_t time);
    void SetApplyTime(bool apply);
    void SetTimeToApply(int32_t secondsIntoDay);
    void SetSubIntType(TimeIntervalType type);
    void SetApplyStop(bool apply);
    void SetStopTime(int32_t secondsIntoDay);
    void SetApplyPrewarn(bool apply);
    void SetPrewarnTime(unsigned long time);
    void SetPrewarnType(TimeIntervalType type);
    void SetApplyPrewarnRepeat(bool apply);
    void SetPrewarnRepeatTime(unsigned long time);
    void SetPrewarnRepeatType(TimeIntervalType type);
    void SetPrewarnMessage(const char* message);
    void SetApplyNag(bool apply);
    void SetNagRepeatTime(unsigned long time);
    void SetNagRepeatType(TimeIntervalType type);
    void SetNagMessage(const char* message);
    void SetDeliverIfMissed(bool deliver);
    void SetDeleteOnceDelivered(bool del);
    void SetComment(const char* comment);
    void SetSelectedHandler(long index);
    // Takes ownership of large and mini when number is -2.
    void SetIcon(long number, IconBitmap* large, IconBitmap* mini);
    void SetWindowFrame(Rect frame) { WindowFrame = frame; }
    void SetTabShown(long tab) { TabShown = int32_t(tab); }
    void SetSkipNag() { SkipNag = true; }
    // Forwards to the owning set's modified flag.
    void SetModified();

    // Raw stores used by readers and tools that set fields as given, without
    // the setters' side effects (no re-evaluation, no forcing).
    struct Raw;
    Raw RawFields();

    // --- Window ---------------------------------------------------------
    // Opens the editor window (through the installed window factory) or
    // activates the open one.
    void OpenWindow();
    // Called by the editor window as it goes away.
    void WindowClosed() { Window = nullptr; }
    void UpdateViews();

    // --- Schedule (next occurrence) --------------------------------------
    void UpdateEventTime();
    void UET_EvalDOM(struct tm& cal);
    void UET_EvalDOW_MonthFixed(struct tm& cal);
    void UET_EvalTodayOrTomorrow(long ref);
    void UET_EvalNextSubDaily(long ref);

    // --- Delivery --------------------------------------------------------
    void DealWithEvent(bool checkMissed);
    void EventDelivered();
    void IncrementPrewarn();
    void IncrementNag();
    void DeliverPrewarnMessage();
    void DeliverNagMessage();

    // List ordering by column; negative puts a before b.
    static int Compare(const Event* a, const Event* b, long column);

    virtual void Reserved1();
    virtual void Reserved2();
    virtual void Reserved3();
    virtual void Reserved4();
    virtual void Reserved5();
    virtual void Reserved6();

private:
    friend struct EventAccess;
    void InitBlank(EventOwner* owner);
    void AllocateSlots();
    void RefreshColumns();
    void RefreshTimeColumns();
    void Notify();
    void StepMonths(int32_t& time, long months);

    char* Name = nullptr;
    int32_t IconNumber = 0;
    IconBitmap* LargeIcon = nullptr;
    IconBitmap* MiniIcon = nullptr;
    int32_t NextEventTime = 0;
    int32_t ActualEventTime = 0;
    bool Active = true;
    EventStatus Status = WaitingForEvent;
    PeriodicityType PeriodType = Once;
    uint32_t Multiple = 2;
    TimingType fTimingType = ByDate;
    TimingType SavedTimingType = ByDate;
    int32_t EventTime = 0;
    int8_t DayOfMonth = 1;
    int8_t WeekOfMonth = 0;
    int8_t DayOfWeek = 0;
    int8_t Month = 0;
    int32_t MultiStartTime = 0;
    bool ApplyTime = false;
    int32_t TimeToApply = 0;
    TimeIntervalType SubIntType = Hours;
    bool ApplyStop = false;
    int32_t StopTime = 79200;
    bool Deletable = true;
    EventAddOnData** AddOnData = nullptr;
    int32_t fSlotCount = 0;
    int32_t SelectedHandler = -1;
    bool ApplyPrewarn = false;
    uint32_t PrewarnTime = 1;
    TimeIntervalType PrewarnType = Days;
    bool ApplyPrewarnRepeat = false;
    uint32_t PrewarnRepeatTime = 6;
    TimeIntervalType PrewarnRepeatType = Hours;
    char* PrewarnMessage = nullptr;
    bool ApplyNag = false;
    uint32_t NagRepeatTime = 2;
    TimeIntervalType NagRepeatType = Days;
    char* NagMessage = nullptr;
    bool DeliverIfMissed = true;
    bool DeleteOnceDelivered = false;
    char* Comment = nullptr;
    Rect WindowFrame;
    bool ShouldWindowOpen = true;
    int32_t TabShown = 0;
    EventWindowPort* Window = nullptr;
    EventOwner* Owner = nullptr;
    bool SkipNag = false;
    bool SkipPrewarn = false;

    std::string fColumns[kNumberOfColumns];
};

// Direct access to every stored field, without side effects. Used by the set
// reader, the transfer message and calvorinctl, which set fields as given.
struct Event::Raw {
    Event& e;
    char*& Name() { return e.Name; }
    int32_t& IconNumber() { return e.IconNumber; }
    IconBitmap*& LargeIcon() { return e.LargeIcon; }
    IconBitmap*& MiniIcon() { return e.MiniIcon; }
    int32_t& NextEventTime() { return e.NextEventTime; }
    int32_t& ActualEventTime() { return e.ActualEventTime; }
    bool& Active() { return e.Active; }
    EventStatus& Status() { return e.Status; }
    PeriodicityType& PeriodType() { return e.PeriodType; }
    uint32_t& Multiple() { return e.Multiple; }
    ::TimingType& Timing() { return e.fTimingType; }
    ::TimingType& SavedTimingType() { return e.SavedTimingType; }
    int32_t& EventTime() { return e.EventTime; }
    int8_t& DayOfMonth() { return e.DayOfMonth; }
    int8_t& WeekOfMonth() { return e.WeekOfMonth; }
    int8_t& DayOfWeek() { return e.DayOfWeek; }
    int8_t& Month() { return e.Month; }
    int32_t& MultiStartTime() { return e.MultiStartTime; }
    bool& ApplyTime() { return e.ApplyTime; }
    int32_t& TimeToApply() { return e.TimeToApply; }
    TimeIntervalType& SubIntType() { return e.SubIntType; }
    bool& ApplyStop() { return e.ApplyStop; }
    int32_t& StopTime() { return e.StopTime; }
    bool& Deletable() { return e.Deletable; }
    int32_t& SelectedHandler() { return e.SelectedHandler; }
    EventAddOnData**& AddOnData() { return e.AddOnData; }
    bool& ApplyPrewarn() { return e.ApplyPrewarn; }
    uint32_t& PrewarnTime() { return e.PrewarnTime; }
    TimeIntervalType& PrewarnType() { return e.PrewarnType; }
    bool& ApplyPrewarnRepeat() { return e.ApplyPrewarnRepeat; }
    uint32_t& PrewarnRepeatTime() { return e.PrewarnRepeatTime; }
    TimeIntervalType& PrewarnRepeatType() { return e.PrewarnRepeatType; }
    char*& PrewarnMessage() { return e.PrewarnMessage; }
    bool& ApplyNag() { return e.ApplyNag; }
    uint32_t& NagRepeatTime() { return e.NagRepeatTime; }
    TimeIntervalType& NagRepeatType() { return e.NagRepeatType; }
    char*& NagMessage() { return e.NagMessage; }
    bool& DeliverIfMissed() { return e.DeliverIfMissed; }
    bool& DeleteOnceDelivered() { return e.DeleteOnceDelivered; }
    char*& Comment() { return e.Comment; }
    Rect& WindowFrame() { return e.WindowFrame; }
    bool& ShouldWindowOpen() { return e.ShouldWindowOpen; }
    int32_t& TabShown() { return e.TabShown; }
    bool& SkipNag() { return e.SkipNag; }
    bool& SkipPrewarn() { return e.SkipPrewarn; }
    // Recomputes all six column texts from the fields.
    void RefreshColumns() { e.RefreshColumns(); }
};

inline Event::Raw Event::RawFields()
{
    return Raw{*this};
}
