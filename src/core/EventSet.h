// The event set document: one event set file in memory with its events, the
// layout of the window that shows it and a modified flag; it knows which of
// its events needs attention next. The set is itself the lock of all its
// events; every operation but construction, WindowClosed and EndDelivery
// expects the caller to hold it.
#pragma once

#include <cstdint>
#include <vector>

#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "calvorin/SupportDefs.h"

class EventSetWindowPort;

// Sort modes of the event list.
enum CLVSortMode : int32_t { Ascending = 0, Descending = 1, NoSort = 2 };
// How the set window shows its events.
enum ViewModes : int32_t { ListViewMode = 0, CalendarViewMode = 1, WeekViewMode = 2 };
using ColumnOrderArray = int32_t[6];

constexpr const char* kEventSetMimeType = "application/x-vnd.QZ-CalvorinEventSet";
constexpr const char* kEventSetVersion = "1.2";
extern const char* const VersionHistory[];  // "1.0", "1.1", "1.2", null

class EventSet final : public EventOwner {
public:
    // fileName null: a new, empty, untitled set. Otherwise reads the file;
    // *result and *ok tell how that went (see ConstructorResult).
    EventSet(const char* fileName, bool openWindow, ConstructorResult* result, bool* ok);
    // Destroy with the set locked and OpenSets::Protect held; the window
    // must already be gone.
    ~EventSet() override;

    bool SaveData();

    void AddEvent(Event* event);  // null: a new default event
    void RemoveEvent(Event* event) override;
    int32_t CountEvents() const { return int32_t(fEvents.size()); }
    Event* EventAt(int32_t index) const;
    int32_t IndexOf(const Event* event) const;
    void EventModified(Event* event) override;

    void EvalNextEvent();
    Event* GetNextEvent();
    int32_t GetNextEventTime(Event** event);

    void OpenWindow();
    void WindowClosed();

    // Delivery in progress. The delivering code marks the set and the event
    // it delivers for one delivery step: BeginDelivery with the set's lock
    // held, EndDelivery once the step is over. The step lets go of the lock
    // while an alert waits or a handler runs; meanwhile the event must not
    // be deleted (the set window refuses to), and a set that is let go
    // (Discard) stays in memory until the step ends.
    void BeginDelivery(Event* event);
    // Ends the step begun last; called without the set's lock (takes
    // OpenSets::Protect, then the set's). A set discarded during the step
    // is destroyed here: true then, and the set is gone.
    bool EndDelivery();
    bool IsBeingDelivered(const Event* event) const;
    // Destroys the set as delete does: the caller holds OpenSets::Protect
    // and the set's lock, the set leaves OpenSets::Sets and lets go of its
    // lock. During a delivery step it only leaves the list and lets go of
    // its lock, and the end of the step destroys it.
    void Discard();
    EventSetWindowPort* GetWindow() const { return fWindow; }

    bool HasBeenModified() const { return fModified; }
    void SetModified() override { fModified = true; }
    void ClearModified() { fModified = false; }

    void SetFileName(const char* fileName);
    const char* GetFileName() const override { return fFileName; }
    const char* GetLeafPtr() const;

    void SetViewMode(ViewModes mode) { fViewMode = mode; }
    ViewModes GetViewMode() const { return fViewMode; }
    void SetSorting(int32_t count, const int32_t* keys, const CLVSortMode* modes);
    int32_t Sorting(int32_t* keys, CLVSortMode* modes) const;
    void SetColumnWidth(int32_t column, float width) { fColumnWidth[column] = width; }
    float GetColumnWidth(int32_t column) const { return fColumnWidth[column]; }
    const float* GetColumnWidth() const { return fColumnWidth; }
    void SetColumnShown(int32_t column, bool shown) { fColumnShown[column] = shown; }
    bool GetColumnShown(int32_t column) const { return fColumnShown[column]; }
    const bool* GetColumnShown() const { return fColumnShown; }
    void SetColumnOrder(const ColumnOrderArray order);
    const int32_t* GetColumnOrder() const { return fColumnOrder; }
    void SetWindowFrame(Rect frame) { fWindowFrame = frame; }
    Rect GetWindowFrame() const { return fWindowFrame; }

    // Byte order of the file the set was read from (true: big-endian).
    bool WasReadBigEndian() const { return fReadBigEndian; }
    // Version string of the file the set was read from ("1.2" for new sets).
    const char* GetReadVersion() const { return fReadVersion; }

private:
    void InitNew();
    void ReadFile(const char* fileName, ConstructorResult* result, bool* ok);
    void DeleteAllEvents();
    void NoteDeliveryChange(const Event* event);

    std::vector<Event*> fEvents;
    int32_t fNextEventTime = 0;
    int32_t fNextEventIndex = -1;
    char* fFileName = nullptr;
    EventSetWindowPort* fWindow = nullptr;
    Rect fWindowFrame;
    int32_t fColumnOrder[6] = {0, 1, 2, 3, 4, 5};
    bool fColumnShown[6] = {true, true, true, false, true, true};
    float fColumnWidth[6] = {35, 190, 150, 150, 60, 115};
    int32_t fNumberOfKeys = 0;
    int32_t fSortKeys[5] = {};
    CLVSortMode fSortModes[5] = {};
    ViewModes fViewMode = ListViewMode;
    bool fModified = false;
    bool fDestroying = false;  // the destructor is deleting the events
    std::vector<const Event*> fDelivering;  // per step under way (null: deleted)
    bool fDiscarded = false;                // let go during a delivery step
    bool fReadBigEndian = false;
    char fReadVersion[30] = "1.2";
};

// The untitled name of the next new set: "Untitled event set %d", numbered
// from 1 across the run. The caller frees the result with delete[].
char* GetNextUntitledWindowName();

// The two reader messages.
void ReportSetVersionError(const char* fileName, const char* version);
char* GetAddOnVersionErrorReportString(const char* fileName, Event* event);
