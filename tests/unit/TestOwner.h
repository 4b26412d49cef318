// A small event owner for tests: it counts what an event tells its set, and
// makes sure the built-in handlers are registered before events are made.
#pragma once

#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "handlers/HandlerRegistry.h"

class TestOwner : public EventOwner {
public:
    TestOwner() : EventOwner("TestOwner") {}

    void EventModified(Event*) override { ++eventModified; }
    void SetModified() override { ++setModified; }
    void RemoveEvent(Event* event) override
    {
        ++removed;
        lastRemoved = event;
    }
    const char* GetFileName() const override { return nullptr; }

    void ResetCounts()
    {
        eventModified = 0;
        setModified = 0;
        removed = 0;
        lastRemoved = nullptr;
    }

    int eventModified = 0;
    int setModified = 0;
    int removed = 0;
    Event* lastRemoved = nullptr;
};

// Registers the five built-in handlers unless a registry is in place.
inline void EnsureBuiltInHandlers()
{
    if (NumberOfEventHandlers < kFirstAddOnHandler || Function_NewAddOnData == nullptr)
        LoadBuiltInHandlers();
}
