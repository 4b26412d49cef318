// The text view bound to the prewarning message.
#pragma once

#include "calvorin/Event.h"
#include "ui/EventTextView.h"

class PrewarnTextView : public EventTextView {
    Q_OBJECT

public:
    explicit PrewarnTextView(Event* event, QWidget* parent = nullptr)
        : EventTextView(event, &Event::SetPrewarnMessage, parent)
    {
    }
};
