#include "ui/EventPrewarnView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "core/Message.h"
#include "handlers/EventLock.h"
#include "ui/EditorLabels.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NumberField.h"
#include "ui/PrewarnTextView.h"

EventPrewarnView::EventPrewarnView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
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
    auto* grid = new QGridLayout;
    grid->setColumnMinimumWidth(0, 20);
    grid->addWidget(fApplyBox, 0, 0, 1, 5);
    grid->addWidget(fStartLabel, 1, 1);
    grid->addWidget(fStartField, 1, 2);
    grid->addWidget(fStartUnit, 1, 3);
    grid->addWidget(fAdvanceLabel, 1, 4);
    grid->addWidget(fRepeatBox, 2, 1);
    grid->addWidget(fRepeatField, 2, 2);
    grid->addWidget(fRepeatUnit, 2, 3);
    grid->setColumnStretch(5, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(6);
    layout->addWidget(fMessageLabel);
    layout->addWidget(fText, 1);

    Refresh();

    connect(fApplyBox, &QCheckBox::clicked, this, [this] { MessageReceived(Message(kApplyPrewarnMsg)); });
    connect(fRepeatBox, &QCheckBox::clicked, this,
            [this] { MessageReceived(Message(kApplyPrewarnRepeatMsg)); });
    connect(fStartField, &NumberField::Committed, this,
            [this] { MessageReceived(Message(kPrewarnTimeMsg)); });
    connect(fRepeatField, &NumberField::Committed, this,
            [this] { MessageReceived(Message(kPrewarnRepeatTimeMsg)); });
    auto unitMessage = [this](IntervalUnitMenu* menu, uint32_t what) {
        connect(menu, &QComboBox::activated, this, [this, menu, what](int index) {
            Message message(what);
            message.AddInt32("Type", int32_t(menu->UnitAt(index)));
            MessageReceived(message);
        });
    };
    unitMessage(fStartUnit, kPrewarnTypeMsg);
    unitMessage(fRepeatUnit, kPrewarnRepeatTypeMsg);

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

void EventPrewarnView::CommitNumber(NumberField* field, uint32_t what)
{
    uint32_t value = 0;
    EventLock lock(fEvent);
    if (NumberField::ParseValue(field->text(), &value)) {
        if (what == kPrewarnTimeMsg)
            fEvent->SetPrewarnTime(value);
        else
            fEvent->SetPrewarnRepeatTime(value);
    }
    // A refused value gives way to the event's own; an accepted one is shown
    // as stored.
    field->SetValue(what == kPrewarnTimeMsg ? fEvent->GetPrewarnTime() : fEvent->GetPrewarnRepeatTime());
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
            CommitNumber(fStartField, kPrewarnTimeMsg);
            return;
        case kPrewarnRepeatTimeMsg:
            CommitNumber(fRepeatField, kPrewarnRepeatTimeMsg);
            return;
        case kPrewarnTypeMsg:
        case kPrewarnRepeatTypeMsg: {
            int32_t unit = 0;
            if (message.FindInt32("Type", &unit) != B_OK || unit < Months || unit > Minutes)
                return;
            EventLock lock(fEvent);
            if (message.what == kPrewarnTypeMsg)
                fEvent->SetPrewarnType(TimeIntervalType(unit));
            else
                fEvent->SetPrewarnRepeatType(TimeIntervalType(unit));
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
        SetLabelEnabled(fMessageLabel, apply);
        fText->SetEditable(apply);
    }
    const bool repeatOn = apply && repeat;
    if (repeatOn != fGroup2Enabled) {
        fGroup2Enabled = repeatOn;
        fRepeatField->setEnabled(repeatOn);
        fRepeatUnit->setEnabled(repeatOn);
    }
}
