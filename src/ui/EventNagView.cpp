#include "ui/EventNagView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "core/Message.h"
#include "handlers/EventLock.h"
#include "ui/EditorLabels.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NagTextView.h"
#include "ui/NumberField.h"

EventNagView::EventNagView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
{
    fApplyBox = new QCheckBox(tr("Deliver nagging messages"), this);
    fApplyBox->setObjectName("ApplyNag");
    fEveryLabel = new QLabel(tr("Every"), this);
    fEveryField = new NumberField(this);
    fEveryField->setObjectName("NagRepeatTime");
    fEveryLabel->setBuddy(fEveryField);
    fEveryUnit = new IntervalUnitMenu(this);
    fEveryUnit->setObjectName("NagRepeatType");
    fMessageLabel = new QLabel(tr("Nagging message:"), this);
    fMessageLabel->setObjectName("NagMessageLabel");
    fText = new NagTextView(event, this);
    fText->setObjectName("NagText");
    fMessageLabel->setBuddy(fText);

    auto* grid = new QGridLayout;
    grid->setColumnMinimumWidth(0, 20);
    grid->addWidget(fApplyBox, 0, 0, 1, 4);
    grid->addWidget(fEveryLabel, 1, 1);
    grid->addWidget(fEveryField, 1, 2);
    grid->addWidget(fEveryUnit, 1, 3);
    grid->setColumnStretch(4, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(6);
    layout->addWidget(fMessageLabel);
    layout->addWidget(fText, 1);

    Refresh();

    connect(fApplyBox, &QCheckBox::clicked, this, [this] { MessageReceived(Message(kApplyNagMsg)); });
    connect(fEveryField, &NumberField::Committed, this,
            [this] { MessageReceived(Message(kNagRepeatTimeMsg)); });
    connect(fEveryUnit, &QComboBox::activated, this, [this](int index) {
        Message message(kNagRepeatTypeMsg);
        message.AddInt32("Type", int32_t(fEveryUnit->UnitAt(index)));
        MessageReceived(message);
    });

    CheckEnableStates();
}

void EventNagView::Refresh()
{
    EventLock lock(fEvent);
    fApplyBox->setChecked(fEvent->GetApplyNag());
    fEveryField->SetValue(fEvent->GetNagRepeatTime());
    fEveryUnit->SetUnit(fEvent->GetNagRepeatType());
    fText->ShowText(fEvent->GetNagMessage());
}

void EventNagView::MessageReceived(const Message& message)
{
    switch (message.what) {
        case kApplyNagMsg: {
            {
                EventLock lock(fEvent);
                fEvent->SetApplyNag(fApplyBox->isChecked());
            }
            CheckEnableStates();
            return;
        }
        case kNagRepeatTimeMsg: {
            uint32_t value = 0;
            EventLock lock(fEvent);
            if (NumberField::ParseValue(fEveryField->text(), &value))
                fEvent->SetNagRepeatTime(value);
            fEveryField->SetValue(fEvent->GetNagRepeatTime());
            return;
        }
        case kNagRepeatTypeMsg: {
            int32_t unit = 0;
            if (message.FindInt32("Type", &unit) != B_OK || unit < Months || unit > Minutes)
                return;
            EventLock lock(fEvent);
            fEvent->SetNagRepeatType(TimeIntervalType(unit));
            return;
        }
        default:
            return;
    }
}

void EventNagView::CheckEnableStates()
{
    bool apply = false;
    {
        EventLock lock(fEvent);
        apply = fEvent->GetApplyNag();
    }
    if (apply == fGroupEnabled)
        return;
    fGroupEnabled = apply;
    fEveryLabel->setEnabled(apply);
    fEveryField->setEnabled(apply);
    fEveryUnit->setEnabled(apply);
    SetLabelEnabled(fMessageLabel, apply);
    fText->SetEditable(apply);
}
