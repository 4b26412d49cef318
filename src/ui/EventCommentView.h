// The "Comment" tab of the event editor: free text kept with the event.
#pragma once

#include <QWidget>

class CommentTextView;
class Event;

class EventCommentView : public QWidget {
    Q_OBJECT

public:
    EventCommentView(Event* event, QWidget* parent = nullptr);
    void Refresh();

private:
    Event* fEvent;
    CommentTextView* fText;
};
