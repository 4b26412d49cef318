// The "Nagging" tab of the event editor: whether reminders follow the event,
// how often, and their message. Every control writes straight into the event.
#pragma once

#include <QWidget>

#include <cstdint>

class Event;
class IntervalUnitMenu;
class Message;
class NagTextView;
class NumberField;
class QCheckBox;
class QLabel;

class EventNagView : public QWidget {
    Q_OBJECT

public:
    static constexpr uint32_t kApplyNagMsg = 52;
    static constexpr uint32_t kNagRepeatTimeMsg = 53;
    static constexpr uint32_t kNagRepeatTypeMsg = 54;

    EventNagView(Event* event, QWidget* parent = nullptr);

    void MessageReceived(const Message& message);
    void CheckEnableStates();
    void Refresh();

private:
    Event* fEvent;
    QCheckBox* fApplyBox;
    QLabel* fEveryLabel;
    NumberField* fEveryField;
    IntervalUnitMenu* fEveryUnit;
    QLabel* fMessageLabel;
    NagTextView* fText;
    bool fGroupEnabled = true;
};
