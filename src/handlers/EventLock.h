// Holds an event's lock (the lock of the set it belongs to) for a scope. An
// event that belongs to no set has no lock to take.
#pragma once

#include "calvorin/Event.h"
#include "calvorin/Locker.h"

class EventLock {
public:
    explicit EventLock(Event* event) : fLock(event->GetProtectionSemaphore())
    {
        if (fLock != nullptr)
            fLock->Lock();
    }
    ~EventLock()
    {
        if (fLock != nullptr)
            fLock->Unlock();
    }
    EventLock(const EventLock&) = delete;
    EventLock& operator=(const EventLock&) = delete;

private:
    Locker* fLock;
};
