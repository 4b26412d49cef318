// While a delivery alert waits for the user, the windows keep working: the
// user may try to delete the event being delivered, close its set's window
// or drop the set's unsaved changes. The delivery marks its event and set
// for the length of the step; the event cannot be deleted meanwhile, and a
// set let go is destroyed only when the step ends, so that the code after
// the alert never works on freed memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "PlatformTestSupport.h"
#include "TestOwner.h"
#include "calvorin/AddOn.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "core/AlertPort.h"
#include "core/ApplicationSets.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "DeliveryTestSupport.h"
#include "core/DeliveryScheduler.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/MessageTarget.h"
#include "core/OpenSets.h"

namespace {

constexpr int32_t kNow = 1700000000;

// Records what the set posts to its window.
class RecordingWindow : public EventSetWindowPort {
public:
    void PostMessage(const Message& message) override
    {
        std::lock_guard<std::mutex> lock(fLock);
        posted.push_back(message);
    }
    using MessageTarget::PostMessage;
    void AddEventToView(Event*) override {}
    void SortEvents() override {}
    void RemoveEventFromView(Event*) override {}
    void Activate() override {}

    // How many "event changed" messages named event.
    int ChangesOf(const Event* event)
    {
        std::lock_guard<std::mutex> lock(fLock);
        return int(std::count_if(posted.begin(), posted.end(), [event](const Message& m) {
            return m.what == kEventChangedInSet && m.GetPointer("Event") == event;
        }));
    }

    std::vector<Message> posted;

private:
    std::mutex fLock;
};

EventSetWindowPort* MakeRecordingWindow(EventSet*)
{
    return new RecordingWindow;
}

class RecordingApplication : public MessageTarget {
public:
    void PostMessage(const Message& message) override
    {
        std::lock_guard<std::mutex> lock(fLock);
        codes.push_back(message.what);
    }
    using MessageTarget::PostMessage;

    std::vector<uint32_t> codes;

private:
    std::mutex fLock;
};

// Handler data that tells of its event in the delivery alert, and notes
// when it is destroyed (with its event, with its set).
class AlertingData : public EventAddOnData {
public:
    AlertingData(Event* event, bool* destroyed) : EventAddOnData(event), fDestroyed(destroyed) {}
    ~AlertingData() override { *fDestroyed = true; }
    QWidget* CreateEditView(Rect) override { return nullptr; }
    bool SaveData(EndianIndependentFile*) override { return true; }
    void DealWithEvent(bool missed) override
    {
        DeliverEventMessage(GetAttachedTo(), missed, "\n\nTime to go.", nullptr, nullptr, nullptr,
                            nullptr, "OK", nullptr);
    }

private:
    bool* fDestroyed;
};

class DeliverySafetyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        CalvorinSettings::ResetToDefaults();
        SetEventSetWindowFactory(MakeRecordingWindow);
        SetApplicationTarget(&fApplication);
    }
    void TearDown() override
    {
        SetApplicationTarget(nullptr);
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        while (!OpenSets::Sets.empty()) {
            EventSet* set = OpenSets::Sets.front();
            set->Lock();
            if (EventSetWindowPort* window = set->GetWindow()) {
                delete window;
                set->WindowClosed();  // not remembered: the set goes
            } else {
                delete set;
            }
        }
        SetEventSetWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
    }

    // A loaded set named path with a window; its event Due is due now (a
    // one-time event with a time of day, of the "Do nothing" handler), and
    // its event Later an hour later.
    EventSet* Load(const char* path)
    {
        EventSet* set = new EventSet(nullptr, false, nullptr, nullptr);
        Autolock lock(set);
        set->SetFileName(path);
        for (int32_t time : {kNow, kNow + 3600}) {
            Event* event = new Event(set);
            event->SetName(time == kNow ? "Due" : "Later");
            auto raw = event->RawFields();
            raw.EventTime() = raw.NextEventTime() = raw.ActualEventTime() = time;
            raw.ApplyTime() = true;
            raw.Status() = WaitingForEvent;
            raw.ShouldWindowOpen() = false;
            event->SetSelectedHandler(kDoNothingHandler);
            set->AddEvent(event);
        }
        set->OpenWindow();
        set->ClearModified();
        OpenSets::Sets.push_back(set);
        return set;
    }

    // Gives the set's first event the alerting handler data (in memory only).
    Event* MakeAlerting(EventSet* set)
    {
        Autolock lock(set);
        Event* event = set->EventAt(0);
        EventAddOnData*& slot = event->RawFields().AddOnData()[kDoNothingHandler];
        delete slot;
        slot = new AlertingData(event, &fDataDestroyed);
        return event;
    }

    static bool IsLoaded(EventSet* set)
    {
        Autolock setsLock(OpenSets::Protect);
        return std::find(OpenSets::Sets.begin(), OpenSets::Sets.end(), set) !=
               OpenSets::Sets.end();
    }

    ScopedClock fClock{kNow};
    ActingAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    RecordingApplication fApplication;
    QuietLauncher fLauncher;
    DeliveryScheduler fScheduler{fLauncher};
    bool fDataDestroyed = false;
};

TEST_F(DeliverySafetyTest, TheEventIsMarkedWhileItsAlertWaitsAndTheWindowIsToldBothTimes)
{
    EventSet* set = Load("/sets/a");
    Event* due = MakeAlerting(set);
    Event* later = set->EventAt(1);
    auto* window = static_cast<RecordingWindow*>(set->GetWindow());

    bool checked = false;
    fAlerts.whileWaiting = [&] {
        // The set's lock is let go while the alert waits.
        EXPECT_FALSE(set->IsLocked());
        Autolock lock(set);
        EXPECT_TRUE(set->IsBeingDelivered(due));
        EXPECT_FALSE(set->IsBeingDelivered(later));
        EXPECT_FALSE(set->IsBeingDelivered(nullptr));
        // The window has heard, so that it refuses to delete the event.
        EXPECT_EQ(window->ChangesOf(due), 1);
        checked = true;
    };
    fScheduler.SetCounterForNextEvent(false);

    ASSERT_TRUE(checked);
    Autolock lock(set);
    EXPECT_FALSE(set->IsBeingDelivered(due));
    // Last, the end of the step: the window enables the event's deletion.
    ASSERT_FALSE(window->posted.empty());
    EXPECT_EQ(window->posted.back().what, kEventChangedInSet);
    EXPECT_EQ(window->posted.back().GetPointer("Event"), due);
    EXPECT_EQ(set->IndexOf(due), 0);
    EXPECT_EQ(due->GetStatus(), DoneWithEvent);
}

TEST_F(DeliverySafetyTest, ClosingTheWindowWhileTheAlertWaitsDestroysTheSetWhenTheStepEnds)
{
    // Not remembered: closing its window lets the set go.
    EventSet* set = Load("/sets/forgotten");
    Event* due = MakeAlerting(set);

    fAlerts.whileWaiting = [&] {
        // As the window does when it closes for good.
        delete set->GetWindow();
        set->WindowClosed();
        EXPECT_FALSE(IsLoaded(set)) << "a set let go is no longer found";
        EXPECT_FALSE(fDataDestroyed) << "the set was destroyed under the delivery";
    };
    fScheduler.SetCounterForNextEvent(false);

    EXPECT_EQ(fAlerts.shown, 1);
    EXPECT_TRUE(fDataDestroyed);
    EXPECT_TRUE(OpenSets::Sets.empty());
    // The application still hears that the step is over, and recomputes.
    EXPECT_NE(std::find(fApplication.codes.begin(), fApplication.codes.end(), kDeliveryStepDone),
              fApplication.codes.end());
    (void)due;
}

TEST_F(DeliverySafetyTest, ARememberedSetKeptWithoutItsWindowIsNotDestroyed)
{
    EventSet* set = Load("/sets/remembered");
    Event* due = MakeAlerting(set);
    CalvorinSettings::RememberSet("/sets/remembered");

    fAlerts.whileWaiting = [&] {
        delete set->GetWindow();
        set->WindowClosed();
    };
    fScheduler.SetCounterForNextEvent(false);

    ASSERT_TRUE(IsLoaded(set));
    EXPECT_FALSE(fDataDestroyed);
    Autolock lock(set);
    EXPECT_EQ(set->GetWindow(), nullptr);
    EXPECT_EQ(due->GetStatus(), DoneWithEvent);
}

TEST_F(DeliverySafetyTest, DroppingUnsavedChangesWhileTheAlertWaitsReloadsAndFreesTheOldCopyLater)
{
    TempFolder folder;
    const std::string path = folder / "Reminders.calvorin";
    EventSet* set = Load(path.c_str());
    {
        Autolock lock(set);
        ASSERT_TRUE(set->SaveData());
    }
    Event* due = MakeAlerting(set);
    CalvorinSettings::RememberSet(path.c_str());

    EventSet* reloaded = nullptr;
    fAlerts.whileWaiting = [&] {
        // "Don't save" in the closing window of a remembered set.
        delete set->GetWindow();
        set->WindowClosed();
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        ApplicationSets::ReloadWithoutWindow(path.c_str());
        ASSERT_EQ(OpenSets::Sets.size(), 1u);
        reloaded = OpenSets::Sets.front();
        EXPECT_NE(reloaded, set);
        EXPECT_FALSE(fDataDestroyed) << "the old copy was destroyed under the delivery";
    };
    fScheduler.SetCounterForNextEvent(false);

    EXPECT_TRUE(fDataDestroyed);
    ASSERT_EQ(OpenSets::Sets.size(), 1u);
    EXPECT_EQ(OpenSets::Sets.front(), reloaded);
    // Delivery goes on from the saved state.
    Autolock lock(reloaded);
    EXPECT_EQ(reloaded->GetNextEventTime(nullptr), kNow);
    EXPECT_FALSE(reloaded->IsBeingDelivered(reloaded->EventAt(0)));
    (void)due;
}

TEST_F(DeliverySafetyTest, WithoutADeliveryDiscardDestroysAtOnce)
{
    EventSet* set = Load("/sets/a");
    MakeAlerting(set);
    delete set->GetWindow();
    set->WindowClosed();
    EXPECT_TRUE(fDataDestroyed);
    EXPECT_TRUE(OpenSets::Sets.empty());
}

}  // namespace
