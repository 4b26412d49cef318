#include "ui/VerifiedTextEditView.h"

#include <QCheckBox>

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "handlers/VerifiedTextHandler.h"

VerifiedTextEditView::VerifiedTextEditView(VerifiedTextHandler* data, QWidget* parent)
    : QWidget(parent), fVerifiedData(data)
{
}

void VerifiedTextEditView::MakeVerifyBox(const QString& label)
{
    fVerifyBox = new QCheckBox(label, this);
    fVerifyBox->setObjectName("VerifyBox");
    {
        EventLock lock(fVerifiedData->GetAttachedTo());
        fVerifyBox->setChecked(fVerifiedData->GetVerify());
    }
    connect(fVerifyBox, &QCheckBox::clicked, this, [this] { MessageReceived(kVerifyChangedMsg); });
}

void VerifiedTextEditView::StoreVerify()
{
    EventLock lock(fVerifiedData->GetAttachedTo());
    fVerifiedData->SetVerify(fVerifyBox->isChecked());
}
