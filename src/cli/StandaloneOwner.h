// The owner of an event that belongs to no event set: calvorinctl's
// stand-alone events (eval, next). It holds the lock and ignores changes.
#pragma once

#include "calvorin/EventOwner.h"

class StandaloneOwner : public EventOwner {
public:
    StandaloneOwner() : EventOwner("StandaloneEvent") {}

    void EventModified(Event* /*event*/) override {}
    void SetModified() override {}
    void RemoveEvent(Event* /*event*/) override {}
    const char* GetFileName() const override { return nullptr; }
};
