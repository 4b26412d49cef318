#include "ui/EventTextView.h"

#include <QPalette>

#include "calvorin/Event.h"
#include "handlers/EventLock.h"

EventTextView::EventTextView(Event* event, TextSetter setter, QWidget* parent)
    : QPlainTextEdit(parent), fEvent(event), fSetter(setter)
{
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabChangesFocus(true);
    connect(this, &QPlainTextEdit::textChanged, this, [this] { StoreChange(); });
}

void EventTextView::ShowText(const char* text)
{
    const QString wanted = QString::fromUtf8(text != nullptr ? text : "");
    if (toPlainText() == wanted)
        return;
    const bool blocked = blockSignals(true);
    setPlainText(wanted);
    blockSignals(blocked);
}

void EventTextView::SetEditable(bool editable)
{
    setReadOnly(!editable);
    setTextInteractionFlags(editable ? Qt::TextEditorInteraction : Qt::NoTextInteraction);
    QPalette colours = palette();
    colours.setColor(QPalette::Text, editable ? QPalette().color(QPalette::Text) : QColor(152, 152, 152));
    setPalette(colours);
}

void EventTextView::StoreChange()
{
    const QByteArray text = toPlainText().toUtf8();
    EventLock lock(fEvent);
    (fEvent->*fSetter)(text.constData());
}
