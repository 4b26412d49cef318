#include "ui/EventCommentView.h"

#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "ui/CommentTextView.h"

EventCommentView::EventCommentView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
{
    fText = new CommentTextView(event, this);
    fText->setObjectName("CommentText");
    fText->setPlaceholderText(tr("Notes about this event"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(fText);
    Refresh();
}

void EventCommentView::Refresh()
{
    EventLock lock(fEvent);
    fText->ShowText(fEvent->GetComment());
}
