// The top of the event editor: the event's icon (a button that opens the
// icon panel), its name, its event and next message times, its status and
// whether it is active.
#pragma once

#include <QWidget>

class Event;
class QCheckBox;
class QLabel;
class QLineEdit;
class QToolButton;

class EventHeaderView : public QWidget {
    Q_OBJECT

public:
    EventHeaderView(Event* event, QWidget* parent = nullptr);

    void Refresh();
    void RefreshTimes();
    void RefreshStatus();
    void RefreshIcon();

signals:
    void IconButtonClicked();
    void NameChanged(const QString& name);

private:
    void StoreName();

    Event* fEvent;
    QToolButton* fIconButton;
    QLineEdit* fNameField;
    QLabel* fEventTime;
    QLabel* fNextTime;
    QLabel* fStatus;
    QCheckBox* fActiveBox;
};
