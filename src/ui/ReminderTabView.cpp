#include "ui/ReminderTabView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "core/Message.h"
#include "handlers/EventLock.h"
#include "ui/EditorLabels.h"
#include "ui/EventTextView.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NumberField.h"

ReminderTabView::ReminderTabView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event) {}

void ReminderTabView::SendOnClick(QCheckBox* box, uint32_t what)
{
    connect(box, &QCheckBox::clicked, this, [this, what] { MessageReceived(Message(what)); });
}

void ReminderTabView::SendOnCommit(NumberField* field, uint32_t what)
{
    connect(field, &NumberField::Committed, this, [this, what] { MessageReceived(Message(what)); });
}

void ReminderTabView::SendOnChoice(IntervalUnitMenu* menu, uint32_t what)
{
    connect(menu, &QComboBox::activated, this, [this, menu, what](int index) {
        Message message(what);
        message.AddInt32("Type", int32_t(menu->UnitAt(index)));
        MessageReceived(message);
    });
}

void ReminderTabView::CommitNumber(NumberField* field, void (Event::*set)(unsigned long),
                                   uint32_t (Event::*get)() const)
{
    uint32_t value = 0;
    EventLock lock(fEvent);
    if (NumberField::ParseValue(field->text(), &value))
        (fEvent->*set)(value);
    field->SetValue((fEvent->*get)());
}

bool ReminderTabView::FindUnit(const Message& message, TimeIntervalType* unit)
{
    int32_t value = 0;
    if (message.FindInt32("Type", &value) != B_OK || value < Months || value > Minutes)
        return false;
    *unit = TimeIntervalType(value);
    return true;
}

QGridLayout* ReminderTabView::LayOut(int columns)
{
    auto* grid = new QGridLayout;
    grid->setColumnMinimumWidth(0, 20);
    grid->addWidget(fApplyBox, 0, 0, 1, columns);
    grid->setColumnStretch(columns, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(6);
    layout->addWidget(fMessageLabel);
    layout->addWidget(fText, 1);
    return grid;
}

void ReminderTabView::SetMessageEnabled(bool enabled)
{
    SetLabelEnabled(fMessageLabel, enabled);
    fText->SetEditable(enabled);
}
