// A multi-line, wrapping text view bound to one text of an event: every
// change of the text is stored at once (StoreChange), under the set's lock.
#pragma once

#include <QPlainTextEdit>

class Event;

class EventTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    EventTextView(Event* event, QWidget* parent = nullptr);

    // Shows the text (null as empty) without storing it back; the cursor
    // stays where it is when the text is already the same.
    void ShowText(const char* text);
    // Editable and selectable, or neither (greyed).
    void SetEditable(bool editable);

protected:
    // Stores the whole text into the event.
    virtual void StoreChange() = 0;
    Event* GetEvent() const { return fEvent; }

private:
    Event* fEvent;
};
