// The text view bound to the nagging message.
#pragma once

#include "calvorin/Event.h"
#include "ui/EventTextView.h"

class NagTextView : public EventTextView {
    Q_OBJECT

public:
    explicit NagTextView(Event* event, QWidget* parent = nullptr)
        : EventTextView(event, &Event::SetNagMessage, parent)
    {
    }
};
