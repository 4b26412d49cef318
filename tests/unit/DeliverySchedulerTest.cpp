// Handing the next time to the companion: which sets take part, ties go to
// the set loaded first, what is due is delivered at once instead of being
// handed over, and the user hears once that the companion cannot be
// started and once that it works again.
#include "core/DeliveryScheduler.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "TestOwner.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "companion/CompanionProtocol.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/CompanionLauncher.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/Message.h"
#include "core/OpenSets.h"

namespace {

constexpr int32_t kNow = 1700000000;

// Answers launches from a script (then with B_OK) and records them.
class ScriptedLauncher : public CompanionLauncher {
public:
    struct Launch {
        bool byFile;
        bool hasMessage;
        bool hasWhen;
        int32_t when;
    };
    status_t LaunchBySignature(const Message* message) override { return Record(false, message); }
    status_t LaunchByFile(const Message* message) override { return Record(true, message); }

    std::deque<status_t> results;
    std::vector<Launch> launches;

private:
    status_t Record(bool byFile, const Message* message)
    {
        Launch launch{byFile, message != nullptr, false, 0};
        if (message != nullptr) {
            EXPECT_EQ(message->what, kNextEventMsg);
            launch.hasWhen = message->FindInt32(kWhenField, &launch.when) == B_OK;
        }
        launches.push_back(launch);
        if (results.empty())
            return B_OK;
        status_t result = results.front();
        results.pop_front();
        return result;
    }
};

// A window that is only there, for "open" sets.
class StubWindow : public EventSetWindowPort {
public:
    void PostMessage(const Message&) override {}
    using MessageTarget::PostMessage;
    void AddEventToView(Event*) override {}
    void SortEvents() override {}
    void RemoveEventFromView(Event*) override {}
    void Activate() override {}
};

EventSetWindowPort* MakeStubWindow(EventSet*)
{
    return new StubWindow;
}

// Handler data that notes each delivery.
class RecordingData : public EventAddOnData {
public:
    RecordingData(Event* event, int* count) : EventAddOnData(event), fCount(count) {}
    QWidget* CreateEditView(Rect) override { return nullptr; }
    bool SaveData(EndianIndependentFile*) override { return true; }
    void DealWithEvent(bool) override { ++*fCount; }

private:
    int* fCount;
};

class DeliverySchedulerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        CalvorinSettings::ResetToDefaults();
        SetEventSetWindowFactory(MakeStubWindow);
    }
    void TearDown() override
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        while (!OpenSets::Sets.empty()) {
            EventSet* set = OpenSets::Sets.front();
            set->Lock();
            delete static_cast<StubWindow*>(set->GetWindow());
            // The window is gone; the set may go too.
            if (set->GetWindow() != nullptr)
                set->WindowClosed();
            else
                delete set;
        }
        SetEventSetWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
    }

    // A loaded set named path whose only event is next at the given time
    // (none when 0); with open it has a window.
    EventSet* Load(const char* path, int32_t next, bool open = false, bool remembered = false)
    {
        EventSet* set = new EventSet(nullptr, false, nullptr, nullptr);
        Autolock lock(set);
        set->SetFileName(path);
        if (next != 0) {
            Event* event = new Event(set);
            event->RawFields().NextEventTime() = next;
            event->RawFields().ShouldWindowOpen() = false;
            set->AddEvent(event);
        }
        if (open)
            set->OpenWindow();
        if (remembered)
            CalvorinSettings::RememberSet(path);
        OpenSets::Sets.push_back(set);
        return set;
    }

    ScopedClock fClock{kNow};
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    ScriptedLauncher fLauncher;
    DeliveryScheduler fScheduler{fLauncher};
};

TEST_F(DeliverySchedulerTest, ParticipationTable)
{
    struct Row {
        int32_t which;
        bool closedForgotten, openForgotten, closedRemembered, openRemembered;
    };
    const Row table[] = {
        {kOpenSetsOnly, false, true, false, true},
        {kOpenAndRememberedSets, false, true, true, true},
        {kRememberedSetsOnly, false, false, true, true},
        {kRememberedUnlessOpen, false, false, true, false},
        {kDoNotDeliver, false, false, false, false},
        {5, false, false, false, false},
        {-1, false, false, false, false},
    };
    for (const Row& row : table) {
        EXPECT_EQ(DeliveryScheduler::TakesPart(row.which, false, false), row.closedForgotten)
            << row.which;
        EXPECT_EQ(DeliveryScheduler::TakesPart(row.which, true, false), row.openForgotten)
            << row.which;
        EXPECT_EQ(DeliveryScheduler::TakesPart(row.which, false, true), row.closedRemembered)
            << row.which;
        EXPECT_EQ(DeliveryScheduler::TakesPart(row.which, true, true), row.openRemembered)
            << row.which;
    }
}

TEST_F(DeliverySchedulerTest, EarliestTimeAmongTakingPartSetsAndTiesGoToTheFirstLoaded)
{
    CalvorinSettings::WhichEventsToDeliver = kOpenAndRememberedSets;
    Load("/sets/not-taking-part", kNow + 10);
    EventSet* first = Load("/sets/first", kNow + 500, false, true);
    EventSet* second = Load("/sets/second", kNow + 500, true);
    Load("/sets/nothing-pending", 0, true);

    NextDelivery next = DeliveryScheduler::FindNextDelivery();
    EXPECT_EQ(next.time, kNow + 500);
    EXPECT_EQ(next.set, first);
    {
        Autolock lock(first);
        EXPECT_EQ(next.event, first->EventAt(0));
    }

    // A later set with a strictly earlier time does win.
    {
        Autolock lock(second);
        second->EventAt(0)->RawFields().NextEventTime() = kNow + 499;
    }
    EXPECT_EQ(DeliveryScheduler::FindNextDelivery().set, second);

    // Remembered-unless-open leaves out the open set and the forgotten one.
    CalvorinSettings::WhichEventsToDeliver = kRememberedUnlessOpen;
    EXPECT_EQ(DeliveryScheduler::FindNextDelivery().set, first);
}

TEST_F(DeliverySchedulerTest, AFutureTimeIsHandedToTheCompanion)
{
    Load("/sets/a", kNow + 60, true);
    fScheduler.SetCounterForNextEvent(true);
    ASSERT_EQ(fLauncher.launches.size(), 1u);
    EXPECT_FALSE(fLauncher.launches[0].byFile);
    ASSERT_TRUE(fLauncher.launches[0].hasWhen);
    EXPECT_EQ(fLauncher.launches[0].when, kNow + 60);
    EXPECT_FALSE(fScheduler.DeliveryInProgress());
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

TEST_F(DeliverySchedulerTest, NothingTakingPartSendsATimelessRequestAndIgnoresFailure)
{
    // A remembered set without a window: not part of open-sets-only
    // delivery, nor of anything when delivery is switched off.
    Load("/sets/closed", kNow + 60, false, true);
    for (int32_t which : {kOpenSetsOnly, kDoNotDeliver}) {
        CalvorinSettings::WhichEventsToDeliver = which;
        fLauncher.launches.clear();
        fLauncher.results = {B_LAUNCH_FAILED};
        fScheduler.SetCounterForNextEvent(false);
        ASSERT_EQ(fLauncher.launches.size(), 1u) << which;
        EXPECT_FALSE(fLauncher.launches[0].byFile);
        EXPECT_TRUE(fLauncher.launches[0].hasMessage);
        EXPECT_FALSE(fLauncher.launches[0].hasWhen);
    }
    // No fallback, no alert.
    EXPECT_EQ(fAlerts.CountShown(), 0u);
    EXPECT_FALSE(fScheduler.AlreadyToldUser());
}

TEST_F(DeliverySchedulerTest, ATimeThatIsNowIsDeliveredAtOnceAndNotHandedOver)
{
    EventSet* set = Load("/sets/a", kNow, true);
    int delivered = 0;
    {
        Autolock lock(set);
        Event* event = set->EventAt(0);
        auto raw = event->RawFields();
        raw.ActualEventTime() = kNow;
        raw.Status() = WaitingForEvent;
        raw.ApplyTime() = true;
        EventAddOnData*& slot = raw.AddOnData()[kDoNothingHandler];
        delete slot;
        slot = new RecordingData(event, &delivered);
        raw.SelectedHandler() = kDoNothingHandler;
    }
    fScheduler.SetCounterForNextEvent(true);
    EXPECT_EQ(delivered, 1);
    EXPECT_TRUE(fLauncher.launches.empty());
    EXPECT_TRUE(fScheduler.DeliveryInProgress());
    EXPECT_TRUE(fScheduler.DeliveryStartupFlag());
    EXPECT_FALSE(set->IsLocked());
}

TEST_F(DeliverySchedulerTest, TheUserIsToldOnceThatTheCompanionIsMissingAndOnceThatItIsBack)
{
    // By signature, then by file: both fail.
    fLauncher.results = {B_LAUNCH_FAILED_APP_NOT_FOUND, B_LAUNCH_FAILED_APP_NOT_FOUND};
    fScheduler.LaunchBackgroundApp(nullptr);
    ASSERT_EQ(fLauncher.launches.size(), 2u);
    EXPECT_FALSE(fLauncher.launches[0].byFile);
    EXPECT_TRUE(fLauncher.launches[1].byFile);
    EXPECT_FALSE(fLauncher.launches[1].hasMessage);
    ASSERT_EQ(fAlerts.CountShown(), 1u);
    EXPECT_EQ(fAlerts.Shown()[0].title, "Calvorin recoverable error");
    EXPECT_EQ(fAlerts.Shown()[0].text,
              "Calvorin was unable to locate its background executable (the file should be "
              "named \"CalvorinBackground\", and should have the signature "
              "\"application/x-vnd.QZ-CalvorinBackground\").  Normally, it should be in the "
              "same folder as Calvorin.  Without it, Calvorin will be unable to inform you "
              "when events occur, although you can still edit event sets and the events they "
              "contain.");
    EXPECT_TRUE(fScheduler.AlreadyToldUser());

    // Failing again is silent.
    fLauncher.results = {B_LAUNCH_FAILED, B_LAUNCH_FAILED};
    fScheduler.LaunchBackgroundApp(nullptr);
    EXPECT_EQ(fAlerts.CountShown(), 1u);

    // The launch by file works: told once, and the flag is cleared.
    fLauncher.results = {B_LAUNCH_FAILED_APP_NOT_FOUND, B_ALREADY_RUNNING};
    fScheduler.LaunchBackgroundApp(nullptr);
    ASSERT_EQ(fAlerts.CountShown(), 2u);
    EXPECT_EQ(fAlerts.Shown()[1].text,
              "Calvorin successfully started its background executable, and can now deliver "
              "events normally.");
    EXPECT_EQ(fAlerts.Shown()[1].buttons, (std::vector<std::string>{"Continue"}));
    EXPECT_EQ(fAlerts.Shown()[1].kind, AlertKind::Information);
    EXPECT_FALSE(fScheduler.AlreadyToldUser());

    // Working on: no more alerts, and no launch by file.
    fLauncher.launches.clear();
    fLauncher.results = {B_ALREADY_RUNNING};
    fScheduler.LaunchBackgroundApp(nullptr);
    EXPECT_EQ(fAlerts.CountShown(), 2u);
    EXPECT_EQ(fLauncher.launches.size(), 1u);
}

TEST_F(DeliverySchedulerTest, ATimeHandedOverGoesThroughTheFallbackToo)
{
    Load("/sets/a", kNow + 3600, true);
    fLauncher.results = {B_LAUNCH_FAILED_APP_NOT_FOUND, B_OK};
    fScheduler.SetCounterForNextEvent(false);
    ASSERT_EQ(fLauncher.launches.size(), 2u);
    EXPECT_TRUE(fLauncher.launches[1].byFile);
    EXPECT_TRUE(fLauncher.launches[1].hasWhen);
    EXPECT_EQ(fLauncher.launches[1].when, kNow + 3600);
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

}  // namespace
