// The "Nagging" tab of the event editor: whether reminders follow the event,
// how often, and their message. Every control writes straight into the event.
#pragma once

#include <cstdint>

#include "ui/ReminderTabView.h"

class EventNagView : public ReminderTabView {
    Q_OBJECT

public:
    static constexpr uint32_t kApplyNagMsg = 52;
    static constexpr uint32_t kNagRepeatTimeMsg = 53;
    static constexpr uint32_t kNagRepeatTypeMsg = 54;

    EventNagView(Event* event, QWidget* parent = nullptr);

    void MessageReceived(const Message& message) override;
    void CheckEnableStates();
    void Refresh();

private:
    QLabel* fEveryLabel;
    NumberField* fEveryField;
    IntervalUnitMenu* fEveryUnit;
    bool fGroupEnabled = true;
};
