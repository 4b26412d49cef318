#include "companion/CompanionDaemon.h"

#include <cerrno>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "companion/CompanionInbox.h"
#include "companion/CompanionProtocol.h"
#include "companion/WakeUpTimer.h"
#include "core/Clock.h"
#include "core/Message.h"

CompanionDaemon::CompanionDaemon(const Clock& clock, WakeUpTimer& timer, CompanionInbox& inbox,
                                 std::function<void()> deliver)
    : fClock(clock), fTimer(timer), fInbox(inbox), fDeliver(std::move(deliver))
{
}

CompanionDaemon::~CompanionDaemon()
{
    if (fEpollFd >= 0)
        close(fEpollFd);
}

status_t CompanionDaemon::Init(int signalFd)
{
    fEpollFd = epoll_create1(EPOLL_CLOEXEC);
    if (fEpollFd < 0)
        return B_ERROR;
    fSignalFd = signalFd;
    for (int fd : {fInbox.FileDescriptor(), fTimer.FileDescriptor(), fSignalFd}) {
        if (fd < 0)
            continue;
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.fd = fd;
        if (epoll_ctl(fEpollFd, EPOLL_CTL_ADD, fd, &event) != 0)
            return B_ERROR;
    }
    return B_OK;
}

bool CompanionDaemon::HandleMessage(const Message& message, Message* reply)
{
    switch (message.what) {
        case kNextEventMsg: {
            int32_t when;
            if (message.FindInt32(kWhenField, &when) == B_OK)
                SetWakeUpTime(when);
            else
                SetWakeUpTime(std::nullopt);
            return false;
        }
        case kQuitRequestedMsg:
            fQuitting = true;
            return false;
        case kCompanionStatusMsg:
            *reply = Message(kCompanionStatusMsg);
            if (fWhen)
                reply->AddInt32(kWhenField, *fWhen);
            reply->AddInt32(kPidField, int32_t(getpid()));
            return true;
        default:
            return false;
    }
}

void CompanionDaemon::SetWakeUpTime(std::optional<int32_t> when)
{
    fWhen = when;
    Rearm();
}

// Arms the timer for the held time, or delivers at once when that time has
// already come.
void CompanionDaemon::Rearm()
{
    if (!fWhen) {
        fTimer.Disarm();
        return;
    }
    if (*fWhen <= fClock.Now()) {
        Deliver();
        return;
    }
    if (fTimer.Arm(*fWhen) != B_OK)
        Deliver();
}

void CompanionDaemon::Deliver()
{
    // The time is used up; the application hands over the next one.
    fWhen.reset();
    fTimer.Disarm();
    fDeliver();
}

void CompanionDaemon::HandleTimer()
{
    switch (fTimer.Read()) {
        case WakeUpTimer::Event::kExpired:
        case WakeUpTimer::Event::kClockChanged:
            // Either way, compare the held time with the clock again: it
            // has come (deliver) or it lies ahead (arm again).
            Rearm();
            break;
        case WakeUpTimer::Event::kNone:
            break;
    }
}

void CompanionDaemon::HandleInbox()
{
    // Take every waiting request; a bad one costs only itself.
    for (int handled = 0; handled < 64 && !fQuitting; handled++) {
        Message message;
        RosterConnection connection;
        status_t result = fInbox.Receive(&message, &connection);
        if (result == B_WOULD_BLOCK)
            break;
        if (result != B_OK)
            continue;
        Message reply;
        if (HandleMessage(message, &reply))
            connection.SendReply(reply);
    }
}

void CompanionDaemon::HandleSignal()
{
    signalfd_siginfo info;
    ssize_t got = read(fSignalFd, &info, sizeof(info));
    if (got == sizeof(info) || (got < 0 && errno != EAGAIN && errno != EINTR))
        fQuitting = true;
}

bool CompanionDaemon::RunOnce(int timeoutMs)
{
    if (fQuitting)
        return false;
    epoll_event events[4];
    int count = epoll_wait(fEpollFd, events, 4, timeoutMs);
    if (count < 0 && errno != EINTR) {
        fQuitting = true;
        return false;
    }
    for (int i = 0; i < count && !fQuitting; i++) {
        int fd = events[i].data.fd;
        if (fd == fSignalFd)
            HandleSignal();
        else if (fd == fTimer.FileDescriptor())
            HandleTimer();
        else if (fd == fInbox.FileDescriptor())
            HandleInbox();
    }
    return !fQuitting;
}

void CompanionDaemon::Run()
{
    while (RunOnce(-1)) {
    }
}
