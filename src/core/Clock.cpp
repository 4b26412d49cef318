#include "core/Clock.h"

#include <ctime>

namespace {
SystemClock sSystemClock;
std::atomic<const Clock*> sClock{&sSystemClock};
thread_local const Clock* tThreadClock = nullptr;
}

int64_t SystemClock::Now() const
{
    // Not time(): it reads the coarse clock, which can still show the
    // previous second for some milliseconds after CLOCK_REALTIME passed
    // it, so that a wake-up timer on CLOCK_REALTIME would ring "early".
    timespec now;
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0)
        return static_cast<int64_t>(::time(nullptr));
    return static_cast<int64_t>(now.tv_sec);
}

const Clock& CurrentClock()
{
    if (tThreadClock != nullptr)
        return *tThreadClock;
    return *sClock.load();
}

void SetClock(const Clock* clock)
{
    sClock.store(clock ? clock : &sSystemClock);
}

int32_t CurrentTime()
{
    return static_cast<int32_t>(CurrentClock().Now());
}

ScopedThreadClock::ScopedThreadClock(int64_t now) : fClock(now), fPrevious(tThreadClock)
{
    tThreadClock = &fClock;
}

ScopedThreadClock::~ScopedThreadClock()
{
    tThreadClock = fPrevious;
}
