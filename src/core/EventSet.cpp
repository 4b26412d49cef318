#include "core/EventSet.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "core/CalvorinSettings.h"
#include "core/EventSetWindowPort.h"
#include "core/EventWindowPort.h"
#include "core/MessageTarget.h"
#include "core/OpenSets.h"

const char* const VersionHistory[] = {"1.0", "1.1", "1.2", nullptr};

namespace {

std::atomic<int32_t> sUntitledCounter{0};

}  // namespace

char* GetNextUntitledWindowName()
{
    int32_t number = sUntitledCounter.fetch_add(1) + 1;
    char* name = new char[32];
    std::snprintf(name, 32, "Untitled event set %d", int(number));
    return name;
}

EventSet::EventSet(const char* fileName, bool openWindow, ConstructorResult* result, bool* ok)
    : EventOwner("EventSet")
{
    fEvents.reserve(20);
    if (result != nullptr)
        *result = kReadComplete;
    if (ok != nullptr)
        *ok = true;

    if (fileName == nullptr) {
        InitNew();
    } else {
        // A file is read only when the caller can be told how it went.
        if (result == nullptr || ok == nullptr) {
            SetFileName(fileName);
            return;
        }
        ReadFile(fileName, result, ok);
        if (*result != kReadComplete || !*ok)
            return;
    }
    if (openWindow) {
        Autolock lock(this);
        OpenWindow();
    }
}

void EventSet::InitNew()
{
    char* name = GetNextUntitledWindowName();
    SetFileName(name);
    delete[] name;

    Autolock settingsLock(CalvorinSettings::Protect);
    fWindowFrame = CalvorinSettings::SetWindowPosition.GetNextUntitledWindow();
    std::copy(CalvorinSettings::ColumnOrder, CalvorinSettings::ColumnOrder + 6, fColumnOrder);
    std::copy(CalvorinSettings::ColumnShown, CalvorinSettings::ColumnShown + 6, fColumnShown);
    std::copy(CalvorinSettings::ColumnWidth, CalvorinSettings::ColumnWidth + 6, fColumnWidth);
    fViewMode = ViewModes(CalvorinSettings::ViewMode);
    fNumberOfKeys = CalvorinSettings::NumberOfKeys;
    // Only the keys in use are taken over; the rest stay zero.
    int32_t used = std::clamp(fNumberOfKeys, int32_t(0), int32_t(5));
    for (int32_t i = 0; i < 5; ++i) {
        fSortKeys[i] = i < used ? CalvorinSettings::SortKeys[i] : 0;
        fSortModes[i] = i < used ? CLVSortMode(CalvorinSettings::SortModes[i]) : Ascending;
    }
    fNextEventTime = 0;
    fNextEventIndex = -1;
    fModified = false;
}

EventSet::~EventSet()
{
    assert(fWindow == nullptr && "The EventSet window should have been destroyed already");
    assert(fDelivering.empty() && "An EventSet must outlive the delivery of its events");

    auto& sets = OpenSets::Sets;
    sets.erase(std::remove(sets.begin(), sets.end(), this), sets.end());

    DeleteAllEvents();

    delete[] fFileName;
    fFileName = nullptr;
    // The caller destroys the set with its lock held; let go of it before
    // the lock itself goes away.
    while (IsLocked())
        Unlock();
}

void EventSet::DeleteAllEvents()
{
    // Events are deleted first item first; each one takes itself out of the
    // list through RemoveEvent. The list is turned round so that the first
    // item sits at the back, where taking it out costs nothing. Nobody is
    // told about each event: the set as a whole is going.
    bool destroying = fDestroying;
    fDestroying = true;
    std::reverse(fEvents.begin(), fEvents.end());
    while (!fEvents.empty()) {
        Event* first = fEvents.back();
        delete first;
        // An event that did not take itself out is taken out here.
        if (!fEvents.empty() && fEvents.back() == first)
            fEvents.pop_back();
    }
    fDestroying = destroying;
}

Event* EventSet::EventAt(int32_t index) const
{
    if (index < 0 || index >= CountEvents())
        return nullptr;
    return fEvents[size_t(index)];
}

int32_t EventSet::IndexOf(const Event* event) const
{
    auto it = std::find(fEvents.begin(), fEvents.end(), event);
    return it == fEvents.end() ? -1 : int32_t(it - fEvents.begin());
}

void EventSet::AddEvent(Event* event)
{
    if (event == nullptr)
        event = new Event(this);
    fEvents.push_back(event);
    if (fWindow != nullptr) {
        fWindow->AddEventToView(event);
        fWindow->SortEvents();
        if (event->GetShouldWindowOpen())
            event->OpenWindow();
    }
    fModified = true;
    PostToApplication(kSetsChanged);
}

void EventSet::RemoveEvent(Event* event)
{
    // An event that goes while it is being delivered (it was to be deleted
    // once delivered) leaves no mark that a new event could be taken for.
    std::replace(fDelivering.begin(), fDelivering.end(), static_cast<const Event*>(event),
                 static_cast<const Event*>(nullptr));
    // Events are most often taken out from the end (destruction, undo of an
    // add), so the search starts there.
    auto it = std::find(fEvents.rbegin(), fEvents.rend(), event);
    if (it != fEvents.rend())
        fEvents.erase(std::next(it).base());
    if (fDestroying)
        return;

    if (fWindow != nullptr) {
        // The view belongs to the window's thread: never call into it with
        // the set's lock held.
        if (IsLocked()) {
            Unlock();
            fWindow->RemoveEventFromView(event);
            Lock();
        } else {
            fWindow->RemoveEventFromView(event);
        }
    }
    fModified = true;
    PostToApplication(kSetsChanged);
}

void EventSet::EventModified(Event* event)
{
    EvalNextEvent();
    if (fWindow != nullptr) {
        Message message(kEventChangedInSet);
        message.AddPointer("Event", event);
        fWindow->PostMessage(message);
    }
    fModified = true;
    PostToApplication(kSetsChanged);
}

void EventSet::EvalNextEvent()
{
    // The smallest non-zero next time, ties to the earliest in the list. An
    // inactive event keeps its times but is never delivered, so it does not
    // count here either.
    int32_t time = 0;
    int32_t index = -1;
    for (size_t i = 0; i < fEvents.size(); ++i) {
        const Event* event = fEvents[i];
        int32_t candidate = event->GetActive() ? event->GetNextEventTime() : 0;
        if (candidate != 0 && (candidate < time || time == 0)) {
            time = candidate;
            index = int32_t(i);
        }
    }
    fNextEventTime = time;
    fNextEventIndex = index;
}

Event* EventSet::GetNextEvent()
{
    EvalNextEvent();
    return fNextEventIndex < 0 ? nullptr : fEvents[size_t(fNextEventIndex)];
}

int32_t EventSet::GetNextEventTime(Event** event)
{
    Event* next = GetNextEvent();
    if (event != nullptr)
        *event = next;
    return fNextEventTime;
}

void EventSet::OpenWindow()
{
    if (fWindow != nullptr) {
        fWindow->Activate();
        return;
    }
    if (EventSetWindowFactory factory = GetEventSetWindowFactory())
        fWindow = factory(this);
}

void EventSet::WindowClosed()
{
    Lock();
    fWindow = nullptr;

    // Close every editor window of the set. A window's lock is never taken
    // with the set's lock held, so the set is let go around each close.
    EventWindowPort* previous = nullptr;
    for (;;) {
        EventWindowPort* editor = nullptr;
        for (Event* event : fEvents) {
            if (event->GetWindow() != nullptr) {
                editor = event->GetWindow();
                break;
            }
        }
        if (editor == nullptr)
            break;
        Unlock();
        if (editor == previous)
            std::this_thread::yield();  // still closing
        else
            editor->Quit();
        previous = editor;
        Lock();
    }
    std::string fileName = fFileName != nullptr ? fFileName : "";
    Unlock();

    int32_t mode;
    bool kept = false;
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        mode = CalvorinSettings::WhichEventsToDeliver;
        if (mode >= kOpenAndRememberedSets && mode <= kRememberedUnlessOpen) {
            for (const std::string& remembered : CalvorinSettings::SetFileNames) {
                if (remembered == fileName) {
                    kept = true;
                    break;
                }
            }
        }
    }

    if (!kept) {
        Autolock setsLock(OpenSets::Protect);
        Lock();
        Discard();
    }

    // Open-sets-only delivery always changes; remembered sets with open
    // ones only when a set goes; remembered-unless-open only when a
    // remembered set stays loaded without its window.
    bool post = false;
    switch (mode) {
        case kOpenSetsOnly: post = true; break;
        case kOpenAndRememberedSets: post = !kept; break;
        case kRememberedUnlessOpen: post = kept; break;
        default: post = false; break;
    }
    if (post)
        PostToApplication(kSetsChanged);
}

void EventSet::BeginDelivery(Event* event)
{
    fDelivering.push_back(event);
    NoteDeliveryChange(event);
}

bool EventSet::EndDelivery()
{
    Autolock setsLock(OpenSets::Protect);
    Lock();
    const Event* event = nullptr;
    if (!fDelivering.empty()) {
        event = fDelivering.back();
        fDelivering.pop_back();
    }
    if (fDelivering.empty() && fDiscarded) {
        delete this;  // lets go of the lock
        return true;
    }
    NoteDeliveryChange(event);
    Unlock();
    return false;
}

bool EventSet::IsBeingDelivered(const Event* event) const
{
    return event != nullptr &&
           std::find(fDelivering.begin(), fDelivering.end(), event) != fDelivering.end();
}

void EventSet::NoteDeliveryChange(const Event* event)
{
    // The window enables or refuses the event's deletion afresh.
    if (fWindow == nullptr)
        return;
    Message message(kEventChangedInSet);
    if (event != nullptr && IndexOf(event) >= 0)
        message.AddPointer("Event", event);
    fWindow->PostMessage(message);
}

void EventSet::Discard()
{
    if (fDelivering.empty()) {
        delete this;
        return;
    }
    // The delivering code comes back to this set after its alert: it stays
    // until then, out of the list, so that nothing else finds it.
    auto& sets = OpenSets::Sets;
    sets.erase(std::remove(sets.begin(), sets.end(), this), sets.end());
    fDiscarded = true;
    while (IsLocked())
        Unlock();
}

void EventSet::SetFileName(const char* fileName)
{
    char* copy = nullptr;
    if (fileName != nullptr) {
        size_t length = std::strlen(fileName);
        copy = new char[length + 1];
        std::memcpy(copy, fileName, length + 1);
    }
    delete[] fFileName;
    fFileName = copy;
}

const char* EventSet::GetLeafPtr() const
{
    if (fFileName == nullptr)
        return nullptr;
    const char* leaf = fFileName;
    for (const char* p = fFileName; *p != '\0'; ++p) {
        if (*p == '/' && p[1] != '\0')
            leaf = p + 1;
    }
    return leaf;
}

void EventSet::SetSorting(int32_t count, const int32_t* keys, const CLVSortMode* modes)
{
    fNumberOfKeys = count;
    for (int i = 0; i < 5; ++i) {
        fSortKeys[i] = keys[i];
        fSortModes[i] = modes[i];
    }
}

int32_t EventSet::Sorting(int32_t* keys, CLVSortMode* modes) const
{
    for (int i = 0; i < 5; ++i) {
        keys[i] = fSortKeys[i];
        modes[i] = fSortModes[i];
    }
    return fNumberOfKeys;
}

void EventSet::SetColumnOrder(const ColumnOrderArray order)
{
    std::copy(order, order + 6, fColumnOrder);
}
