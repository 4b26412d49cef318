// What an event set needs of the window that shows it. The UI implements
// it; windows are made through a factory that the application installs.
#pragma once

#include "core/MessageTarget.h"

class Event;
class EventSet;

class EventSetWindowPort : public MessageTarget {
public:
    // The events view: show a new row, re-sort, drop a row. Called by the
    // set on the window's own thread.
    virtual void AddEventToView(Event* event) = 0;
    virtual void SortEvents() = 0;
    virtual void RemoveEventFromView(Event* event) = 0;
    virtual void Activate() = 0;
};

using EventSetWindowFactory = EventSetWindowPort* (*)(EventSet* set);
void SetEventSetWindowFactory(EventSetWindowFactory factory);
EventSetWindowFactory GetEventSetWindowFactory();
