#include "companion/RealtimeTimer.h"

#include <cerrno>
#include <sys/timerfd.h>
#include <unistd.h>

RealtimeTimer::RealtimeTimer()
    : fFd(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK))
{
}

RealtimeTimer::~RealtimeTimer()
{
    if (fFd >= 0)
        close(fFd);
}

status_t RealtimeTimer::Arm(int64_t when)
{
    itimerspec timerSpec = {};
    timerSpec.it_value.tv_sec = when;
    // A zero time would disarm the timer; the epoch itself is long past.
    if (when <= 0) {
        timerSpec.it_value.tv_sec = 0;
        timerSpec.it_value.tv_nsec = 1;
    }
    return timerfd_settime(fFd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &timerSpec, nullptr) == 0
               ? B_OK
               : B_ERROR;
}

void RealtimeTimer::Disarm()
{
    itimerspec timerSpec = {};
    timerfd_settime(fFd, 0, &timerSpec, nullptr);
}

WakeUpTimer::Event RealtimeTimer::Read()
{
    uint64_t expirations = 0;
    ssize_t got;
    do {
        got = read(fFd, &expirations, sizeof(expirations));
    } while (got < 0 && errno == EINTR);
    if (got == sizeof(expirations))
        return Event::kExpired;
    if (got < 0 && errno == ECANCELED)
        return Event::kClockChanged;
    return Event::kNone;
}
