// The event record: defaults of a new event, what each setter does besides
// storing, the forcing of timing types, the editor window hooks, icons, list
// ordering and destruction.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "core/CalendarFunctions.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventWindowPort.h"
#include "core/StandardIcons.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"

namespace {

constexpr int32_t kHour = 3600;

// An editor window that records what the event asks of it.
class FakeWindow : public EventWindowPort {
public:
    void PostCommand(uint32_t what) override { commands.push_back(what); }
    void StatusChanged() override { ++statusChanged; }
    void InvalidateEventView() override { ++invalidated; }
    Rect GetEditFrame() override { return editFrame; }
    void AttachEditView(QWidget* view) override { attached.push_back(view); }
    void Activate() override { ++activated; }
    void Quit() override
    {
        if (event != nullptr)
            event->WindowClosed();
    }

    Event* event = nullptr;
    std::vector<uint32_t> commands;
    std::vector<QWidget*> attached;
    int statusChanged = 0;
    int invalidated = 0;
    int activated = 0;
    Rect editFrame{5, 6, 300, 200};
};

FakeWindow* sNextWindow = nullptr;

EventWindowPort* MakeFakeWindow(Event* event)
{
    sNextWindow->event = event;
    return sNextWindow;
}

class EventTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        CalvorinSettings::ResetToDefaults();
        zone.emplace("UTC");
    }
    void TearDown() override
    {
        SetEventWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
        zone.reset();
    }

    std::optional<ScopedTimeZone> zone;
    TestOwner owner;
};

}  // namespace

// --- A new event --------------------------------------------------------------

TEST_F(EventTest, NewEventHasTheDefaultsOfTomorrow)
{
    ScopedClock clock(LocalTime(2001, 1, 5, 15, 5));  // a Friday
    Event e(&owner);
    const int32_t tomorrow = LocalTime(2001, 1, 6);

    EXPECT_STREQ(e.GetName(), "Untitled");
    EXPECT_EQ(e.GetIconNumber(), 0);
    EXPECT_EQ(e.GetNextEventTime(), tomorrow);
    EXPECT_EQ(e.GetActualEventTime(), tomorrow);
    EXPECT_EQ(e.GetEventTime(), tomorrow);
    EXPECT_EQ(e.GetMultiStartTime(), tomorrow);
    EXPECT_TRUE(e.GetActive());
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetPeriodType(), Once);
    EXPECT_EQ(e.GetMultiple(), 2u);
    EXPECT_EQ(e.GetTimingType(), ByDate);
    EXPECT_EQ(e.GetSavedTimingType(), ByDate);
    EXPECT_EQ(e.GetDayOfMonth(), 6);
    EXPECT_EQ(e.GetDayOfWeek(), 6);
    EXPECT_EQ(e.GetMonth(), 0);
    EXPECT_EQ(e.GetWeekOfMonth(), DetermineWeekOfMonth(6, 6));
    EXPECT_FALSE(e.GetApplyTime());
    EXPECT_EQ(e.GetTimeToApply(), 0);
    EXPECT_EQ(e.GetSubIntType(), Hours);
    EXPECT_FALSE(e.GetApplyStop());
    EXPECT_EQ(e.GetStopTime(), 79200);
    EXPECT_TRUE(e.GetDeletable());
    EXPECT_FALSE(e.GetApplyPrewarn());
    EXPECT_EQ(e.GetPrewarnTime(), 1u);
    EXPECT_EQ(e.GetPrewarnType(), Days);
    EXPECT_FALSE(e.GetApplyPrewarnRepeat());
    EXPECT_EQ(e.GetPrewarnRepeatTime(), 6u);
    EXPECT_EQ(e.GetPrewarnRepeatType(), Hours);
    EXPECT_EQ(e.GetPrewarnMessage(), nullptr);
    EXPECT_FALSE(e.GetApplyNag());
    EXPECT_EQ(e.GetNagRepeatTime(), 2u);
    EXPECT_EQ(e.GetNagRepeatType(), Days);
    EXPECT_EQ(e.GetNagMessage(), nullptr);
    EXPECT_EQ(e.GetComment(), nullptr);
    EXPECT_TRUE(e.GetDeliverIfMissed());
    EXPECT_FALSE(e.GetDeleteOnceDelivered());
    EXPECT_TRUE(e.GetShouldWindowOpen());
    EXPECT_EQ(e.GetTabShown(), 0);
    EXPECT_EQ(e.GetWindow(), nullptr);
    EXPECT_EQ(e.GetOwner(), &owner);
    EXPECT_EQ(e.GetProtectionSemaphore(), &owner);
    EXPECT_FALSE(e.GetSkipNag());
    EXPECT_FALSE(e.GetSkipPrewarn());

    // The message handler is selected and its data made; the other slots are empty.
    EXPECT_EQ(e.GetSelectedHandler(), kMessageHandler);
    EXPECT_EQ(e.CountAddOnDataSlots(), NumberOfEventHandlers);
    ASSERT_NE(e.GetAddOnData(), nullptr);
    EXPECT_EQ(e.GetAddOnData(), e.GetAddOnData(2ul));
    EXPECT_EQ(e.GetAddOnData()->GetAttachedTo(), &e);
    EXPECT_EQ(e.GetAddOnData(3ul), nullptr);
    EXPECT_EQ(e.GetAddOnData(99ul), nullptr);

    EXPECT_STREQ(e.GetColumnText(kIconColumn), "0");
    EXPECT_STREQ(e.GetColumnText(kNameColumn), "Untitled");
    EXPECT_STREQ(e.GetColumnText(kEventTimeColumn), "Sat, Jan 06 2001");
    EXPECT_STREQ(e.GetColumnText(kNextMessageTimeColumn), "Sat, Jan 06 2001");
    EXPECT_STREQ(e.GetColumnText(kHandlerColumn), "Message");
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Waiting for event");
    EXPECT_STREQ(e.GetColumnText(6), "");
}

TEST_F(EventTest, NewEventsCascadeTheirWindowFrames)
{
    ScopedClock clock(LocalTime(2001, 1, 5));
    Event first(&owner);
    Event second(&owner);
    EXPECT_EQ(first.GetWindowFrame(), (Rect{40, 60, 407, 450}));
    EXPECT_EQ(second.GetWindowFrame(), (Rect{60, 80, 427, 470}));
}

TEST_F(EventTest, TomorrowIsLocalMidnightAcrossMonthEndsAndClockChanges)
{
    {
        ScopedClock clock(LocalTime(2001, 1, 31, 23, 59));
        Event e(&owner);
        EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 2, 1));
        EXPECT_EQ(e.GetDayOfMonth(), 1);
        EXPECT_EQ(e.GetMonth(), 1);
        EXPECT_EQ(e.GetDayOfWeek(), 4);
    }
    ScopedTimeZone berlin("Europe/Berlin");
    // 25 March 2001 has 23 hours; tomorrow is still local midnight.
    ScopedClock clock(LocalTime(2001, 3, 25, 15, 0));
    Event e(&owner);
    EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 3, 26));
    EXPECT_EQ(GetSecondsIntoDay(e.GetEventTime()), 0);
}

TEST_F(EventTest, ConstructionOnlyNotifiesForTheHandlerSelection)
{
    ScopedClock clock(LocalTime(2001, 1, 5));
    Event e(&owner);
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_EQ(owner.setModified, 0);
}

TEST_F(EventTest, DestructionRemovesTheEventFromItsOwner)
{
    ScopedClock clock(LocalTime(2001, 1, 5));
    auto e = std::make_unique<Event>(&owner);
    Event* address = e.get();
    e->SetSelectedHandler(kCommandHandler);  // a second data object to free
    e->SetComment("note");
    e->SetIcon(-2, new IconBitmap(32, 32), new IconBitmap(16, 16));
    owner.ResetCounts();
    e.reset();
    EXPECT_EQ(owner.removed, 1);
    EXPECT_EQ(owner.lastRemoved, address);
}

// --- Setters: re-evaluate, mark modified or notify ------------------------------

TEST_F(EventTest, TimingSettersReEvaluate)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    const std::vector<std::pair<const char*, std::function<void()>>> setters = {
        {"SetPeriodType", [&] { e.SetPeriodType(Daily); }},
        {"SetMultiple", [&] { e.SetMultiple(3); }},
        {"SetTimingType", [&] { e.SetTimingType(ByDayOfMonth); }},
        {"SetEventTime", [&] { e.SetEventTime(LocalTime(2001, 4, 1), false); }},
        {"SetDayOfMonth", [&] { e.SetDayOfMonth(3); }},
        {"SetWeekOfMonth", [&] { e.SetWeekOfMonth(1); }},
        {"SetDayOfWeek", [&] { e.SetDayOfWeek(2); }},
        {"SetMonth", [&] { e.SetMonth(4); }},
        {"SetMultiStartTime", [&] { e.SetMultiStartTime(LocalTime(2001, 2, 1)); }},
        {"SetApplyTime", [&] { e.SetApplyTime(false); }},
        {"SetTimeToApply", [&] { e.SetTimeToApply(0); }},
        {"SetSubIntType", [&] { e.SetSubIntType(Minutes); }},
        {"SetApplyStop", [&] { e.SetApplyStop(false); }},
        {"SetStopTime", [&] { e.SetStopTime(100); }},
        {"SetApplyPrewarn", [&] { e.SetApplyPrewarn(false); }},
        {"SetPrewarnTime", [&] { e.SetPrewarnTime(2); }},
        {"SetPrewarnType", [&] { e.SetPrewarnType(Hours); }},
        {"SetApplyPrewarnRepeat", [&] { e.SetApplyPrewarnRepeat(false); }},
        {"SetPrewarnRepeatTime", [&] { e.SetPrewarnRepeatTime(3); }},
        {"SetPrewarnRepeatType", [&] { e.SetPrewarnRepeatType(Minutes); }},
    };
    for (const auto& [name, set] : setters) {
        SCOPED_TRACE(name);
        e.RawFields().NextEventTime() = 1;  // a value no evaluation produces
        e.RawFields().Status() = WaitingToNag;
        owner.ResetCounts();
        set();
        EXPECT_NE(e.GetNextEventTime(), 1);
        EXPECT_NE(e.GetStatus(), WaitingToNag);
        EXPECT_EQ(owner.eventModified, 1);
        EXPECT_EQ(owner.setModified, 1);
    }
}

TEST_F(EventTest, OtherSettersOnlyMarkTheSetModified)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    const std::vector<std::pair<const char*, std::function<void()>>> setters = {
        {"SetPrewarnMessage", [&] { e.SetPrewarnMessage("soon"); }},
        {"SetNagMessage", [&] { e.SetNagMessage("late"); }},
        {"SetComment", [&] { e.SetComment("a comment"); }},
        {"SetNagRepeatTime", [&] { e.SetNagRepeatTime(5); }},
        {"SetNagRepeatType", [&] { e.SetNagRepeatType(Hours); }},
        {"SetDeliverIfMissed", [&] { e.SetDeliverIfMissed(false); }},
        {"SetDeleteOnceDelivered", [&] { e.SetDeleteOnceDelivered(true); }},
        {"SetApplyNag", [&] { e.SetApplyNag(true); }},
    };
    for (const auto& [name, set] : setters) {
        SCOPED_TRACE(name);
        e.RawFields().NextEventTime() = 1;
        owner.ResetCounts();
        set();
        EXPECT_EQ(e.GetNextEventTime(), 1);
        EXPECT_EQ(owner.eventModified, 0);
        EXPECT_EQ(owner.setModified, 1);
    }
    EXPECT_STREQ(e.GetPrewarnMessage(), "soon");
    EXPECT_STREQ(e.GetNagMessage(), "late");
    EXPECT_STREQ(e.GetComment(), "a comment");
    EXPECT_EQ(e.GetNagRepeatTime(), 5u);
    EXPECT_EQ(e.GetNagRepeatType(), Hours);
    EXPECT_FALSE(e.GetDeliverIfMissed());
    EXPECT_TRUE(e.GetDeleteOnceDelivered());

    // Texts may be cleared; an empty text is none.
    e.SetComment(nullptr);
    EXPECT_EQ(e.GetComment(), nullptr);
    e.SetNagMessage("");
    EXPECT_EQ(e.GetNagMessage(), nullptr);
}

TEST_F(EventTest, SwitchingNaggingOffEndsANagPhase)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    auto raw = e.RawFields();
    raw.ApplyNag() = true;
    raw.Status() = WaitingToNag;
    raw.NextEventTime() = 1;

    owner.ResetCounts();
    e.SetApplyNag(true);  // still nagging: nothing moves
    EXPECT_EQ(e.GetStatus(), WaitingToNag);
    EXPECT_EQ(owner.eventModified, 0);
    EXPECT_EQ(owner.setModified, 1);

    owner.ResetCounts();
    e.SetApplyNag(false);
    EXPECT_EQ(e.GetStatus(), WaitingForEvent);
    EXPECT_EQ(e.GetNextEventTime(), LocalTime(2001, 3, 2));
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_GE(owner.setModified, 1);
}

TEST_F(EventTest, NameAndActiveNotifyWithoutReEvaluating)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.RawFields().NextEventTime() = 1;
    owner.ResetCounts();

    e.SetName("Dentist");
    EXPECT_STREQ(e.GetName(), "Dentist");
    EXPECT_STREQ(e.GetColumnText(kNameColumn), "Dentist");
    EXPECT_EQ(owner.eventModified, 1);

    e.SetActive(false);
    EXPECT_FALSE(e.GetActive());
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Inactive");
    EXPECT_EQ(owner.eventModified, 2);
    EXPECT_EQ(owner.setModified, 0);
    EXPECT_EQ(e.GetNextEventTime(), 1);

    e.SetActive(true);
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Waiting for event");
}

TEST_F(EventTest, StoreOnlySetters)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    owner.ResetCounts();
    e.SetWindowFrame(Rect{1, 2, 3, 4});
    e.SetTabShown(3);
    e.SetSkipNag();
    EXPECT_EQ(e.GetWindowFrame(), (Rect{1, 2, 3, 4}));
    EXPECT_EQ(e.GetTabShown(), 3);
    EXPECT_TRUE(e.GetSkipNag());
    EXPECT_EQ(owner.eventModified, 0);
    EXPECT_EQ(owner.setModified, 0);
}

// --- Timing type forcing ----------------------------------------------------------

TEST_F(EventTest, PeriodTypeForcesAnAllowedTimingTypeAndRemembersTheOldOne)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    ASSERT_EQ(e.GetTimingType(), ByDate);

    e.SetPeriodType(Weekly);
    EXPECT_EQ(e.GetTimingType(), ByDayOfWeek);
    EXPECT_EQ(e.GetSavedTimingType(), ByDate);

    e.SetPeriodType(Annually);  // by day of week is allowed: kept
    EXPECT_EQ(e.GetTimingType(), ByDayOfWeek);

    e.SetPeriodType(Once);  // only by date: the remembered one
    EXPECT_EQ(e.GetTimingType(), ByDate);

    e.SetPeriodType(Weekly);
    e.SetPeriodType(Annually);
    EXPECT_EQ(e.GetTimingType(), ByDayOfWeek);
}

TEST_F(EventTest, HighestAllowedTimingTypeWins)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.SetPeriodType(Monthly);
    EXPECT_EQ(e.GetTimingType(), ByDayOfWeek);
    EXPECT_EQ(e.GetSavedTimingType(), ByDate);

    Event f(&owner);
    f.SetTimingType(ByDayOfMonth);
    f.SetPeriodType(MultiMonthly);  // allowed: kept
    EXPECT_EQ(f.GetTimingType(), ByDayOfMonth);
    f.SetPeriodType(MultiWeekly);
    EXPECT_EQ(f.GetTimingType(), ByDayOfWeek);
    EXPECT_EQ(f.GetSavedTimingType(), ByDayOfMonth);
    f.SetPeriodType(Monthly);  // by day of week still allowed
    EXPECT_EQ(f.GetTimingType(), ByDayOfWeek);
}

TEST_F(EventTest, SubDailyTurnsTheTimeOfDayOn)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    ASSERT_FALSE(e.GetApplyTime());
    e.SetPeriodType(SubDaily);
    EXPECT_TRUE(e.GetApplyTime());
    EXPECT_EQ(e.GetTimingType(), ByDate);
}

TEST_F(EventTest, AllowableTypeCombinationTable)
{
    // By date is refused only by the monthly and weekly kinds.
    const bool byDate[kNumberOfPeriodTypes] = {true, true,  false, false, true,  true,
                                               true, true,  false, false, true,  true};
    for (int p = 0; p < kNumberOfPeriodTypes; ++p) {
        SCOPED_TRACE(PeriodTypeNames[p]);
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDate], byDate[p] ? 1 : 0);
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDayOfWeek], p == Once ? 0 : 1);
        bool dom = p != Once && p != Weekly && p != MultiWeekly;
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDayOfMonth], dom ? 1 : 0);
    }
}

// --- Times of day ------------------------------------------------------------------

TEST_F(EventTest, TimesOfDayAreBroughtIntoOneDay)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.SetTimeToApply(-1);
    EXPECT_EQ(e.GetTimeToApply(), 86399);
    e.SetTimeToApply(90000);
    EXPECT_EQ(e.GetTimeToApply(), 3600);
    e.SetTimeToApply(-86400 * 3 - 60);
    EXPECT_EQ(e.GetTimeToApply(), 86340);
    e.SetStopTime(86400);
    EXPECT_EQ(e.GetStopTime(), 0);
    e.SetStopTime(-3600);
    EXPECT_EQ(e.GetStopTime(), 82800);
}

TEST_F(EventTest, TimeToApplyMovesTheEventTimeOnlyWithATimeOfDay)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    const int32_t day = LocalTime(2001, 3, 10);
    e.SetEventTime(day, false);
    e.SetTimeToApply(10 * kHour);
    EXPECT_EQ(e.GetEventTime(), day);

    e.SetApplyTime(true);
    EXPECT_EQ(e.GetEventTime(), day + 10 * kHour);
    e.SetTimeToApply(90000);
    EXPECT_EQ(e.GetEventTime(), day + kHour);
    EXPECT_EQ(e.GetActualEventTime(), day + kHour);

    e.SetApplyTime(false);
    EXPECT_EQ(e.GetEventTime(), day);
}

TEST_F(EventTest, SetEventTimeWithAndWithoutATimeOfDay)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.SetEventTime(LocalTime(2001, 3, 10, 15, 20), false);
    EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 3, 10));
    EXPECT_FALSE(e.GetApplyTime());

    e.SetEventTime(LocalTime(2001, 3, 10, 15, 20, 5), true);
    EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 3, 10, 15, 20, 5));
    EXPECT_EQ(e.GetTimeToApply(), 15 * kHour + 20 * 60 + 5);
    EXPECT_TRUE(e.GetApplyTime());
    EXPECT_STREQ(e.GetColumnText(kEventTimeColumn), "Sat, Mar 10 2001, 03:20 PM");

    // A new date keeps the time of day already set.
    e.SetEventTime(LocalTime(2001, 4, 2, 8, 0), false);
    EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 4, 2, 15, 20, 5));
}

TEST_F(EventTest, SubIntervalUnitIsStoredAsGiven)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.SetSubIntType(Days);
    EXPECT_EQ(e.GetSubIntType(), Days);
}

// --- Handlers -------------------------------------------------------------------------

TEST_F(EventTest, SwitchingHandlersKeepsEachHandlersData)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    EventAddOnData* message = e.GetAddOnData();

    owner.ResetCounts();
    e.SetSelectedHandler(kMessageHandler);  // the current one: nothing happens
    EXPECT_EQ(owner.eventModified, 0);

    e.SetSelectedHandler(kCommandHandler);
    EXPECT_EQ(e.GetSelectedHandler(), kCommandHandler);
    EventAddOnData* command = e.GetAddOnData();
    ASSERT_NE(command, nullptr);
    EXPECT_NE(command, message);
    EXPECT_EQ(e.GetAddOnData(2ul), message);
    EXPECT_STREQ(e.GetColumnText(kHandlerColumn), "Command");
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_EQ(owner.setModified, 0);

    e.SetSelectedHandler(kMessageHandler);
    EXPECT_EQ(e.GetAddOnData(), message);
    EXPECT_EQ(e.GetAddOnData(3ul), command);
}

TEST_F(EventTest, HandlerIndexWithoutARegisteredHandler)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.SetSelectedHandler(NumberOfEventHandlers + 3);
    EXPECT_EQ(e.GetAddOnData(), nullptr);
    EXPECT_STREQ(e.GetColumnText(kHandlerColumn), "");
}

namespace {
int sDestroyed = 0;
QWidget* sDestroyedView = nullptr;
char sMessageView;
char sCommandView;
Rect sCommandFrame;
}  // namespace

TEST_F(EventTest, SwitchingHandlersWithTheEditorOpenReplacesTheEditView)
{
    MessageDataHandler::SetEditViewMaker(
        [](MessageDataHandler*, Rect) { return reinterpret_cast<QWidget*>(&sMessageView); });
    CommandDataHandler::SetEditViewMaker([](CommandDataHandler*, Rect frame) {
        sCommandFrame = frame;
        return reinterpret_cast<QWidget*>(&sCommandView);
    });
    SetEditViewDestroyer([](QWidget* view) {
        ++sDestroyed;
        sDestroyedView = view;
    });
    sDestroyed = 0;

    ScopedClock clock(LocalTime(2001, 3, 1));
    FakeWindow window;
    sNextWindow = &window;
    SetEventWindowFactory(MakeFakeWindow);
    {
        Event e(&owner);
        e.OpenWindow();
        ASSERT_EQ(e.GetWindow(), &window);
        // What the editor does for the handler shown when it opens.
        EventAddOnData* message = e.GetAddOnData();
        message->RecordEditView(message->CreateEditView(window.GetEditFrame()));

        e.SetSelectedHandler(kCommandHandler);
        EXPECT_EQ(sDestroyed, 1);
        EXPECT_EQ(sDestroyedView, reinterpret_cast<QWidget*>(&sMessageView));
        EXPECT_EQ(message->GetEditView(), nullptr);
        EXPECT_EQ(sCommandFrame, window.editFrame);
        EXPECT_EQ(e.GetAddOnData()->GetEditView(), reinterpret_cast<QWidget*>(&sCommandView));
        ASSERT_EQ(window.attached.size(), 1u);
        EXPECT_EQ(window.attached[0], reinterpret_cast<QWidget*>(&sCommandView));

        e.GetAddOnData()->DestroyEditView();
        window.Quit();
        EXPECT_EQ(e.GetWindow(), nullptr);
    }
    MessageDataHandler::SetEditViewMaker(nullptr);
    CommandDataHandler::SetEditViewMaker(nullptr);
    SetEditViewDestroyer(nullptr);
}

// --- The editor window ---------------------------------------------------------------

TEST_F(EventTest, WindowIsOpenedThroughTheInstalledFactoryAndKeptInformed)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    e.OpenWindow();  // no factory: no window
    EXPECT_EQ(e.GetWindow(), nullptr);

    FakeWindow window;
    sNextWindow = &window;
    SetEventWindowFactory(MakeFakeWindow);
    e.OpenWindow();
    ASSERT_EQ(e.GetWindow(), &window);
    e.OpenWindow();
    EXPECT_EQ(window.activated, 1);

    e.SetPeriodType(Daily);
    EXPECT_EQ(window.commands, std::vector<uint32_t>{kEventTimesChanged});
    e.SetIcon(4, nullptr, nullptr);
    EXPECT_EQ(window.commands.back(), kEventIconChanged);
    e.SetActive(false);
    EXPECT_EQ(window.statusChanged, 1);

    owner.ResetCounts();
    e.UpdateViews();
    EXPECT_EQ(window.invalidated, 1);
    EXPECT_EQ(owner.eventModified, 1);

    window.Quit();
    EXPECT_EQ(e.GetWindow(), nullptr);
}

// --- Icons ---------------------------------------------------------------------------

TEST_F(EventTest, CustomIconsAreOwnedAndStandardIconsLookedUp)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event e(&owner);
    auto* large = new IconBitmap(32, 32);
    auto* mini = new IconBitmap(16, 16);
    owner.ResetCounts();
    e.SetIcon(-2, large, mini);
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_STREQ(e.GetColumnText(kIconColumn), "-2");
    const IconBitmap* l = nullptr;
    const IconBitmap* m = nullptr;
    EXPECT_EQ(e.GetIcon(&l, &m), -2);
    EXPECT_EQ(l, large);
    EXPECT_EQ(m, mini);

    // The same pair handed in again stays alive.
    e.SetIcon(-2, large, mini);
    EXPECT_EQ(e.GetIcon(&l, &m), -2);
    EXPECT_EQ(l->Width(), 32);

    IconBitmap standardLarge(32, 32), standardMini(16, 16);
    const IconBitmap* larges[kNumberOfStandardIcons] = {};
    const IconBitmap* minis[kNumberOfStandardIcons] = {};
    larges[7] = &standardLarge;
    minis[7] = &standardMini;
    SetStandardIcons(larges, minis);
    e.SetIcon(7, nullptr, nullptr);  // frees the custom pair
    EXPECT_STREQ(e.GetColumnText(kIconColumn), "7");
    EXPECT_EQ(e.GetIcon(&l, &m), 7);
    EXPECT_EQ(l, &standardLarge);
    EXPECT_EQ(m, &standardMini);
    SetStandardIcons(nullptr, nullptr);

    e.SetIcon(-1, nullptr, nullptr);
    EXPECT_EQ(e.GetIcon(&l, &m), -1);
    EXPECT_EQ(l, nullptr);
    EXPECT_EQ(m, nullptr);
}

// --- List ordering -------------------------------------------------------------------

TEST_F(EventTest, NamesCompareWithOnlyAsciiLettersFolded)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event a(&owner), b(&owner);
    a.SetName("abc");
    b.SetName("ABC");
    EXPECT_EQ(Event::Compare(&a, &b, kNameColumn), 0);
    b.SetName("ABD");
    EXPECT_LT(Event::Compare(&a, &b, kNameColumn), 0);
    EXPECT_GT(Event::Compare(&b, &a, kNameColumn), 0);
    b.SetName("ab");
    EXPECT_GT(Event::Compare(&a, &b, kNameColumn), 0);
    // Accented capitals are not folded: "\xC3\x89" (E acute) against "\xC3\xA9".
    a.SetName("\xC3\x89mile");
    b.SetName("\xC3\xA9mile");
    EXPECT_LT(Event::Compare(&a, &b, kNameColumn), 0);
    // '_' lies between the capitals and the small letters: folding moves it.
    a.SetName("_x");
    b.SetName("Ax");
    EXPECT_LT(Event::Compare(&a, &b, kNameColumn), 0);
}

TEST_F(EventTest, HandlerTimeAndIconColumns)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event a(&owner), b(&owner);
    a.SetSelectedHandler(kMessageHandler);
    b.SetSelectedHandler(kCommandHandler);
    EXPECT_GT(Event::Compare(&a, &b, kHandlerColumn), 0);  // "message" after "command"

    a.RawFields().ActualEventTime() = 100;
    b.RawFields().ActualEventTime() = 200;
    a.RawFields().NextEventTime() = INT32_MAX;
    b.RawFields().NextEventTime() = INT32_MIN;
    EXPECT_LT(Event::Compare(&a, &b, kEventTimeColumn), 0);
    EXPECT_GT(Event::Compare(&a, &b, kNextMessageTimeColumn), 0);  // no overflow
    EXPECT_EQ(Event::Compare(&a, &b, kIconColumn), 0);
    EXPECT_EQ(Event::Compare(&a, &b, 17), 0);
}

TEST_F(EventTest, InactiveEventsSortAfterDoneOnes)
{
    ScopedClock clock(LocalTime(2001, 3, 1));
    Event done(&owner), waiting(&owner), inactive(&owner), inactive2(&owner);
    done.RawFields().Status() = DoneWithEvent;
    waiting.RawFields().Status() = WaitingForPrewarning;
    inactive.RawFields().Status() = WaitingForPrewarning;
    inactive.SetActive(false);
    inactive2.RawFields().Status() = DoneWithEvent;
    inactive2.SetActive(false);

    EXPECT_LT(Event::Compare(&waiting, &done, kStatusColumn), 0);
    EXPECT_LT(Event::Compare(&done, &inactive, kStatusColumn), 0);
    EXPECT_GT(Event::Compare(&inactive, &done, kStatusColumn), 0);
    EXPECT_EQ(Event::Compare(&inactive, &inactive2, kStatusColumn), 0);
}
