#include "core/Clock.h"

#include <ctime>

namespace {
SystemClock sSystemClock;
std::atomic<const Clock*> sClock{&sSystemClock};
thread_local const Clock* tThreadClock = nullptr;
}

int64_t SystemClock::Now() const
{
    return static_cast<int64_t>(::time(nullptr));
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
