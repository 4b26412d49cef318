// The "Message" handler's edit view: a wrapping multi-line text whose every
// change is stored into the handler's message.
#pragma once

#include <QPlainTextEdit>

#include "calvorin/SupportDefs.h"

class MessageDataHandler;

class MessageEditView : public QPlainTextEdit {
    Q_OBJECT

public:
    MessageEditView(MessageDataHandler* data, QWidget* parent = nullptr);

    // The maker installed for MessageDataHandler::CreateEditView.
    static QWidget* Make(MessageDataHandler* data, Rect frame);

private:
    // Stores the whole text, then marks the event modified under its lock.
    void StoreChange();

    MessageDataHandler* fData;
};
