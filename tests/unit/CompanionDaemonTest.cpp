// CalvorinBackground's logic, driven step by step with a fixed clock and
// a timer that rings on request: one wake-up time, replaced or cleared by
// 'SetE', delivered when it comes (at once when already past), re-checked
// after a clock change; the quit request, signals and status replies.
#include <gtest/gtest.h>

#include <deque>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <thread>
#include <unistd.h>

#include "PlatformTestSupport.h"
#include "companion/CompanionDaemon.h"
#include "companion/CompanionInbox.h"
#include "companion/CompanionProtocol.h"
#include "companion/ListenerInbox.h"
#include "companion/RealtimeTimer.h"
#include "core/Clock.h"
#include "core/Message.h"
#include "platform/Roster.h"
#include "platform/RosterListener.h"

namespace {

// Readable through an eventfd while something is pending.
class Signal {
public:
    Signal() : fFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~Signal() { close(fFd); }
    int Fd() const { return fFd; }
    void Raise()
    {
        uint64_t one = 1;
        ssize_t ignored = write(fFd, &one, sizeof(one));
        (void)ignored;
    }
    void Clear()
    {
        uint64_t value;
        ssize_t ignored = read(fFd, &value, sizeof(value));
        (void)ignored;
    }

private:
    int fFd;
};

class FakeTimer : public WakeUpTimer {
public:
    int FileDescriptor() const override { return fSignal.Fd(); }
    status_t Arm(int64_t when) override
    {
        armedFor = when;
        return B_OK;
    }
    void Disarm() override { armedFor.reset(); }
    Event Read() override
    {
        fSignal.Clear();
        Event event = fPending;
        fPending = Event::kNone;
        return event;
    }
    void Ring(Event event = Event::kExpired)
    {
        fPending = event;
        fSignal.Raise();
    }

    std::optional<int64_t> armedFor;

private:
    Signal fSignal;
    Event fPending = Event::kNone;
};

class QueueInbox : public CompanionInbox {
public:
    int FileDescriptor() const override { return fSignal.Fd(); }
    status_t Receive(Message* message, RosterConnection*) override
    {
        if (fQueue.empty()) {
            fSignal.Clear();
            return B_WOULD_BLOCK;
        }
        *message = fQueue.front();
        fQueue.pop_front();
        return B_OK;
    }
    void Push(const Message& message)
    {
        fQueue.push_back(message);
        fSignal.Raise();
    }

private:
    Signal fSignal;
    std::deque<Message> fQueue;
};

Message NextEvent(std::optional<int32_t> when)
{
    Message message(kNextEventMsg);
    if (when)
        message.AddInt32(kWhenField, *when);
    return message;
}

class CompanionDaemonTest : public ::testing::Test {
protected:
    CompanionDaemonTest() : fClock(1000), fDaemon(fClock, fTimer, fInbox, [this]() { fDeliveries++; })
    {
    }
    void SetUp() override { ASSERT_EQ(fDaemon.Init(), B_OK); }

    void Send(const Message& message)
    {
        fInbox.Push(message);
        EXPECT_TRUE(fDaemon.RunOnce(0));
    }
    // Sets the clock and lets the timer ring.
    void Ring(int64_t now, WakeUpTimer::Event event = WakeUpTimer::Event::kExpired)
    {
        fClock.Set(now);
        fTimer.Ring(event);
        EXPECT_TRUE(fDaemon.RunOnce(0));
    }
    // The time held, the time the timer is armed for, and the deliveries so far.
    void ExpectState(std::optional<int32_t> held, std::optional<int64_t> armed, int deliveries, int line)
    {
        SCOPED_TRACE("state checked at line " + std::to_string(line));
        EXPECT_EQ(fDaemon.WakeUpTime(), held);
        EXPECT_EQ(fTimer.armedFor, armed);
        EXPECT_EQ(fDeliveries, deliveries);
    }

    FixedClock fClock;
    FakeTimer fTimer;
    QueueInbox fInbox;
    int fDeliveries = 0;
    CompanionDaemon fDaemon;
};

#define EXPECT_STATE(held, armed, deliveries) ExpectState(held, armed, deliveries, __LINE__)
const std::nullopt_t kNone = std::nullopt;

TEST_F(CompanionDaemonTest, DeliversWhenTheHeldTimeComes)
{
    Send(NextEvent(1500));
    EXPECT_STATE(1500, 1500, 0);
    Ring(1500);
    // The time is used up until the application hands over the next one.
    EXPECT_STATE(kNone, kNone, 1);
    Ring(1600);
    EXPECT_STATE(kNone, kNone, 1);
}

TEST_F(CompanionDaemonTest, NewTimeReplacesTheOldAndNoneClearsIt)
{
    Send(NextEvent(1500));
    Send(NextEvent(1200));
    EXPECT_STATE(1200, 1200, 0);
    Send(NextEvent(3000));
    EXPECT_STATE(3000, 3000, 0);
    Send(NextEvent(std::nullopt));
    EXPECT_STATE(kNone, kNone, 0);
    // A ring that was already on its way changes nothing.
    Ring(5000);
    EXPECT_STATE(kNone, kNone, 0);
}

TEST_F(CompanionDaemonTest, TimeAlreadyComeIsDeliveredAtOnce)
{
    Send(NextEvent(999));
    EXPECT_STATE(kNone, kNone, 1);
    Send(NextEvent(1000));  // the current second counts as come
    EXPECT_STATE(kNone, kNone, 2);
    Send(NextEvent(1001));
    EXPECT_STATE(1001, 1001, 2);
}

TEST_F(CompanionDaemonTest, ClockChangesAreCheckedAgain)
{
    Send(NextEvent(1500));
    // The clock is set back: nothing is due, the timer is armed again.
    fTimer.armedFor.reset();
    Ring(500, WakeUpTimer::Event::kClockChanged);
    EXPECT_STATE(1500, 1500, 0);
    // A ring before the time (the clock disagrees) delivers nothing.
    Ring(1499);
    EXPECT_STATE(1500, 1500, 0);
    // The clock is set forward past the time: delivered at once.
    Ring(2000, WakeUpTimer::Event::kClockChanged);
    EXPECT_STATE(kNone, kNone, 1);
}

TEST_F(CompanionDaemonTest, StatusTellsTheTimeAndThePid)
{
    Message reply;
    ASSERT_TRUE(fDaemon.HandleMessage(Message(kCompanionStatusMsg), &reply));
    EXPECT_EQ(reply.what, kCompanionStatusMsg);
    EXPECT_FALSE(reply.HasField(kWhenField));
    EXPECT_EQ(reply.GetInt32(kPidField), int32_t(getpid()));

    Send(NextEvent(1700));
    ASSERT_TRUE(fDaemon.HandleMessage(Message(kCompanionStatusMsg), &reply));
    EXPECT_EQ(reply.GetInt32(kWhenField), 1700);
    // Other requests have no reply; unknown ones change nothing.
    EXPECT_FALSE(fDaemon.HandleMessage(NextEvent(1800), &reply));
    EXPECT_FALSE(fDaemon.HandleMessage(Message(kDeliverEventsMsg), &reply));
    Message wrongType(kNextEventMsg);
    wrongType.AddString(kWhenField, "soon");
    Send(wrongType);
    EXPECT_EQ(fDaemon.WakeUpTime(), std::nullopt);
}

TEST_F(CompanionDaemonTest, QuitRequestEndsTheLoop)
{
    Send(NextEvent(1500));
    fInbox.Push(Message(kQuitRequestedMsg));
    fInbox.Push(NextEvent(999));
    EXPECT_FALSE(fDaemon.RunOnce(0));
    EXPECT_TRUE(fDaemon.IsQuitting());
    // Nothing after the quit request is handled.
    EXPECT_EQ(fDeliveries, 0);
    fDaemon.Run();  // returns at once
    EXPECT_FALSE(fDaemon.RunOnce(0));
}

TEST(CompanionDaemonSignalTest, SignalEndsTheLoop)
{
    FixedClock clock(1000);
    FakeTimer timer;
    QueueInbox inbox;
    CompanionDaemon daemon(clock, timer, inbox, []() {});
    // A pipe stands in for the signalfd: one record's worth of bytes.
    int pipeFds[2];
    ASSERT_EQ(pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK), 0);
    ASSERT_EQ(daemon.Init(pipeFds[0]), B_OK);
    EXPECT_TRUE(daemon.RunOnce(0));
    signalfd_siginfo info = {};
    ASSERT_EQ(write(pipeFds[1], &info, sizeof(info)), ssize_t(sizeof(info)));
    EXPECT_FALSE(daemon.RunOnce(1000));
    close(pipeFds[0]);
    close(pipeFds[1]);
}

TEST(RealtimeTimerTest, PastTimeRingsAtOnceAndDisarmStopsIt)
{
    RealtimeTimer timer;
    ASSERT_TRUE(timer.IsValid());
    pollfd entry = {timer.FileDescriptor(), POLLIN, 0};
    ASSERT_EQ(timer.Arm(time(nullptr) - 5), B_OK);
    ASSERT_EQ(poll(&entry, 1, 5000), 1);
    EXPECT_EQ(timer.Read(), WakeUpTimer::Event::kExpired);
    EXPECT_EQ(timer.Read(), WakeUpTimer::Event::kNone);
    // Zero (the epoch) would mean "disarmed" to the system; it rings too.
    ASSERT_EQ(timer.Arm(0), B_OK);
    ASSERT_EQ(poll(&entry, 1, 5000), 1);
    EXPECT_EQ(timer.Read(), WakeUpTimer::Event::kExpired);

    ASSERT_EQ(timer.Arm(time(nullptr) + 3600), B_OK);
    timer.Disarm();
    EXPECT_EQ(poll(&entry, 1, 0), 0);
}

TEST(CompanionOverSocketTest, RequestsArriveThroughTheRoster)
{
    TempFolder folder;
    ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.Path().c_str());
    RosterListener listener;
    ASSERT_EQ(listener.Start(kCompanionSignature), B_OK);
    ListenerInbox inbox(listener);
    FakeTimer timer;
    FixedClock clock(1000);
    CompanionDaemon daemon(clock, timer, inbox, []() {});
    ASSERT_EQ(daemon.Init(), B_OK);

    ASSERT_EQ(Roster::SendMessage(kCompanionSignature, NextEvent(4000)), B_OK);
    ASSERT_TRUE(daemon.RunOnce(5000));
    EXPECT_EQ(daemon.WakeUpTime(), 4000);

    Message reply;
    status_t sent = B_ERROR;
    std::thread client([&]() {
        sent = Roster::SendMessage(kCompanionSignature, Message(kCompanionStatusMsg), &reply);
    });
    ASSERT_TRUE(daemon.RunOnce(5000));
    client.join();
    ASSERT_EQ(sent, B_OK);
    EXPECT_EQ(reply.GetInt32(kWhenField), 4000);

    // A connection that brings no message is dropped, and the loop goes on.
    EXPECT_EQ(Roster::Launch(kCompanionSignature, nullptr), B_ALREADY_RUNNING);
    EXPECT_TRUE(daemon.RunOnce(5000));
    ASSERT_EQ(Roster::SendMessage(kCompanionSignature, Message(kQuitRequestedMsg)), B_OK);
    EXPECT_FALSE(daemon.RunOnce(5000));
}

}  // namespace
