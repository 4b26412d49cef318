// The text view bound to the event's comment.
#pragma once

#include "calvorin/Event.h"
#include "ui/EventTextView.h"

class CommentTextView : public EventTextView {
    Q_OBJECT

public:
    explicit CommentTextView(Event* event, QWidget* parent = nullptr)
        : EventTextView(event, &Event::SetComment, parent)
    {
    }
};
