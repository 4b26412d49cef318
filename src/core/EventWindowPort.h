// What the event core needs of an event's editor window. The UI implements
// it; the core never touches a widget. Windows are made through a factory
// that the application installs (none in tools and tests).
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"

class Event;
class EventAddOnData;
class QWidget;

class EventWindowPort {
public:
    virtual ~EventWindowPort() = default;

    // Posts a command code to the window (45 times changed, 55 icon changed).
    virtual void PostCommand(uint32_t what) = 0;
    // Redraw the status line (the event's active flag changed).
    virtual void StatusChanged() = 0;
    // Redraw the whole event view.
    virtual void InvalidateEventView() = 0;
    // The frame, in the action view's coordinates, for a handler's edit view.
    virtual Rect GetEditFrame() = 0;
    // Adds a handler's edit view to the action view.
    virtual void AttachEditView(QWidget* view) = 0;
    // Brings the window to the front.
    virtual void Activate() = 0;
    // Closes the window (it tells the event through Event::WindowClosed).
    virtual void Quit() = 0;
};

using EventWindowFactory = EventWindowPort* (*)(Event* event);
// Installs the factory that Event::OpenWindow uses; null disables windows.
void SetEventWindowFactory(EventWindowFactory factory);
EventWindowFactory GetEventWindowFactory();
