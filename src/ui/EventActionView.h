// The "Action" tab of the event editor: which handler acts when the event
// occurs, the frame that holds that handler's edit view, and the delivery
// choices "Deliver even if missed" and "Delete once delivered".
#pragma once

#include <QWidget>

#include "calvorin/SupportDefs.h"

class Event;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QVBoxLayout;

class EventActionView : public QWidget {
    Q_OBJECT

public:
    EventActionView(Event* event, QWidget* parent = nullptr);

    // The action frame, in this view's coordinates.
    Rect GetEditFrame() const;
    // Puts a handler's edit view into the action frame.
    void AttachEditView(QWidget* view);
    // The handler's edit view now in the frame, if any.
    QWidget* CurrentEditView() const;
    void Refresh();

private:
    void SelectHandler(int index);
    void UpdatePlaceholder(QObject* gone);

    Event* fEvent;
    QComboBox* fHandlerMenu;
    QFrame* fActionFrame;
    QVBoxLayout* fFrameLayout;
    QLabel* fPlaceholder;
    QCheckBox* fDeliverIfMissedBox;
    QCheckBox* fDeleteOnceDeliveredBox;
};
