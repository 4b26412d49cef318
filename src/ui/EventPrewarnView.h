// The "Prewarning" tab of the event editor: whether and how long before the
// event prewarnings come, whether they repeat, and their message. Every
// control writes straight into the event.
#pragma once

#include <cstdint>

#include "ui/ReminderTabView.h"

class EventPrewarnView : public ReminderTabView {
    Q_OBJECT

public:
    // The commands of the tab's controls.
    static constexpr uint32_t kApplyPrewarnMsg = 46;
    static constexpr uint32_t kPrewarnTimeMsg = 47;
    static constexpr uint32_t kPrewarnTypeMsg = 48;
    static constexpr uint32_t kApplyPrewarnRepeatMsg = 49;
    static constexpr uint32_t kPrewarnRepeatTimeMsg = 50;
    static constexpr uint32_t kPrewarnRepeatTypeMsg = 51;

    EventPrewarnView(Event* event, QWidget* parent = nullptr);

    // Handles the commands above (the unit menus carry the unit in "Type").
    void MessageReceived(const Message& message) override;
    // Enables the controls that have an effect in the current settings.
    void CheckEnableStates();
    // Shows the event's current values again.
    void Refresh();

private:
    QLabel* fStartLabel;
    NumberField* fStartField;
    IntervalUnitMenu* fStartUnit;
    QLabel* fAdvanceLabel;
    QCheckBox* fRepeatBox;
    NumberField* fRepeatField;
    IntervalUnitMenu* fRepeatUnit;
    bool fGroup1Enabled = true;  // everything that needs prewarnings on
    bool fGroup2Enabled = true;  // the repeat interval
};
