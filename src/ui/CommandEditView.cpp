#include "ui/CommandEditView.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/EventLock.h"

CommandEditView::CommandEditView(CommandDataHandler* data, QWidget* parent)
    : VerifiedTextEditView(data, parent), fData(data)
{
    setObjectName("CommandEditView");
    fCommandField = new QLineEdit(this);
    fCommandField->setObjectName("CommandField");
    fCommandField->setPlaceholderText(tr("for example: notify-send 'Time to leave'"));
    MakeVerifyBox(tr("Verify with user before executing command"));
    {
        EventLock lock(fData->GetAttachedTo());
        const char* command = fData->GetCommand();
        fCommandField->setText(QString::fromUtf8(command != nullptr ? command : ""));
    }

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow(tr("Shell command:"), fCommandField);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addSpacing(4);
    layout->addWidget(fVerifyBox);
    layout->addStretch();

    connect(fCommandField, &QLineEdit::editingFinished, this,
            [this] { MessageReceived(kCommandChangedMsg); });
}

QWidget* CommandEditView::Make(CommandDataHandler* data, Rect)
{
    return new CommandEditView(data);
}

void CommandEditView::MessageReceived(uint32_t what)
{
    switch (what) {
        case kCommandChangedMsg: {
            const QByteArray text = fCommandField->text().toUtf8();
            const char* current = fData->GetCommand();
            // Leaving the field without a change stores nothing.
            if (text == QByteArray(current != nullptr ? current : ""))
                return;
            fData->SetCommand(text.constData());
            return;
        }
        case kVerifyChangedMsg:
            StoreVerify();
            return;
        default:
            return;
    }
}
