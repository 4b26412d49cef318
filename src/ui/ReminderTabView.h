// The shared part of the "Prewarning" and "Nagging" tabs of the event
// editor: a switch, intervals of a number and a time unit, and a message.
// Every control sends its command to MessageReceived, which writes straight
// into the event.
#pragma once

#include <QWidget>

#include <cstdint>

#include "calvorin/Event.h"

class EventTextView;
class IntervalUnitMenu;
class Message;
class NumberField;
class QCheckBox;
class QGridLayout;
class QLabel;

class ReminderTabView : public QWidget {
    Q_OBJECT

public:
    // Handles the tab's commands (the unit menus carry the unit in "Type").
    virtual void MessageReceived(const Message& message) = 0;

protected:
    ReminderTabView(Event* event, QWidget* parent);

    // The controls send their commands: a box when clicked, a number field
    // when committed, a unit menu when a unit is chosen.
    void SendOnClick(QCheckBox* box, uint32_t what);
    void SendOnCommit(NumberField* field, uint32_t what);
    void SendOnChoice(IntervalUnitMenu* menu, uint32_t what);

    // Stores the field's number with set when it is 1 or more. The field
    // then shows the event's value (get): a refused value gives way to the
    // event's own, an accepted one is shown as stored.
    void CommitNumber(NumberField* field, void (Event::*set)(unsigned long),
                      uint32_t (Event::*get)() const);
    // The unit that a unit menu's command carries; false when there is none
    // or it is not a unit.
    static bool FindUnit(const Message& message, TimeIntervalType* unit);

    // Lays the tab out: the apply box across the first row of a grid of
    // `columns` columns (after an indent), then the message label and text.
    // The tab adds its interval lines to the grid it returns.
    QGridLayout* LayOut(int columns);
    // The message label greyed, and the text neither editable nor
    // selectable, when off.
    void SetMessageEnabled(bool enabled);

    Event* fEvent;
    QCheckBox* fApplyBox = nullptr;
    QLabel* fMessageLabel = nullptr;
    EventTextView* fText = nullptr;
};
