// The event record: defaults of a new event, what each setter does besides
// storing, the forcing of timing types, the editor window hooks, icons, list
// ordering and destruction.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "EventSetTestSupport.h"
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
    int statusChanged = 0, invalidated = 0, activated = 0;
    Rect editFrame{5, 6, 300, 200};
};

FakeWindow* sNextWindow = nullptr;

EventWindowPort* MakeFakeWindow(Event* event)
{
    sNextWindow->event = event;
    return sNextWindow;
}

// Every test but the first runs on 1 March 2001 in UTC.
class EventTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        CalvorinSettings::ResetToDefaults();
    }
    void TearDown() override
    {
        SetEventWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
    }
    // Opens the event's editor as a fake window.
    void OpenFakeWindow(Event& e)
    {
        sNextWindow = &window;
        SetEventWindowFactory(MakeFakeWindow);
        e.OpenWindow();
    }

    ScopedTimeZone zone{"UTC"};
    TestOwner owner;
    std::optional<ScopedClock> clock{LocalTime(2001, 3, 1)};
    FakeWindow window;
};

}  // namespace

// --- A new event --------------------------------------------------------------

TEST_F(EventTest, NewEventHasTheDefaultsOfTomorrow)
{
    clock.emplace(LocalTime(2001, 1, 5, 15, 5));  // a Friday
    Event e(&owner);
    const int32_t tomorrow = LocalTime(2001, 1, 6);
    // Every number, in the order of the event's file record.
    const std::vector<int64_t> defaults = {
        tomorrow, tomorrow, true, WaitingForEvent, true,  // next, actual, active, status, deletable
        Once, 2, ByDate, ByDate, tomorrow,                // period, multiple, timing, saved, event time
        6, DetermineWeekOfMonth(6, 6), 6, 0, tomorrow,    // day, week, weekday, month, start
        false, 0, Hours, false, 79200,                    // time of day, sub-interval, stop
        false, 1, Days, false, 6, Hours,                  // prewarning and its repeats
        false, 2, Days, true, false,                      // nagging, if missed, delete once delivered
        0, 40, 60, 407, 450, true, 0};                    // icon, window frame, window open, tab
    EXPECT_EQ(EventNumbers(&e), defaults);
    EXPECT_FALSE(e.GetSkipNag());
    EXPECT_FALSE(e.GetSkipPrewarn());
    EXPECT_EQ(e.GetPrewarnMessage(), nullptr);
    EXPECT_EQ(e.GetNagMessage(), nullptr);
    EXPECT_EQ(e.GetComment(), nullptr);
    EXPECT_EQ(e.GetWindow(), nullptr);
    EXPECT_EQ(e.GetOwner(), &owner);
    EXPECT_EQ(e.GetProtectionSemaphore(), &owner);

    // The message handler is selected and its data made; the other slots are empty.
    EXPECT_EQ(e.GetSelectedHandler(), kMessageHandler);
    EXPECT_EQ(e.CountAddOnDataSlots(), NumberOfEventHandlers);
    ASSERT_NE(e.GetAddOnData(), nullptr);
    EXPECT_EQ(e.GetAddOnData(), e.GetAddOnData(2ul));
    EXPECT_EQ(e.GetAddOnData()->GetAttachedTo(), &e);
    EXPECT_EQ(e.GetAddOnData(3ul), nullptr);
    EXPECT_EQ(e.GetAddOnData(99ul), nullptr);

    const char* columns[] = {"0", "Untitled", "Sat, Jan 06 2001", "Sat, Jan 06 2001", "Message",
                             "Waiting for event", ""};
    for (int c = 0; c < 7; ++c)
        EXPECT_STREQ(e.GetColumnText(c), columns[c]) << "column " << c;
    // Construction notifies only for the handler selection.
    EXPECT_EQ(owner.eventModified, 1);
    EXPECT_EQ(owner.setModified, 0);

    // Events made one after the other cascade their window frames.
    EXPECT_EQ(Event(&owner).GetWindowFrame(), (Rect{60, 80, 427, 470}));
}

TEST_F(EventTest, TomorrowIsLocalMidnightAcrossMonthEndsAndClockChanges)
{
    clock.emplace(LocalTime(2001, 1, 31, 23, 59));
    {
        Event e(&owner);
        EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 2, 1));
        EXPECT_EQ(e.GetDayOfMonth(), 1);
        EXPECT_EQ(e.GetMonth(), 1);
        EXPECT_EQ(e.GetDayOfWeek(), 4);
    }
    ScopedTimeZone berlin("Europe/Berlin");
    // 25 March 2001 has 23 hours; tomorrow is still local midnight.
    clock.emplace(LocalTime(2001, 3, 25, 15, 0));
    Event e(&owner);
    EXPECT_EQ(e.GetEventTime(), LocalTime(2001, 3, 26));
    EXPECT_EQ(GetSecondsIntoDay(e.GetEventTime()), 0);
}

TEST_F(EventTest, DestructionRemovesTheEventFromItsOwner)
{
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

TEST_F(EventTest, TimingSettersReEvaluateOthersOnlyMarkTheSetModified)
{
    Event e(&owner);
    // Each setter with whether it re-evaluates the event (and tells the set
    // the event changed) or only marks the set modified.
#define SETTER(call, evaluates) {#call, [&] { e.call; }, evaluates}
    const struct {
        const char* name;
        std::function<void()> set;
        bool evaluates;
    } setters[] = {
        SETTER(SetPeriodType(Daily), true), SETTER(SetMultiple(3), true),
        SETTER(SetTimingType(ByDayOfMonth), true), SETTER(SetEventTime(LocalTime(2001, 4, 1), false), true),
        SETTER(SetDayOfMonth(3), true), SETTER(SetWeekOfMonth(1), true), SETTER(SetDayOfWeek(2), true),
        SETTER(SetMonth(4), true), SETTER(SetMultiStartTime(LocalTime(2001, 2, 1)), true),
        SETTER(SetApplyTime(false), true), SETTER(SetTimeToApply(0), true),
        SETTER(SetSubIntType(Minutes), true), SETTER(SetApplyStop(false), true),
        SETTER(SetStopTime(100), true), SETTER(SetApplyPrewarn(false), true),
        SETTER(SetPrewarnTime(2), true), SETTER(SetPrewarnType(Hours), true),
        SETTER(SetApplyPrewarnRepeat(false), true), SETTER(SetPrewarnRepeatTime(3), true),
        SETTER(SetPrewarnRepeatType(Minutes), true), SETTER(SetPrewarnMessage("soon"), false),
        SETTER(SetNagMessage("late"), false), SETTER(SetComment("a comment"), false),
        SETTER(SetNagRepeatTime(5), false), SETTER(SetNagRepeatType(Hours), false),
        SETTER(SetDeliverIfMissed(false), false), SETTER(SetDeleteOnceDelivered(true), false),
        SETTER(SetApplyNag(true), false),
    };
#undef SETTER
    for (const auto& setter : setters) {
        SCOPED_TRACE(setter.name);
        e.RawFields().NextEventTime() = 1;  // a value no evaluation produces
        e.RawFields().Status() = WaitingToNag;
        owner.ResetCounts();
        setter.set();
        EXPECT_EQ(e.GetNextEventTime() != 1, setter.evaluates);
        EXPECT_EQ(e.GetStatus() != WaitingToNag, setter.evaluates);
        EXPECT_EQ(owner.eventModified, setter.evaluates ? 1 : 0);
        EXPECT_EQ(owner.setModified, 1);
    }
    // Texts may be cleared; an empty text is none.
    e.SetComment(nullptr);
    EXPECT_EQ(e.GetComment(), nullptr);
    e.SetNagMessage("");
    EXPECT_EQ(e.GetNagMessage(), nullptr);
}

TEST_F(EventTest, SwitchingNaggingOffEndsANagPhase)
{
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
    Event e(&owner);
    e.RawFields().NextEventTime() = 1;
    owner.ResetCounts();
    e.SetName("Dentist");
    EXPECT_STREQ(e.GetColumnText(kNameColumn), "Dentist");
    EXPECT_EQ(owner.eventModified, 1);

    e.SetActive(false);
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Inactive");
    EXPECT_EQ(owner.eventModified, 2);
    EXPECT_EQ(owner.setModified, 0);
    EXPECT_EQ(e.GetNextEventTime(), 1);
    e.SetActive(true);
    EXPECT_STREQ(e.GetColumnText(kStatusColumn), "Waiting for event");
}

// --- Timing type forcing ----------------------------------------------------------

TEST_F(EventTest, PeriodTypeForcesTheHighestAllowedTimingTypeAndRemembersTheOldOne)
{
    // Each row on the same event: a timing type set first (or -1), then a
    // period type; the timing type and the remembered one (-1: not checked).
    const struct {
        int timing;
        PeriodicityType period;
        TimingType expected;
        int saved;
    } rows[] = {
        {-1, Weekly, ByDayOfWeek, ByDate},
        {-1, Annually, ByDayOfWeek, -1},  // allowed: kept
        {-1, Once, ByDate, -1},           // only by date: the remembered one
        {-1, Weekly, ByDayOfWeek, -1},
        {-1, Annually, ByDayOfWeek, -1},
        {ByDate, Monthly, ByDayOfWeek, ByDate},
        {ByDayOfMonth, MultiMonthly, ByDayOfMonth, -1},
        {-1, MultiWeekly, ByDayOfWeek, ByDayOfMonth},
        {-1, Monthly, ByDayOfWeek, -1},  // by day of week still allowed
    };
    Event e(&owner);
    for (const auto& row : rows) {
        SCOPED_TRACE(PeriodTypeNames[row.period]);
        if (row.timing >= 0)
            e.SetTimingType(TimingType(row.timing));
        e.SetPeriodType(row.period);
        EXPECT_EQ(e.GetTimingType(), row.expected);
        if (row.saved >= 0) {
            EXPECT_EQ(e.GetSavedTimingType(), row.saved);
        }
    }

    // Sub-daily turns the time of day on.
    Event f(&owner);
    f.SetPeriodType(SubDaily);
    EXPECT_TRUE(f.GetApplyTime());
    EXPECT_EQ(f.GetTimingType(), ByDate);

    // By date is refused only by the monthly and weekly kinds; by day of
    // week only by Once; by day of month by Once and the weekly kinds.
    for (int p = 0; p < kNumberOfPeriodTypes; ++p) {
        SCOPED_TRACE(PeriodTypeNames[p]);
        const bool byDate = p != Monthly && p != Weekly && p != MultiMonthly && p != MultiWeekly;
        const bool byDayOfMonth = p != Once && p != Weekly && p != MultiWeekly;
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDate], byDate ? 1 : 0);
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDayOfWeek], p == Once ? 0 : 1);
        EXPECT_EQ(AllowableTypeCombination[p * 3 + ByDayOfMonth], byDayOfMonth ? 1 : 0);
    }
}

// --- Times of day ------------------------------------------------------------------

TEST_F(EventTest, TimesOfDayAreBroughtIntoOneDay)
{
    Event e(&owner);
    const int32_t cases[][2] = {{-1, 86399}, {90000, 3600}, {-86400 * 3 - 60, 86340}};
    for (const auto& c : cases) {
        e.SetTimeToApply(c[0]);
        EXPECT_EQ(e.GetTimeToApply(), c[1]) << c[0];
    }
    e.SetStopTime(86400);
    EXPECT_EQ(e.GetStopTime(), 0);
    e.SetStopTime(-3600);
    EXPECT_EQ(e.GetStopTime(), 82800);
}

TEST_F(EventTest, EventTimeAndTimeOfDay)
{
    Event e(&owner);
    // The time of day moves the event time only while it is applied.
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

    // A date without a time of day is midnight; with one, it is taken too.
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

// --- Handlers -------------------------------------------------------------------------

TEST_F(EventTest, SwitchingHandlersKeepsEachHandlersData)
{
    Event e(&owner);
    EventAddOnData* message = e.GetAddOnData();
    owner.ResetCounts();
    e.SetSelectedHandler(kMessageHandler);  // the current one: nothing happens
    EXPECT_EQ(owner.eventModified, 0);

    e.SetSelectedHandler(kCommandHandler);
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

    // An index without a registered handler has no data and no name.
    e.SetSelectedHandler(NumberOfEventHandlers + 3);
    EXPECT_EQ(e.GetAddOnData(), nullptr);
    EXPECT_STREQ(e.GetColumnText(kHandlerColumn), "");
}

namespace {
int sDestroyed = 0;
QWidget* sDestroyedView = nullptr;
char sMessageView, sCommandView;
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
    {
        Event e(&owner);
        OpenFakeWindow(e);
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
        EXPECT_EQ(window.attached, std::vector<QWidget*>{reinterpret_cast<QWidget*>(&sCommandView)});

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
    Event e(&owner);
    e.OpenWindow();  // no factory: no window
    EXPECT_EQ(e.GetWindow(), nullptr);

    OpenFakeWindow(e);
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
    // {a, b, sign of the comparison}. Accented capitals are not folded;
    // '_' lies between the capitals and the small letters, so folding moves it.
    const struct {
        const char *a, *b;
        int sign;
    } cases[] = {{"abc", "ABC", 0},    {"abc", "ABD", -1}, {"ABD", "abc", 1},
                 {"abc", "ab", 1},     {"\xC3\x89mile", "\xC3\xA9mile", -1}, {"_x", "Ax", -1}};
    Event a(&owner), b(&owner);
    for (const auto& c : cases) {
        a.SetName(c.a);
        b.SetName(c.b);
        const int result = Event::Compare(&a, &b, kNameColumn);
        EXPECT_EQ((result > 0) - (result < 0), c.sign) << c.a << " / " << c.b;
    }
}

TEST_F(EventTest, HandlerTimeIconAndStatusColumns)
{
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

    // Inactive events sort after done ones.
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
