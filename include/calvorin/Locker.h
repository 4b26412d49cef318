// A recursive lock with explicit Lock/Unlock, the lock that every event set
// is (it protects the set and all its events) and that the settings and the
// list of open sets use.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

class Locker {
public:
    explicit Locker(const char* name = "") : fName(name ? name : "") {}
    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;
    virtual ~Locker() = default;

    bool Lock()
    {
        fMutex.lock();
        fOwner.store(std::this_thread::get_id());
        ++fCount;
        return true;
    }
    void Unlock()
    {
        if (--fCount == 0)
            fOwner.store(std::thread::id());
        fMutex.unlock();
    }
    // True when the calling thread holds the lock.
    bool IsLocked() const { return fOwner.load() == std::this_thread::get_id(); }
    // How many times the holder has taken the lock (0 when not held).
    int CountLocks() const { return fCount; }
    const char* Name() const { return fName.c_str(); }

private:
    std::recursive_mutex fMutex;
    std::atomic<std::thread::id> fOwner{};
    int fCount = 0;
    std::string fName;
};

// Holds a Locker for the lifetime of a scope.
class Autolock {
public:
    explicit Autolock(Locker& lock) : fLock(lock) { fLock.Lock(); }
    explicit Autolock(Locker* lock) : fLock(*lock) { fLock.Lock(); }
    ~Autolock() { fLock.Unlock(); }
    Autolock(const Autolock&) = delete;
    Autolock& operator=(const Autolock&) = delete;

private:
    Locker& fLock;
};
