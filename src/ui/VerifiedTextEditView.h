// The shared part of the "Command" and "Act on file" handlers' edit views:
// the check box that asks the user before acting. Toggling it stores the
// flag without marking the event modified.
#pragma once

#include <QWidget>

#include <cstdint>

class QCheckBox;
class VerifiedTextHandler;

class VerifiedTextEditView : public QWidget {
    Q_OBJECT

public:
    static constexpr uint32_t kVerifyChangedMsg = 0x43;

    // Handles the view's commands, kVerifyChangedMsg among them.
    virtual void MessageReceived(uint32_t what) = 0;

protected:
    VerifiedTextEditView(VerifiedTextHandler* data, QWidget* parent);

    // Makes the check box "VerifyBox", checked when verify is set; a click
    // sends kVerifyChangedMsg.
    void MakeVerifyBox(const QString& label);
    // Stores whether the box is on (kVerifyChangedMsg).
    void StoreVerify();

    QCheckBox* fVerifyBox = nullptr;

private:
    VerifiedTextHandler* fVerifiedData;
};
