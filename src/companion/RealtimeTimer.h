// The wake-up timer on the system clock: an absolute timerfd on
// CLOCK_REALTIME, so that a time passed during suspend rings on resume and
// a change of the clock is reported.
#pragma once

#include "companion/WakeUpTimer.h"

class RealtimeTimer : public WakeUpTimer {
public:
    RealtimeTimer();
    ~RealtimeTimer() override;
    RealtimeTimer(const RealtimeTimer&) = delete;
    RealtimeTimer& operator=(const RealtimeTimer&) = delete;

    bool IsValid() const { return fFd >= 0; }
    int FileDescriptor() const override { return fFd; }
    status_t Arm(int64_t when) override;
    void Disarm() override;
    Event Read() override;

private:
    int fFd;
};
