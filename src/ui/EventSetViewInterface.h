// How the event set window talks to whichever view of the set's events is
// showing (the event list is the only one so far). All calls come on the
// window's own thread.
#pragma once

class Event;
class QWidget;

class EventSetViewInterface {
public:
    virtual ~EventSetViewInterface() = default;

    virtual void AddEvent(Event* event) = 0;
    // Drops the row; the event itself may be deleted right afterwards.
    virtual void RemoveEvent(Event* event) = 0;
    virtual void EventModified(Event* event) = 0;
    virtual void SortEvents() = 0;
    // The selected event, or null.
    virtual Event* GetSelectedEvent() const = 0;
    virtual void SelectEvent(Event* event) = 0;
    // Shows or hides one of the six list columns.
    virtual void SetColumnShown(int column, bool shown) = 0;
    // The widget that the window puts below its menu bar.
    virtual QWidget* GetWidget() = 0;
};
