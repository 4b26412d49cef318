// The text view bound to the event's comment.
#pragma once

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "ui/EventTextView.h"

class CommentTextView : public EventTextView {
    Q_OBJECT

public:
    using EventTextView::EventTextView;

protected:
    void StoreChange() override
    {
        const QByteArray text = toPlainText().toUtf8();
        EventLock lock(GetEvent());
        GetEvent()->SetComment(text.constData());
    }
};
