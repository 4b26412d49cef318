// Where "now" comes from. Everything that asks for the current time goes
// through CurrentTime(), so tests (and calvorinctl --now) can set the clock.
#pragma once

#include <atomic>
#include <cstdint>

class Clock {
public:
    virtual ~Clock() = default;
    // Seconds since the epoch.
    virtual int64_t Now() const = 0;
};

// The system clock.
class SystemClock : public Clock {
public:
    int64_t Now() const override;
};

// A clock that stands still until told otherwise.
class FixedClock : public Clock {
public:
    explicit FixedClock(int64_t now = 0) : fNow(now) {}
    int64_t Now() const override { return fNow.load(); }
    void Set(int64_t now) { fNow.store(now); }
    void Advance(int64_t seconds) { fNow.fetch_add(seconds); }

private:
    std::atomic<int64_t> fNow;
};

// The clock in use; the system clock unless SetClock() installed another.
const Clock& CurrentClock();
// Installs a clock (not owned); nullptr goes back to the system clock.
void SetClock(const Clock* clock);
// The current time as the 32-bit seconds that events store.
int32_t CurrentTime();

// Installs a fixed clock for the calling thread only, for the lifetime of a
// scope; other threads keep the process's clock. Lets the editor work out
// an event's coming occurrences at other times without moving "now" for
// anyone else.
class ScopedThreadClock {
public:
    explicit ScopedThreadClock(int64_t now);
    ~ScopedThreadClock();
    ScopedThreadClock(const ScopedThreadClock&) = delete;
    ScopedThreadClock& operator=(const ScopedThreadClock&) = delete;
    void Set(int64_t now) { fClock.Set(now); }

private:
    FixedClock fClock;
    const Clock* fPrevious;
};

// Installs a fixed clock for the lifetime of a scope (tests).
class ScopedClock {
public:
    explicit ScopedClock(int64_t now) : fClock(now) { SetClock(&fClock); }
    ~ScopedClock() { SetClock(nullptr); }
    FixedClock& Get() { return fClock; }

private:
    FixedClock fClock;
};
