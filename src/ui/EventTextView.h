// A multi-line, wrapping text view bound to one text of an event: every
// change of the text is stored at once (StoreChange) with the event's setter
// of that text, under the set's lock.
#pragma once

#include <QPlainTextEdit>

class Event;

class EventTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    // The setter that stores the text, such as &Event::SetComment.
    using TextSetter = void (Event::*)(const char* text);

    EventTextView(Event* event, TextSetter setter, QWidget* parent = nullptr);

    // Shows the text (null as empty) without storing it back; the cursor
    // stays where it is when the text is already the same.
    void ShowText(const char* text);
    // Editable and selectable, or neither (greyed).
    void SetEditable(bool editable);

protected:
    // Stores the whole text into the event.
    void StoreChange();

private:
    Event* fEvent;
    TextSetter fSetter;
};
