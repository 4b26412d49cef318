// A date typed as text, with a calendar pop-up beside it. Typed text goes
// through the program's date parser when committed; text that is not
// understood stays in the field, is flagged below it and changes nothing.
#pragma once

#include <QDate>
#include <QWidget>

#include <cstdint>

class QCalendarWidget;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

class DateField : public QWidget {
    Q_OBJECT

public:
    explicit DateField(QWidget* parent = nullptr);

    // Shows the time as the program writes dates (with the time of day when
    // withTime) and clears any complaint.
    void ShowTime(int32_t time, bool withTime);
    QLineEdit* LineEdit() const { return fText; }
    QToolButton* CalendarButton() const { return fCalendarButton; }
    QCalendarWidget* Calendar() const { return fCalendar; }
    // The complaint shown under the field ("" when the text was understood).
    QString Feedback() const;

    // Local midnight of a calendar date.
    static int32_t Midnight(const QDate& date);

signals:
    // Typed text that was understood: the instant and whether the text
    // named a time of day.
    void DateTyped(int32_t time, bool hasTime);
    // A day chosen in the calendar.
    void DatePicked(const QDate& date);

private:
    void Commit();
    void ShowCalendar();

    QLineEdit* fText;
    QToolButton* fCalendarButton;
    QMenu* fCalendarMenu;
    QCalendarWidget* fCalendar;
    QLabel* fFeedback;
    QString fShown;  // the text last shown for the stored time
    int32_t fTime = 0;
};
