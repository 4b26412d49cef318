// The companion's alarm clock: armed for one absolute wake-up time, watched
// through a file descriptor in the companion's event loop.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"

class WakeUpTimer {
public:
    enum class Event { kNone, kExpired, kClockChanged };

    virtual ~WakeUpTimer() = default;
    virtual int FileDescriptor() const = 0;
    // Rings at when (seconds since the epoch); a time already past rings at
    // once. Replaces any earlier time.
    virtual status_t Arm(int64_t when) = 0;
    virtual void Disarm() = 0;
    // What happened, once the descriptor is readable. kClockChanged: the
    // system clock was set, and the timer needs arming again.
    virtual Event Read() = 0;
};
