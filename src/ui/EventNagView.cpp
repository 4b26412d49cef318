#include "ui/EventNagView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>

#include "calvorin/Event.h"
#include "core/Message.h"
#include "handlers/EventLock.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NagTextView.h"
#include "ui/NumberField.h"

EventNagView::EventNagView(Event* event, QWidget* parent) : ReminderTabView(event, parent)
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

    QGridLayout* grid = LayOut(4);
    grid->addWidget(fEveryLabel, 1, 1);
    grid->addWidget(fEveryField, 1, 2);
    grid->addWidget(fEveryUnit, 1, 3);

    Refresh();

    SendOnClick(fApplyBox, kApplyNagMsg);
    SendOnCommit(fEveryField, kNagRepeatTimeMsg);
    SendOnChoice(fEveryUnit, kNagRepeatTypeMsg);

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
        case kNagRepeatTimeMsg:
            CommitNumber(fEveryField, &Event::SetNagRepeatTime, &Event::GetNagRepeatTime);
            return;
        case kNagRepeatTypeMsg: {
            TimeIntervalType unit;
            if (!FindUnit(message, &unit))
                return;
            EventLock lock(fEvent);
            fEvent->SetNagRepeatType(unit);
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
    SetMessageEnabled(apply);
}
