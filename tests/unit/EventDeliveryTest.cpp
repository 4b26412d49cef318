// Delivering an event: the status machine, the missed rule at start-up,
// prewarning and nag repeats, the user's "No more ..." answers, deletion
// once delivered, and the prewarning and nag texts.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/EventAddOnData.h"
#include "core/AlertPort.h"
#include "core/Clock.h"
#include "core/EventDelivery.h"
#include "core/EventWindowPort.h"
#include "core/MessageTarget.h"

namespace {

constexpr int32_t kMinute = 60;
constexpr int32_t kHour = 3600;
constexpr int32_t kDay = 86400;

// Stands in for the selected handler: records each call and whether the
// set's lock was held during it.
class RecordingHandler : public EventAddOnData {
public:
    using EventAddOnData::EventAddOnData;
    QWidget* CreateEditView(Rect) override { return nullptr; }
    bool SaveData(EndianIndependentFile*) override { return true; }
    void DealWithEvent(bool missed) override
    {
        missedFlags.push_back(missed);
        lockHeld.push_back(GetAttachedTo()->GetOwner()->IsLocked());
    }
    std::vector<bool> missedFlags;
    std::vector<bool> lockHeld;
};

// Answers from a script and notes whether the set was locked meanwhile.
// Can also act as the user editing the event while the alert is open.
class LockWatchingPort : public ScriptedAlertPort {
public:
    explicit LockWatchingPort(Locker* lock) : fLock(lock) {}
    int Go(const AlertRequest& request) override
    {
        lockedDuringAlert.push_back(fLock->IsLocked());
        if (whileOpen) {
            Autolock hold(fLock);
            whileOpen();
        }
        return ScriptedAlertPort::Go(request);
    }
    std::vector<bool> lockedDuringAlert;
    std::function<void()> whileOpen;

private:
    Locker* fLock;
};

class RecordingTarget : public MessageTarget {
public:
    void PostMessage(const Message& message) override { posted.push_back(message.what); }
    std::vector<uint32_t> posted;
};

// An editor window that notes whether it was closed with the set locked.
class EditorWindow : public EventWindowPort {
public:
    void PostCommand(uint32_t what) override { commands.push_back(what); }
    void StatusChanged() override {}
    void InvalidateEventView() override {}
    Rect GetEditFrame() override { return Rect(); }
    void AttachEditView(QWidget*) override {}
    void Activate() override {}
    void Quit() override
    {
        quitWithSetLocked = event->GetOwner()->IsLocked();
        event->WindowClosed();
    }
    Event* event = nullptr;
    bool quitWithSetLocked = true;
    std::vector<uint32_t> commands;
};
EditorWindow* sWindow = nullptr;

class EventDeliveryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        SetApplicationTarget(&fApp);
        fEvent = new Event(&fOwner);
        Event::Raw raw = fEvent->RawFields();
        fHandler = new RecordingHandler(fEvent);
        delete raw.AddOnData()[kDoNothingHandler];
        raw.AddOnData()[kDoNothingHandler] = fHandler;
        raw.SelectedHandler() = kDoNothingHandler;
        fEvent->SetName("Dentist");
        // A timed "Once" event an hour from now, waiting for itself.
        raw.PeriodType() = Once;
        raw.ApplyTime() = true;
        raw.EventTime() = raw.ActualEventTime() = raw.NextEventTime() = kNow + kHour;
        raw.Status() = WaitingForEvent;
        raw.DeliverIfMissed() = true;
        raw.DeleteOnceDelivered() = false;
    }
    void TearDown() override
    {
        SetApplicationTarget(nullptr);
        SetEventWindowFactory(nullptr);
        delete fEvent;
    }

    Event::Raw Raw() { return fEvent->RawFields(); }
    // Delivers as the application does, with the set's lock held.
    void Deliver(bool checkMissed = false)
    {
        fOwner.Lock();
        fEvent->DealWithEvent(checkMissed);
        EXPECT_EQ(fOwner.CountLocks(), 1) << "the set's lock is held again afterwards";
        fOwner.Unlock();
    }
    std::vector<std::string> Titles()
    {
        std::vector<std::string> titles;
        for (const AlertRequest& alert : fPort.Shown())
            titles.push_back(alert.title);
        return titles;
    }

    static constexpr int32_t kNow = 978696000;  // Friday 5 January 2001, 12:00 UTC
    ScopedTimeZone fZone{"UTC"};
    ScopedClock fClock{kNow};
    TestOwner fOwner;
    LockWatchingPort fPort{&fOwner};
    ScopedAlertPort fPortScope{&fPort};
    RecordingTarget fApp;
    Event* fEvent = nullptr;
    RecordingHandler* fHandler = nullptr;
};

TEST_F(EventDeliveryTest, PrewarningAlertAndTheStepAfterIt)
{
    struct Case {
        const char* what;
        bool repeat;
        uint32_t repeatTime;
        TimeIntervalType repeatType;
        int answer;
        EventStatus status;
        int32_t next;
    };
    const Case cases[] = {
        {"no repeat: on to the event", false, 10, Minutes, 1, WaitingForEvent, kNow + kHour},
        {"repeat every 10 minutes", true, 10, Minutes, 1, WaitingForPrewarning, kNow + 10 * kMinute},
        {"a repeat that reaches the event", true, 2, Hours, 1, WaitingForEvent, kNow + kHour},
        {"a zero repeat cannot advance", true, 0, Minutes, 1, WaitingForEvent, kNow + kHour},
        {"No more prewarnings", true, 10, Minutes, 0, WaitingForEvent, kNow + kHour},
    };
    fEvent->SetPrewarnMessage("Bring the card");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fPort.Clear();
        fApp.posted.clear();
        Raw().Status() = WaitingForPrewarning;
        Raw().NextEventTime() = kNow;
        Raw().ApplyPrewarn() = true;
        Raw().PrewarnTime() = 1;
        Raw().PrewarnType() = Hours;
        Raw().ApplyPrewarnRepeat() = c.repeat;
        Raw().PrewarnRepeatTime() = c.repeatTime;
        Raw().PrewarnRepeatType() = c.repeatType;
        fPort.Answer(c.answer);
        Deliver();

        ASSERT_EQ(fPort.CountShown(), 1u);
        const AlertRequest alert = fPort.Shown()[0];
        EXPECT_EQ(alert.title, "Calvorin prewarning");
        EXPECT_EQ(alert.text, "The event \"Dentist\" will occur at 1:00 PM today.\n\nBring the card");
        EXPECT_EQ(alert.buttons, (std::vector<std::string>{"No more prewarnings", "OK"}));
        EXPECT_EQ(alert.shortcuts, (std::vector<char>{'n', 0}));
        EXPECT_EQ(alert.kind, AlertKind::Information);
        EXPECT_EQ(fEvent->GetStatus(), c.status);
        EXPECT_EQ(fEvent->GetNextEventTime(), c.next);
        EXPECT_FALSE(fEvent->GetSkipPrewarn());
        EXPECT_TRUE(fHandler->missedFlags.empty());
        EXPECT_EQ(fApp.posted, std::vector<uint32_t>{kDeliveryStepDone});
    }
    EXPECT_EQ(fPort.lockedDuringAlert, std::vector<bool>(5, false));
}

TEST_F(EventDeliveryTest, PrewarningWhoseEventHasComeRunsTheHandlerWithoutTheLock)
{
    Raw().Status() = WaitingForPrewarning;
    Raw().ActualEventTime() = Raw().EventTime() = kNow - 10;
    Raw().NextEventTime() = kNow - kHour + 20;
    Raw().ApplyNag() = true;
    Raw().NagRepeatTime() = 1;
    Raw().NagRepeatType() = Hours;
    Deliver();
    EXPECT_EQ(fPort.CountShown(), 0u);
    EXPECT_EQ(fHandler->missedFlags, std::vector<bool>{false});
    EXPECT_EQ(fHandler->lockHeld, std::vector<bool>{false});
    // The first nag is one interval after the event, not after the prewarning.
    EXPECT_EQ(fEvent->GetStatus(), WaitingToNag);
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow - 10 + kHour);
}

TEST_F(EventDeliveryTest, MissedRuleAtStartUp)
{
    struct Case {
        const char* what;
        int32_t actual;
        bool timed;
        bool checkMissed;
        bool deliverIfMissed;
        bool nag;
        std::vector<bool> handlerCalls;  // the missed flag of each call
        std::vector<std::string> alerts;
        EventStatus status;
    };
    const int32_t midnight = kNow - 12 * kHour;
    const Case cases[] = {
        {"timed, 61 s late", kNow - 61, true, true, true, false, {true}, {}, DoneWithEvent},
        {"timed, 59 s late", kNow - 59, true, true, true, false, {false}, {}, DoneWithEvent},
        {"not the start-up pass", kNow - 61, true, false, true, false, {false}, {}, DoneWithEvent},
        {"all-day, same day number", midnight, false, true, true, false, {false}, {}, DoneWithEvent},
        {"all-day, the day before", midnight - kDay, false, true, true, false, {true}, {}, DoneWithEvent},
        {"not delivered if missed", kNow - 61, true, true, false, false, {}, {}, DoneWithEvent},
        {"not delivered, nagging", kNow - 61, true, true, false, true, {}, {}, WaitingToNag},
        {"not delivered, first nag due", kNow - 2 * kDay - 30, true, true, false, true, {},
         {"Calvorin nag"}, WaitingToNag},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fPort.Clear();
        fHandler->missedFlags.clear();
        Raw().Status() = WaitingForEvent;
        Raw().ActualEventTime() = Raw().NextEventTime() = Raw().EventTime() = c.actual;
        Raw().ApplyTime() = c.timed;
        Raw().DeliverIfMissed() = c.deliverIfMissed;
        Raw().ApplyNag() = c.nag;
        Raw().NagRepeatTime() = 2;
        Raw().NagRepeatType() = Days;
        Deliver(c.checkMissed);
        EXPECT_EQ(fHandler->missedFlags, c.handlerCalls);
        EXPECT_EQ(Titles(), c.alerts);
        EXPECT_EQ(fEvent->GetStatus(), c.status);
        if (c.nag) {
            EXPECT_GT(fEvent->GetNextEventTime(), kNow);  // the next nag lies ahead
        }
    }
}

TEST_F(EventDeliveryTest, NaggingWithinTheGraceAndNoMoreNagging)
{
    Raw().Status() = WaitingToNag;
    Raw().ApplyNag() = true;
    Raw().NagRepeatTime() = 2;
    Raw().NagRepeatType() = Days;
    Raw().ActualEventTime() = Raw().EventTime() = kNow - kDay;

    Raw().NextEventTime() = kNow + 61;  // not due yet
    Deliver();
    EXPECT_EQ(fPort.CountShown(), 0u);

    Raw().NextEventTime() = kNow + 30;
    Deliver();
    ASSERT_EQ(fPort.CountShown(), 1u);
    const AlertRequest alert = fPort.Shown()[0];
    EXPECT_EQ(alert.title, "Calvorin nag");
    EXPECT_EQ(alert.text, "The event \"Dentist\" occurred at 12:00 PM on Thursday, January 4,  2001.\n\n");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"No more nagging", "OK"}));
    EXPECT_EQ(alert.shortcuts, (std::vector<char>{'n', 0}));
    // Shown early, it is not shown again at its own time.
    EXPECT_EQ(fEvent->GetStatus(), WaitingToNag);
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + 30 + 2 * kDay);

    fClock.Get().Set(fEvent->GetNextEventTime());
    fPort.Answer(0);  // No more nagging
    Deliver();
    EXPECT_EQ(fEvent->GetStatus(), DoneWithEvent);
    EXPECT_FALSE(fEvent->GetSkipNag());
}

TEST_F(EventDeliveryTest, DailyEventNagsPastItsNextOccurrenceUntilStopped)
{
    Raw().PeriodType() = Daily;
    Raw().TimeToApply() = 12 * kHour;
    Raw().ActualEventTime() = Raw().NextEventTime() = kNow;
    Raw().ApplyNag() = true;
    Raw().NagRepeatTime() = 5;
    Raw().NagRepeatType() = Hours;
    Deliver();
    EXPECT_EQ(fEvent->GetStatus(), WaitingToNag);
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + 5 * kHour);

    for (int nag = 1; nag <= 6; ++nag) {
        fClock.Get().Set(fEvent->GetNextEventTime());
        Deliver();
    }
    EXPECT_EQ(fPort.CountShown(), 6u);
    EXPECT_EQ(fEvent->GetStatus(), WaitingToNag);
    EXPECT_EQ(fEvent->GetActualEventTime(), kNow);  // a day and more later
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + 35 * kHour);

    // Ten hours of nags missed: one is shown, the next lies ahead on the grid.
    fClock.Get().Set(kNow + 45 * kHour + 10);
    Deliver();
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + 50 * kHour);

    fClock.Get().Set(kNow + 50 * kHour);
    fPort.Answer(0);
    Deliver();
    EXPECT_EQ(fEvent->GetStatus(), WaitingForEvent);
    EXPECT_EQ(fEvent->GetActualEventTime(), kNow + 3 * kDay);
}

TEST_F(EventDeliveryTest, ZeroNagIntervalEndsOneSecondPastNow)
{
    Raw().Status() = WaitingToNag;
    Raw().ApplyNag() = true;
    Raw().NagRepeatTime() = 0;
    Raw().NextEventTime() = kNow - kDay;
    Deliver();
    EXPECT_EQ(fPort.CountShown(), 1u);
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + 1);
}

TEST_F(EventDeliveryTest, CalendarMonthSteps)
{
    struct Case {
        int32_t from;
        uint32_t months;
        int32_t expected;
    };
    const Case cases[] = {
        {LocalTime(2001, 1, 31, 10), 1, LocalTime(2001, 3, 3, 10)},  // 31 February normalised
        {LocalTime(2001, 11, 30, 10), 3, LocalTime(2002, 3, 2, 10)},  // into the next year
    };
    Raw().ActualEventTime() = LocalTime(2010, 1, 1);
    Raw().ApplyPrewarnRepeat() = true;
    Raw().PrewarnRepeatType() = Months;
    for (const Case& c : cases) {
        Raw().NextEventTime() = c.from;
        Raw().PrewarnRepeatTime() = c.months;
        fEvent->IncrementPrewarn();
        EXPECT_EQ(fEvent->GetNextEventTime(), c.expected);
        EXPECT_EQ(fEvent->GetStatus(), WaitingForPrewarning);
    }
    // The same steps for nagging.
    Raw().NagRepeatType() = Months;
    Raw().NagRepeatTime() = 1;
    Raw().NextEventTime() = LocalTime(2001, 1, 31, 10);
    fEvent->IncrementNag();
    EXPECT_EQ(fEvent->GetNextEventTime(), LocalTime(2001, 3, 3, 10));
}

TEST_F(EventDeliveryTest, DeletedOnceDeliveredAfterItsEditorCloses)
{
    EditorWindow window;
    sWindow = &window;
    SetEventWindowFactory([](Event* event) -> EventWindowPort* {
        sWindow->event = event;
        return sWindow;
    });
    Raw().ActualEventTime() = Raw().NextEventTime() = Raw().EventTime() = kNow;
    Raw().DeleteOnceDelivered() = true;

    // Not deletable: it stays and is done with.
    Raw().Deletable() = false;
    Deliver();
    EXPECT_EQ(fOwner.removed, 0);
    EXPECT_EQ(fEvent->GetStatus(), DoneWithEvent);

    Raw().Deletable() = true;
    Raw().Status() = WaitingForEvent;
    fEvent->OpenWindow();
    fApp.posted.clear();
    fOwner.ResetCounts();
    Deliver();
    EXPECT_EQ(fOwner.removed, 1);
    EXPECT_EQ(fOwner.lastRemoved, fEvent);
    EXPECT_FALSE(window.quitWithSetLocked);
    EXPECT_GE(fOwner.setModified, 1);
    EXPECT_EQ(fApp.posted, std::vector<uint32_t>{kDeliveryStepDone});
    fEvent = nullptr;  // gone
}

TEST_F(EventDeliveryTest, AnEditDuringThePrewarningIsNotSteppedOver)
{
    Raw().Status() = WaitingForPrewarning;
    Raw().ApplyPrewarn() = true;
    Raw().PrewarnTime() = 1;
    Raw().PrewarnType() = Hours;
    Raw().NextEventTime() = kNow;
    Raw().DeleteOnceDelivered() = true;
    fPort.whileOpen = [this] { fEvent->SetApplyPrewarn(false); };
    fPort.Answer(0);  // No more prewarnings, for the prewarning the edit removed
    Deliver();
    EXPECT_EQ(fOwner.removed, 0);
    EXPECT_EQ(fEvent->GetStatus(), WaitingForEvent);
    EXPECT_EQ(fEvent->GetNextEventTime(), kNow + kHour);
    EXPECT_FALSE(fEvent->GetSkipPrewarn());
    EXPECT_TRUE(fHandler->missedFlags.empty());
}

TEST_F(EventDeliveryTest, DoneWithEventDeliversNothing)
{
    Raw().Status() = DoneWithEvent;
    Raw().ActualEventTime() = kNow - kDay;
    Deliver(true);
    EXPECT_TRUE(fHandler->missedFlags.empty());
    EXPECT_EQ(fPort.CountShown(), 0u);
    EXPECT_EQ(fApp.posted, std::vector<uint32_t>{kDeliveryStepDone});
}

TEST(NagOrPrewarnMessageTest, Texts)
{
    ScopedTimeZone zone("UTC");
    const int32_t friday = LocalTime(2001, 1, 5);
    struct Case {
        int64_t now;
        char kind;
        int32_t time;
        bool withTime;
        const char* message;
        const char* expected;
    };
    const Case cases[] = {
        {friday + 9 * kHour, 0, friday + 15 * kHour + 5 * kMinute, true, "Bring the card",
         "The event \"Dentist\" will occur at 3:05 PM today.\n\nBring the card"},
        {friday + 3 * kDay, 1, friday, false, nullptr,
         "The event \"Dentist\" occurred on Friday, January 5,  2001.\n\n"},
        {friday, 0, friday + 30 * kMinute, true, nullptr,
         "The event \"Dentist\" will occur at 12:30 AM today.\n\n"},
        {friday, 1, friday + 12 * kHour, true, "", "The event \"Dentist\" occurred at 12:00 PM today.\n\n"},
    };
    for (const Case& c : cases) {
        ScopedClock clock(c.now);
        char* text = GetNagOrPrewarnMessage(c.kind, "Dentist", c.time, c.withTime, c.message);
        EXPECT_STREQ(text, c.expected);
        delete[] text;
    }

    // "today" goes by day numbers of the raw time: ten hours east of UTC,
    // 1:00 on Saturday local time is still the day number of Friday 23:00.
    ScopedTimeZone east("Etc/GMT-10");
    ScopedClock clock(friday + 13 * kHour);
    char* text = GetNagOrPrewarnMessage(0, "Dentist", friday + 15 * kHour, true, nullptr);
    EXPECT_STREQ(text, "The event \"Dentist\" will occur at 1:00 AM today.\n\n");
    delete[] text;
}

}  // namespace
