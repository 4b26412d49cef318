#include "ui/MessageEditView.h"

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "handlers/MessageDataHandler.h"

MessageEditView::MessageEditView(MessageDataHandler* data, QWidget* parent)
    : QPlainTextEdit(parent), fData(data)
{
    setObjectName("MessageEditView");
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setTabChangesFocus(true);
    setPlaceholderText(tr("The message shown when the event occurs"));
    {
        EventLock lock(fData->GetAttachedTo());
        const char* message = fData->GetMessage();
        setPlainText(QString::fromUtf8(message != nullptr ? message : ""));
    }
    connect(this, &QPlainTextEdit::textChanged, this, &MessageEditView::StoreChange);
}

QWidget* MessageEditView::Make(MessageDataHandler* data, Rect)
{
    return new MessageEditView(data);
}

void MessageEditView::StoreChange()
{
    const QByteArray text = toPlainText().toUtf8();
    Event* event = fData->GetAttachedTo();
    EventLock lock(event);
    fData->SetMessage(text.constData());
    event->SetModified();
}
