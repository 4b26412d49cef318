#include "ui/EventPrewarnView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>

#include "calvorin/Event.h"
#include "core/Message.h"
#include "handlers/EventLock.h"
#include "ui/EditorLabels.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NumberField.h"
#include "ui/PrewarnTextView.h"

EventPrewarnView::EventPrewarnView(Event* event, QWidget* parent) : ReminderTabView(event, parent)
{
    fApplyBox = new QCheckBox(tr("Deliver prewarning messages"), this);
    fApplyBox->setObjectName("ApplyPrewarn");
    fStartLabel = new QLabel(tr("Start"), this);
    fStartField = new NumberField(this);
    fStartField->setObjectName("PrewarnTime");
    fStartLabel->setBuddy(fStartField);
    fStartUnit = new IntervalUnitMenu(this);
    fStartUnit->setObjectName("PrewarnType");
    fAdvanceLabel = new QLabel(tr("in advance"), this);
    fAdvanceLabel->setObjectName("InAdvance");
    fRepeatBox = new QCheckBox(tr("Repeat every"), this);
    fRepeatBox->setObjectName("ApplyPrewarnRepeat");
    fRepeatField = new NumberField(this);
    fRepeatField->setObjectName("PrewarnRepeatTime");
    fRepeatUnit = new IntervalUnitMenu(this);
    fRepeatUnit->setObjectName("PrewarnRepeatType");
    fMessageLabel = new QLabel(tr("Prewarning message:"), this);
    fMessageLabel->setObjectName("PrewarnMessageLabel");
    fText = new PrewarnTextView(event, this);
    fText->setObjectName("PrewarnText");
    fMessageLabel->setBuddy(fText);

    // The start and the repeat line up: label or box, number, unit.
    QGridLayout* grid = LayOut(5);
    grid->addWidget(fStartLabel, 1, 1);
    grid->addWidget(fStartField, 1, 2);
    grid->addWidget(fStartUnit, 1, 3);
    grid->addWidget(fAdvanceLabel, 1, 4);
    grid->addWidget(fRepeatBox, 2, 1);
    grid->addWidget(fRepeatField, 2, 2);
    grid->addWidget(fRepeatUnit, 2, 3);

    Refresh();

    SendOnClick(fApplyBox, kApplyPrewarnMsg);
    SendOnClick(fRepeatBox, kApplyPrewarnRepeatMsg);
    SendOnCommit(fStartField, kPrewarnTimeMsg);
    SendOnCommit(fRepeatField, kPrewarnRepeatTimeMsg);
    SendOnChoice(fStartUnit, kPrewarnTypeMsg);
    SendOnChoice(fRepeatUnit, kPrewarnRepeatTypeMsg);

    CheckEnableStates();
}

void EventPrewarnView::Refresh()
{
    EventLock lock(fEvent);
    fApplyBox->setChecked(fEvent->GetApplyPrewarn());
    fStartField->SetValue(fEvent->GetPrewarnTime());
    fStartUnit->SetUnit(fEvent->GetPrewarnType());
    fRepeatBox->setChecked(fEvent->GetApplyPrewarnRepeat());
    fRepeatField->SetValue(fEvent->GetPrewarnRepeatTime());
    fRepeatUnit->SetUnit(fEvent->GetPrewarnRepeatType());
    fText->ShowText(fEvent->GetPrewarnMessage());
}

void EventPrewarnView::MessageReceived(const Message& message)
{
    switch (message.what) {
        case kApplyPrewarnMsg: {
            EventLock lock(fEvent);
            fEvent->SetApplyPrewarn(fApplyBox->isChecked());
            break;
        }
        case kApplyPrewarnRepeatMsg: {
            EventLock lock(fEvent);
            fEvent->SetApplyPrewarnRepeat(fRepeatBox->isChecked());
            break;
        }
        case kPrewarnTimeMsg:
            CommitNumber(fStartField, &Event::SetPrewarnTime, &Event::GetPrewarnTime);
            return;
        case kPrewarnRepeatTimeMsg:
            CommitNumber(fRepeatField, &Event::SetPrewarnRepeatTime, &Event::GetPrewarnRepeatTime);
            return;
        case kPrewarnTypeMsg:
        case kPrewarnRepeatTypeMsg: {
            TimeIntervalType unit;
            if (!FindUnit(message, &unit))
                return;
            EventLock lock(fEvent);
            if (message.what == kPrewarnTypeMsg)
                fEvent->SetPrewarnType(unit);
            else
                fEvent->SetPrewarnRepeatType(unit);
            return;
        }
        default:
            return;
    }
    CheckEnableStates();
}

void EventPrewarnView::CheckEnableStates()
{
    bool apply = false;
    bool repeat = false;
    {
        EventLock lock(fEvent);
        apply = fEvent->GetApplyPrewarn();
        repeat = fEvent->GetApplyPrewarnRepeat();
    }
    if (apply != fGroup1Enabled) {
        fGroup1Enabled = apply;
        fStartLabel->setEnabled(apply);
        fStartField->setEnabled(apply);
        fStartUnit->setEnabled(apply);
        SetLabelEnabled(fAdvanceLabel, apply);
        fRepeatBox->setEnabled(apply);
        SetMessageEnabled(apply);
    }
    const bool repeatOn = apply && repeat;
    if (repeatOn != fGroup2Enabled) {
        fGroup2Enabled = repeatOn;
        fRepeatField->setEnabled(repeatOn);
        fRepeatUnit->setEnabled(repeatOn);
    }
}
