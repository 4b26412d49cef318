// The event set document: next event, file name leaf, adding and removing
// events, the modified flag, and what closing the set's window decides.
#include "core/EventSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <string>
#include <vector>

#include "EventSetTestSupport.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventSetWindowPort.h"
#include "core/EventWindowPort.h"
#include "core/MessageTarget.h"
#include "core/OpenSets.h"
#include "handlers/HandlerRegistry.h"

namespace {

// Records what is posted to it (the application, or a set window).
class RecordingTarget : public MessageTarget {
public:
    void PostMessage(const Message& message) override
    {
        std::lock_guard<std::mutex> lock(fLock);
        fPosted.push_back(message);
    }
    using MessageTarget::PostMessage;
    size_t Count(uint32_t what) const
    {
        std::lock_guard<std::mutex> lock(fLock);
        return size_t(std::count_if(fPosted.begin(), fPosted.end(),
                                    [&](const Message& m) { return m.what == what; }));
    }
    std::vector<Message> Take()  // what was posted since the last call
    {
        std::lock_guard<std::mutex> lock(fLock);
        return std::move(fPosted);
    }

private:
    mutable std::mutex fLock;
    std::vector<Message> fPosted;
};

// A set window that records the calls the set makes and whether the set's
// lock was held during each.
class FakeSetWindow : public EventSetWindowPort {
public:
    explicit FakeSetWindow(EventSet* set) : fSet(set) {}
    void PostMessage(const Message& message) override { fPosted.PostMessage(message); }
    using MessageTarget::PostMessage;
    void AddEventToView(Event* event) override { fCalls.push_back({"add", event, fSet->IsLocked()}); }
    void SortEvents() override { fCalls.push_back({"sort", nullptr, fSet->IsLocked()}); }
    void RemoveEventFromView(Event* event) override
    {
        fCalls.push_back({"remove", event, fSet->IsLocked()});
    }
    void Activate() override { ++fActivated; }

    struct Call {
        std::string what;
        Event* event;
        bool setLocked;
    };
    EventSet* fSet;
    std::vector<Call> fCalls;
    RecordingTarget fPosted;
    int fActivated = 0;
};

std::vector<std::unique_ptr<FakeSetWindow>> gSetWindows;
EventSetWindowPort* MakeSetWindow(EventSet* set)
{
    gSetWindows.push_back(std::make_unique<FakeSetWindow>(set));
    return gSetWindows.back().get();
}

// An editor window that closes at once when told to quit, noting whether
// the set's lock was held at that moment.
class FakeEditor : public EventWindowPort {
public:
    explicit FakeEditor(Event* event) : fEvent(event) {}
    void PostCommand(uint32_t) override {}
    void StatusChanged() override {}
    void InvalidateEventView() override {}
    Rect GetEditFrame() override { return Rect{0, 0, 100, 100}; }
    void AttachEditView(QWidget*) override {}
    void Activate() override {}
    void Quit() override
    {
        ++fQuits;
        fSetLockedAtQuit = fEvent->GetProtectionSemaphore()->IsLocked();
        fEvent->WindowClosed();
    }
    Event* fEvent;
    int fQuits = 0;
    bool fSetLockedAtQuit = false;
};

std::vector<std::unique_ptr<FakeEditor>> gEditors;
EventWindowPort* MakeEditor(Event* event)
{
    gEditors.push_back(std::make_unique<FakeEditor>(event));
    return gEditors.back().get();
}

// Handler data whose destruction tells the order in which events went.
std::vector<std::string>* gDestroyed = nullptr;
class DestructionWitness : public EventAddOnData {
public:
    DestructionWitness(Event* event, const char* label) : EventAddOnData(event), fLabel(label) {}
    ~DestructionWitness() override { gDestroyed->push_back(fLabel); }
    QWidget* CreateEditView(Rect) override { return nullptr; }
    bool SaveData(EndianIndependentFile*) override { return true; }
    void DealWithEvent(bool) override {}

private:
    std::string fLabel;
};

class EventSetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        CalvorinSettings::ResetToDefaults();
        LoadBuiltInHandlers();
        SetApplicationTarget(&fApplication);
        SetEventSetWindowFactory(MakeSetWindow);
        SetEventWindowFactory(MakeEditor);
    }
    void TearDown() override
    {
        SetApplicationTarget(nullptr);
        SetEventSetWindowFactory(nullptr);
        SetEventWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
        gSetWindows.clear();
        gEditors.clear();
    }

    // Adds an event that opens no editor (null: a new default event).
    static Event* Add(EventSet* set, int32_t next, Event* event = nullptr)
    {
        if (event == nullptr)
            event = new Event(set);
        event->RawFields().NextEventTime() = next;
        event->RawFields().ShouldWindowOpen() = false;
        set->AddEvent(event);
        return event;
    }

    FakeSetWindow* WindowOf(EventSet* set) { return static_cast<FakeSetWindow*>(set->GetWindow()); }

    // Closes the window of a set the test no longer needs: with delivery
    // off the set is destroyed and nothing is posted.
    static void CloseAndDrop(SetPointer& set)
    {
        int32_t mode = CalvorinSettings::WhichEventsToDeliver;
        CalvorinSettings::WhichEventsToDeliver = kDoNotDeliver;
        set.release()->WindowClosed();
        CalvorinSettings::WhichEventsToDeliver = mode;
    }

    static bool IsLoaded(EventSet* set)
    {
        return std::find(OpenSets::Sets.begin(), OpenSets::Sets.end(), set) != OpenSets::Sets.end();
    }

    RecordingTarget fApplication;
    ScopedClock fClock{1700000000};
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
};

TEST_F(EventSetTest, NextEventIsTheEarliestNonZeroTimeFirstInListOnTies)
{
    SetPointer set = NewSet();
    Autolock lock(set.get());
    Event* event = reinterpret_cast<Event*>(1);
    EXPECT_EQ(set->GetNextEventTime(&event), 0);
    EXPECT_EQ(event, nullptr);

    // Zero times never count.
    Add(set.get(), 0);
    Add(set.get(), 0);
    EXPECT_EQ(set->GetNextEvent(), nullptr);
    event = reinterpret_cast<Event*>(1);
    EXPECT_EQ(set->GetNextEventTime(&event), 0);
    EXPECT_EQ(event, nullptr);

    for (int32_t next : {500, 0, 300, 300})
        Add(set.get(), next);
    EXPECT_EQ(set->GetNextEventTime(&event), 300);
    EXPECT_EQ(event, set->EventAt(4));
    EXPECT_EQ(set->GetNextEvent(), set->EventAt(4));

    // An inactive event is never delivered, so it is never the next one.
    set->EventAt(4)->RawFields().Active() = false;
    set->EventAt(5)->RawFields().Active() = false;
    EXPECT_EQ(set->GetNextEventTime(&event), 500);
    EXPECT_EQ(event, set->EventAt(2));
}

TEST_F(EventSetTest, LeafIsAfterTheLastSlashThatIsNotAtTheEnd)
{
    SetPointer set = NewSet();
    Autolock lock(set.get());
    const std::pair<const char*, const char*> cases[] = {
        {"/home/me/sets/Work", "Work"}, {"/home/me/sets/", "sets/"}, {"Work", "Work"},
        {"/Work", "Work"},              {"/", "/"},                  {"/home/me/sets//", "/"},
    };
    for (const auto& [path, leaf] : cases) {
        set->SetFileName(path);
        EXPECT_STREQ(set->GetLeafPtr(), leaf) << path;
    }
}

TEST_F(EventSetTest, NewSetTakesTheDefaultsAndAnUntitledName)
{
    CalvorinSettings::NumberOfKeys = 2;
    const int32_t keys[5] = {3, 1, 4, 1, 5};
    const int32_t modes[5] = {1, 0, 1, 1, 1};
    std::copy(keys, keys + 5, CalvorinSettings::SortKeys);
    std::copy(modes, modes + 5, CalvorinSettings::SortModes);
    CalvorinSettings::ColumnWidth[1] = 260;
    CalvorinSettings::ColumnShown[5] = false;

    // The numbering of untitled names is the application's (see ApplicationSetsTest).
    SetPointer first = NewSet();
    EXPECT_EQ(std::string(first->GetFileName()).rfind("Untitled event set ", 0), 0u);

    int32_t gotKeys[5];
    CLVSortMode gotModes[5];
    EXPECT_EQ(first->Sorting(gotKeys, gotModes), 2);
    EXPECT_EQ(std::vector<int32_t>(gotKeys, gotKeys + 5), (std::vector<int32_t>{3, 1, 0, 0, 0}));
    // Unused entries stay zero.
    EXPECT_EQ(std::vector<int>(gotModes, gotModes + 3), (std::vector<int>{Descending, Ascending, Ascending}));
    EXPECT_EQ(first->GetColumnWidth(1), 260);
    EXPECT_FALSE(first->GetColumnShown(5));
    EXPECT_TRUE(first->GetWindowFrame().IsValid());
    EXPECT_FALSE(first->HasBeenModified());
    EXPECT_EQ(first->CountEvents(), 0);
    EXPECT_EQ(first->GetWindow(), nullptr);

    // Asked to, a new set opens its window; a second time only brings it forward.
    SetPointer shown(new EventSet(nullptr, true, nullptr, nullptr));
    ASSERT_NE(shown->GetWindow(), nullptr);
    {
        Autolock lock(shown.get());
        shown->OpenWindow();
    }
    EXPECT_EQ(WindowOf(shown.get())->fActivated, 1);
    EXPECT_EQ(gSetWindows.size(), 1u);
    CloseAndDrop(shown);
}

TEST_F(EventSetTest, AddShowsSortsOpensTheEditorAndMarksModified)
{
    SetPointer set = NewSet();
    Event* quiet = nullptr;
    {
        Autolock lock(set.get());
        fApplication.Take();
        set->AddEvent(nullptr);  // a default event
        ASSERT_EQ(set->CountEvents(), 1);
        EXPECT_STREQ(set->EventAt(0)->GetName(), "Untitled");
        EXPECT_EQ(set->EventAt(0)->GetOwner(), set.get());
        EXPECT_EQ(set->EventAt(0)->GetSelectedHandler(), kMessageHandler);
        EXPECT_TRUE(set->HasBeenModified());
        EXPECT_GE(fApplication.Count(kSetsChanged), 1u);

        set->OpenWindow();
        FakeSetWindow* window = WindowOf(set.get());
        ASSERT_NE(window, nullptr);
        Event* event = new Event(set.get());
        set->AddEvent(event);
        ASSERT_EQ(window->fCalls.size(), 2u);
        EXPECT_EQ(window->fCalls[0].what, "add");
        EXPECT_EQ(window->fCalls[0].event, event);
        EXPECT_EQ(window->fCalls[1].what, "sort");
        EXPECT_NE(event->GetWindow(), nullptr);  // a new event wants its editor
        quiet = Add(set.get(), 0);
        EXPECT_EQ(quiet->GetWindow(), nullptr);
    }
    // Closing the set's window closes the open editor first, never with
    // the set's lock held.
    ASSERT_EQ(gEditors.size(), 1u);
    FakeEditor* editor = gEditors[0].get();
    CloseAndDrop(set);
    EXPECT_EQ(editor->fQuits, 1);
    EXPECT_FALSE(editor->fSetLockedAtQuit);
}

TEST_F(EventSetTest, RemoveLeavesTheEventAliveAndLetsGoOfTheLockForTheView)
{
    SetPointer set = NewSet();
    set->Lock();
    set->OpenWindow();
    Event* keep = Add(set.get(), 0);
    set->ClearModified();
    fApplication.Take();

    set->RemoveEvent(keep);
    EXPECT_EQ(set->CountEvents(), 0);
    EXPECT_TRUE(set->HasBeenModified());
    EXPECT_EQ(fApplication.Count(kSetsChanged), 1u);
    FakeSetWindow* window = WindowOf(set.get());
    ASSERT_EQ(window->fCalls.back().what, "remove");
    EXPECT_EQ(window->fCalls.back().event, keep);
    EXPECT_FALSE(window->fCalls.back().setLocked);
    EXPECT_TRUE(set->IsLocked());  // taken again afterwards

    // Still a whole event, which the caller may put back or delete.
    set->AddEvent(keep);
    EXPECT_EQ(set->IndexOf(keep), 0);
    set->Unlock();
    CloseAndDrop(set);
}

TEST_F(EventSetTest, EventModifiedTellsTheWindowAndTheApplication)
{
    SetPointer set = NewSet();
    {
        Autolock lock(set.get());
        set->OpenWindow();
        Event* event = Add(set.get(), 900);
        Add(set.get(), 1200);
        set->ClearModified();
        fApplication.Take();
        WindowOf(set.get())->fPosted.Take();

        event->RawFields().NextEventTime() = 1500;
        set->EventModified(event);
        EXPECT_TRUE(set->HasBeenModified());
        EXPECT_EQ(fApplication.Count(kSetsChanged), 1u);
        std::vector<Message> posted = WindowOf(set.get())->fPosted.Take();
        ASSERT_EQ(posted.size(), 1u);
        EXPECT_EQ(posted[0].what, kEventChangedInSet);
        EXPECT_EQ(posted[0].GetPointer("Event"), event);
        // The next event was worked out again.
        EXPECT_EQ(set->GetNextEvent(), set->EventAt(1));
    }
    CloseAndDrop(set);
}

TEST_F(EventSetTest, LayoutChangesDoNotMarkModified)
{
    SetPointer set = NewSet();
    Autolock lock(set.get());
    const int32_t keys[5] = {4, 1, 0, 0, 0};
    const CLVSortMode modes[5] = {Descending, Ascending, NoSort, NoSort, NoSort};
    set->SetSorting(2, keys, modes);
    set->SetColumnWidth(kNameColumn, 300);
    set->SetColumnShown(kNextMessageTimeColumn, true);
    const int32_t order[6] = {5, 4, 3, 2, 1, 0};
    set->SetColumnOrder(order);
    set->SetViewMode(CalendarViewMode);
    set->SetWindowFrame(Rect{1, 2, 300, 400});
    EXPECT_FALSE(set->HasBeenModified());

    int32_t gotKeys[5];
    CLVSortMode gotModes[5];
    EXPECT_EQ(set->Sorting(gotKeys, gotModes), 2);
    EXPECT_EQ(gotKeys[0], 4);
    EXPECT_EQ(gotModes[0], Descending);
    EXPECT_EQ(std::vector<int32_t>(set->GetColumnOrder(), set->GetColumnOrder() + 6),
              std::vector<int32_t>(order, order + 6));
    set->SetModified();
    EXPECT_TRUE(set->HasBeenModified());
}

TEST_F(EventSetTest, DestructionDeletesEventsFirstItemFirstAndLeavesOpenSets)
{
    std::vector<std::string> destroyed;
    gDestroyed = &destroyed;
    SetPointer set = NewSet();
    {
        Autolock setsLock(OpenSets::Protect);
        OpenSets::Sets.push_back(set.get());
    }
    {
        Autolock lock(set.get());
        for (const char* name : {"first", "second", "third"}) {
            Event* event = new Event(set.get());
            event->RawFields().AddOnData()[kDoNothingHandler] = new DestructionWitness(event, name);
            set->AddEvent(event);
        }
    }
    EventSet* raw = set.get();
    fApplication.Take();
    set.reset();
    EXPECT_EQ(destroyed, (std::vector<std::string>{"first", "second", "third"}));
    EXPECT_FALSE(IsLoaded(raw));
    // The set goes as a whole: its events do not each announce a change.
    EXPECT_EQ(fApplication.Count(kSetsChanged), 0u);
    gDestroyed = nullptr;
}

// Closing the window: whether the set stays loaded, and whether delivery
// timing is asked to be worked out again, by delivery mode.
TEST_F(EventSetTest, WindowClosedDecisionTable)
{
    const struct {
        int32_t mode;
        bool remembered, kept, posted;
    } rows[] = {
        {kOpenSetsOnly, false, false, true},          {kOpenSetsOnly, true, false, true},
        {kOpenAndRememberedSets, true, true, false},  {kOpenAndRememberedSets, false, false, true},
        {kRememberedSetsOnly, true, true, false},     {kRememberedSetsOnly, false, false, false},
        {kRememberedUnlessOpen, true, true, true},    {kRememberedUnlessOpen, false, false, false},
        {kDoNotDeliver, true, false, false},          {kDoNotDeliver, false, false, false},
    };
    const std::string path = "/home/me/sets/Work";
    for (const auto& row : rows) {
        SCOPED_TRACE("mode " + std::to_string(row.mode) + (row.remembered ? ", remembered" : ""));
        SetPointer set = NewSet();
        {
            Autolock lock(set.get());
            set->SetFileName(path.c_str());
            set->OpenWindow();
        }
        {
            Autolock setsLock(OpenSets::Protect);
            OpenSets::Sets.push_back(set.get());
        }
        {
            Autolock settingsLock(CalvorinSettings::Protect);
            // Only an exact match counts as remembered.
            CalvorinSettings::SetFileNames = {path + "/"};
            if (row.remembered)
                CalvorinSettings::SetFileNames.push_back(path);
            CalvorinSettings::WhichEventsToDeliver = row.mode;
        }
        fApplication.Take();
        EventSet* raw = set.release();
        raw->WindowClosed();
        EXPECT_EQ(IsLoaded(raw), row.kept);
        EXPECT_EQ(fApplication.Count(kSetsChanged), row.posted ? 1u : 0u);
        if (IsLoaded(raw)) {
            EXPECT_EQ(raw->GetWindow(), nullptr);
            set.reset(raw);
        }
    }
}

}  // namespace
