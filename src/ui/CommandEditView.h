// The "Command" handler's edit view: the shell command line and whether to
// ask the user before running it.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"
#include "ui/VerifiedTextEditView.h"

class CommandDataHandler;
class QLineEdit;

class CommandEditView : public VerifiedTextEditView {
    Q_OBJECT

public:
    static constexpr uint32_t kCommandChangedMsg = 0x41;

    CommandEditView(CommandDataHandler* data, QWidget* parent = nullptr);

    static QWidget* Make(CommandDataHandler* data, Rect frame);

    // 0x41 stores the field's text (and so marks the event modified); 0x43
    // stores the check box alone, which does not.
    void MessageReceived(uint32_t what) override;

private:
    CommandDataHandler* fData;
    QLineEdit* fCommandField;
};
