// What an event needs of the set that holds it. The event set implements
// it; tests may use a small owner of their own.
#pragma once

#include "calvorin/Locker.h"

class Event;

class EventOwner : public Locker {
public:
    explicit EventOwner(const char* lockName = "EventSet") : Locker(lockName) {}
    ~EventOwner() override = default;

    // The event changed: recompute the next event, refresh its row,
    // mark the set modified and reschedule delivery.
    virtual void EventModified(Event* event) = 0;
    // Marks the set modified.
    virtual void SetModified() = 0;
    // Takes the event out of the set's list without deleting it.
    virtual void RemoveEvent(Event* event) = 0;
    // The set's full file name (for messages); may be null.
    virtual const char* GetFileName() const = 0;
};
