// What the widget tests share: an application target that records what is
// posted to it, a fixed clock and scripted alerts, sets made and destroyed
// the way the application does it, and a few events with telling fields.
#pragma once

#include <QCoreApplication>
#include <QTemporaryDir>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "calvorin/Event.h"
#include "calvorin/Locker.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventSet.h"
#include "core/Message.h"
#include "core/MessageTarget.h"
#include "core/OpenSets.h"
#include "handlers/HandlerRegistry.h"

// Every message posted to it, in order; usable from any thread.
class RecordingTarget : public MessageTarget {
public:
    void PostMessage(const Message& message) override
    {
        std::lock_guard<std::mutex> lock(fLock);
        fMessages.push_back(message);
    }
    using MessageTarget::PostMessage;

    std::vector<Message> Messages() const
    {
        std::lock_guard<std::mutex> lock(fLock);
        return fMessages;
    }
    std::vector<uint32_t> Codes() const
    {
        std::vector<uint32_t> codes;
        for (const Message& message : Messages())
            codes.push_back(message.what);
        return codes;
    }
    int Count(uint32_t what) const
    {
        int count = 0;
        for (const Message& message : Messages())
            count += message.what == what ? 1 : 0;
        return count;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(fLock);
        fMessages.clear();
    }

private:
    mutable std::mutex fLock;
    std::vector<Message> fMessages;
};

// The surroundings of one test: settings at their defaults, the built-in
// handlers, a recording application, scripted alerts, a fixed "now"
// (2023-11-14 22:13:20 UTC) and a private folder.
struct UiTestEnvironment {
    UiTestEnvironment()
    {
        CalvorinSettings::ResetToDefaults();
        if (NumberOfEventHandlers == 0)
            LoadBuiltInHandlers();
        SetApplicationTarget(&application);
        SetAlertPort(&alerts);
    }
    ~UiTestEnvironment()
    {
        SetAlertPort(nullptr);
        SetApplicationTarget(nullptr);
        CalvorinSettings::ResetToDefaults();
    }

    std::string Path(const char* leaf) const { return folder.filePath(QString::fromUtf8(leaf)).toStdString(); }

    ScopedClock clock{1700000000};
    RecordingTarget application;
    ScriptedAlertPort alerts;
    QTemporaryDir folder;
};

// A set loaded as the application loads one: in OpenSets::Sets.
inline EventSet* LoadSet(const char* path, bool openWindow)
{
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock setsLock(OpenSets::Protect);
    ConstructorResult result = kReadComplete;
    bool ok = true;
    auto* set = new EventSet(path, openWindow, &result, &ok);
    if (result != kReadComplete || !ok) {
        set->Lock();
        if (set->GetWindow() == nullptr)
            delete set;
        return nullptr;
    }
    OpenSets::Sets.push_back(set);
    return set;
}

inline EventSet* NewLoadedSet(bool openWindow)
{
    return LoadSet(nullptr, openWindow);
}

// Destroys every loaded set that has no window left.
inline void UnloadSetsWithoutWindows()
{
    Autolock setsLock(OpenSets::Protect);
    const std::vector<EventSet*> sets = OpenSets::Sets;
    for (EventSet* set : sets) {
        set->Lock();
        if (set->GetWindow() == nullptr) {
            delete set;
        } else {
            set->Unlock();
        }
    }
}

// True while the set is still loaded.
inline bool IsLoaded(const EventSet* set)
{
    Autolock setsLock(OpenSets::Protect);
    for (EventSet* loaded : OpenSets::Sets) {
        if (loaded == set)
            return true;
    }
    return false;
}

// The loaded set of that file, or null.
inline EventSet* FindLoaded(const std::string& path)
{
    Autolock setsLock(OpenSets::Protect);
    for (EventSet* set : OpenSets::Sets) {
        Autolock lock(set);
        if (set->GetFileName() != nullptr && path == set->GetFileName())
            return set;
    }
    return nullptr;
}

// An event added to the set with a name, an event time and a handler.
inline Event* AddNamedEvent(EventSet* set, const char* name, int32_t time,
                            int32_t handler = kMessageHandler)
{
    Autolock lock(set);
    auto* event = new Event(set);
    event->RawFields().ShouldWindowOpen() = false;
    event->SetName(name);
    event->SetSelectedHandler(handler);
    event->SetEventTime(time, true);
    set->AddEvent(event);
    return event;
}

// Every number and text an event keeps, handler data and icons aside.
inline std::vector<std::string> EventFields(const Event* e)
{
    auto text = [](const char* t) { return std::string(t != nullptr ? t : "<null>"); };
    const Rect f = e->GetWindowFrame();
    const int64_t numbers[] = {
        e->GetNextEventTime(), e->GetActualEventTime(), e->GetActive(), e->GetStatus(),
        e->GetDeletable(), e->GetPeriodType(), e->GetMultiple(), e->GetTimingType(),
        e->GetSavedTimingType(), e->GetEventTime(), e->GetDayOfMonth(), e->GetWeekOfMonth(),
        e->GetDayOfWeek(), e->GetMonth(), e->GetMultiStartTime(), e->GetApplyTime(),
        e->GetTimeToApply(), e->GetSubIntType(), e->GetApplyStop(), e->GetStopTime(),
        e->GetApplyPrewarn(), e->GetPrewarnTime(), e->GetPrewarnType(), e->GetApplyPrewarnRepeat(),
        e->GetPrewarnRepeatTime(), e->GetPrewarnRepeatType(), e->GetApplyNag(), e->GetNagRepeatTime(),
        e->GetNagRepeatType(), e->GetDeliverIfMissed(), e->GetDeleteOnceDelivered(),
        e->GetIconNumber(), int64_t(f.left), int64_t(f.top), int64_t(f.right), int64_t(f.bottom),
        e->GetShouldWindowOpen(), e->GetTabShown(), e->GetSelectedHandler()};
    std::vector<std::string> fields;
    for (int64_t number : numbers)
        fields.push_back(std::to_string(number));
    for (const char* t : {e->GetName(), e->GetPrewarnMessage(), e->GetNagMessage(), e->GetComment()})
        fields.push_back(text(t));
    return fields;
}

// Lets queued calls and posted events run.
inline void Settle()
{
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}
