// The text view bound to the prewarning message.
#pragma once

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "ui/EventTextView.h"

class PrewarnTextView : public EventTextView {
    Q_OBJECT

public:
    using EventTextView::EventTextView;

protected:
    void StoreChange() override
    {
        const QByteArray text = toPlainText().toUtf8();
        EventLock lock(GetEvent());
        GetEvent()->SetPrewarnMessage(text.constData());
    }
};
