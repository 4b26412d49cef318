#include "ui/EventHeaderView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QToolButton>

#include "calvorin/Event.h"
#include "core/TimeText.h"
#include "handlers/EventLock.h"
#include "ui/IconPalette.h"

namespace {

QString TimeText(int32_t time, bool withTime)
{
    char buffer[kDateTimeStringSize];
    GetDateTimeString(time, withTime, buffer);
    return QString::fromUtf8(buffer);
}

}  // namespace

EventHeaderView::EventHeaderView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
{
    fIconButton = new QToolButton(this);
    fIconButton->setObjectName("IconButton");
    fIconButton->setIconSize(QSize(32, 32));
    fIconButton->setFixedSize(44, 44);
    fIconButton->setAutoRaise(true);
    fIconButton->setToolTip(tr("Choose the event's icon"));
    fNameField = new QLineEdit(this);
    fNameField->setObjectName("NameField");
    QFont bigger = fNameField->font();
    bigger.setPointSizeF(bigger.pointSizeF() * 1.15);
    bigger.setBold(true);
    fNameField->setFont(bigger);
    fActiveBox = new QCheckBox(tr("Active"), this);
    fActiveBox->setObjectName("ActiveBox");
    fEventTime = new QLabel(this);
    fEventTime->setObjectName("EventTimeText");
    fNextTime = new QLabel(this);
    fNextTime->setObjectName("NextTimeText");
    fStatus = new QLabel(this);
    fStatus->setObjectName("StatusText");

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(8, 8, 8, 4);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    grid->addWidget(fIconButton, 0, 0, 4, 1, Qt::AlignTop);
    auto* nameRow = new QHBoxLayout;
    nameRow->addWidget(fNameField, 1);
    nameRow->addSpacing(8);
    nameRow->addWidget(fActiveBox);
    grid->addLayout(nameRow, 0, 1, 1, 2);
    auto addLine = [&](int row, const QString& caption, QLabel* value) {
        auto* label = new QLabel(caption, this);
        label->setForegroundRole(QPalette::PlaceholderText);
        grid->addWidget(label, row, 1);
        grid->addWidget(value, row, 2);
    };
    addLine(1, tr("Event time:"), fEventTime);
    addLine(2, tr("Next message time:"), fNextTime);
    addLine(3, tr("Status:"), fStatus);
    grid->setColumnStretch(2, 1);

    Refresh();

    connect(fIconButton, &QToolButton::clicked, this, &EventHeaderView::IconButtonClicked);
    connect(fNameField, &QLineEdit::editingFinished, this, &EventHeaderView::StoreName);
    connect(fActiveBox, &QCheckBox::clicked, this, [this](bool active) {
        {
            EventLock lock(fEvent);
            fEvent->SetActive(active);
        }
        RefreshStatus();
    });
}

void EventHeaderView::Refresh()
{
    {
        EventLock lock(fEvent);
        const QString name = QString::fromUtf8(fEvent->GetName() != nullptr ? fEvent->GetName() : "");
        if (fNameField->text() != name)
            fNameField->setText(name);
    }
    RefreshTimes();
    RefreshStatus();
    RefreshIcon();
}

void EventHeaderView::RefreshTimes()
{
    EventLock lock(fEvent);
    fEventTime->setText(TimeText(fEvent->GetActualEventTime(), fEvent->GetApplyTime()));
    fNextTime->setText(TimeText(fEvent->GetNextEventTime(), fEvent->GetApplyTime()));
}

void EventHeaderView::RefreshStatus()
{
    EventLock lock(fEvent);
    const EventStatus status = fEvent->GetStatus();
    const bool active = fEvent->GetActive();
    fActiveBox->setChecked(active);
    fStatus->setText(QString::fromUtf8(active && status >= WaitingForPrewarning && status <= DoneWithEvent
                                           ? StatusMessages[status]
                                           : InactiveStatusText));
}

void EventHeaderView::RefreshIcon()
{
    QPixmap pixmap;
    {
        EventLock lock(fEvent);
        const IconBitmap* large = nullptr;
        const IconBitmap* mini = nullptr;
        fEvent->GetIcon(&large, &mini);
        if (large != nullptr)
            pixmap = IconPalette::ToPixmap(*large);
    }
    if (pixmap.isNull()) {
        // No icon: an empty dashed square says that one can be chosen.
        pixmap = QPixmap(32, 32);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setPen(QPen(palette().color(QPalette::Mid), 1, Qt::DashLine));
        painter.drawRect(QRectF(2.5, 2.5, 27, 27));
    }
    fIconButton->setIcon(QIcon(pixmap));
}

void EventHeaderView::StoreName()
{
    const QString name = fNameField->text();
    const QByteArray bytes = name.toUtf8();
    {
        EventLock lock(fEvent);
        const char* current = fEvent->GetName();
        // An event always has a name: an emptied field gets the name back.
        if (name.trimmed().isEmpty()) {
            fNameField->setText(QString::fromUtf8(current != nullptr ? current : ""));
            return;
        }
        if (bytes == QByteArray(current != nullptr ? current : ""))
            return;
        fEvent->SetName(bytes.constData());
    }
    emit NameChanged(name);
}
