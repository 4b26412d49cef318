#include "ui/DateField.h"

#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWidgetAction>

#include <ctime>

#include "core/TimeText.h"

DateField::DateField(QWidget* parent) : QWidget(parent)
{
    fText = new QLineEdit(this);
    fText->setObjectName("DateText");
    fText->setToolTip(tr("Type a date such as \"Jan 5 2002\", \"2002-01-05\", \"next friday\" or "
                         "\"tomorrow 9am\""));
    fCalendarButton = new QToolButton(this);
    fCalendarButton->setObjectName("CalendarButton");
    fCalendarButton->setText(QStringLiteral("\u25BE"));
    fCalendarButton->setToolTip(tr("Choose the day in a calendar"));
    fCalendarMenu = new QMenu(this);
    fCalendar = new QCalendarWidget(fCalendarMenu);
    fCalendar->setObjectName("Calendar");
    fCalendar->setGridVisible(true);
    fCalendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    auto* action = new QWidgetAction(fCalendarMenu);
    action->setDefaultWidget(fCalendar);
    fCalendarMenu->addAction(action);
    fFeedback = new QLabel(this);
    fFeedback->setObjectName("DateFeedback");
    fFeedback->setWordWrap(true);
    QPalette colours = fFeedback->palette();
    colours.setColor(QPalette::WindowText, QColor(190, 0, 0));
    fFeedback->setPalette(colours);
    fFeedback->hide();

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    row->addWidget(fText, 1);
    row->addWidget(fCalendarButton);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addLayout(row);
    layout->addWidget(fFeedback);

    connect(fText, &QLineEdit::editingFinished, this, &DateField::Commit);
    connect(fCalendarButton, &QToolButton::clicked, this, &DateField::ShowCalendar);
    connect(fCalendar, &QCalendarWidget::clicked, this, [this](QDate date) {
        fCalendarMenu->close();
        emit DatePicked(date);
    });
    connect(fCalendar, &QCalendarWidget::activated, this, [this](QDate date) {
        fCalendarMenu->close();
        emit DatePicked(date);
    });
}

void DateField::ShowTime(int32_t time, bool withTime)
{
    char buffer[kDateTimeStringSize];
    GetDateTimeString(time, withTime, buffer);
    fTime = time;
    fShown = QString::fromUtf8(buffer);
    if (fText->text() != fShown)
        fText->setText(fShown);
    fFeedback->clear();
    fFeedback->hide();
}

QString DateField::Feedback() const
{
    return fFeedback->text();
}

int32_t DateField::Midnight(const QDate& date)
{
    struct tm cal = {};
    cal.tm_year = date.year() - 1900;
    cal.tm_mon = date.month() - 1;
    cal.tm_mday = date.day();
    cal.tm_isdst = -1;
    return int32_t(mktime(&cal));
}

void DateField::Commit()
{
    const QString text = fText->text().trimmed();
    // Leaving the field as it was shown stores nothing.
    if (text == fShown)
        return;
    const QByteArray bytes = text.toUtf8();
    bool hasTime = false;
    const int32_t time = hastimeinfo_parsedate(bytes.constData(), &hasTime);
    if (text.isEmpty() || time == -1) {
        fFeedback->setText(tr("Calvorin does not understand this date. Try for example "
                              "\"Mar 21 2002\", \"2002-03-21\" or \"next friday\"."));
        fFeedback->show();
        return;
    }
    fFeedback->clear();
    fFeedback->hide();
    emit DateTyped(time, hasTime);
}

void DateField::ShowCalendar()
{
    struct tm cal = {};
    Safe_localtime(fTime, &cal);
    fCalendar->setSelectedDate(QDate(cal.tm_year + 1900, cal.tm_mon + 1, cal.tm_mday));
    fCalendarMenu->popup(fCalendarButton->mapToGlobal(QPoint(0, fCalendarButton->height())));
}
