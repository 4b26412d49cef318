#include "ui/EventActionView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "handlers/HandlerRegistry.h"

EventActionView::EventActionView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
{
    fHandlerMenu = new QComboBox(this);
    fHandlerMenu->setObjectName("HandlerMenu");
    for (int index = 0; index < NumberOfEventHandlers; ++index) {
        const char* name = AddOnNames != nullptr ? AddOnNames[index] : nullptr;
        fHandlerMenu->addItem(QString::fromUtf8(name != nullptr ? name : "?"), index);
    }
    fHandlerMenu->setSizeAdjustPolicy(QComboBox::AdjustToContents);

    fActionFrame = new QFrame(this);
    fActionFrame->setObjectName("ActionFrame");
    fActionFrame->setFrameShape(QFrame::StyledPanel);
    fActionFrame->setFrameShadow(QFrame::Sunken);
    fFrameLayout = new QVBoxLayout(fActionFrame);
    fFrameLayout->setContentsMargins(1, 1, 1, 1);
    fPlaceholder = new QLabel(tr("This handler has nothing to set."), fActionFrame);
    fPlaceholder->setAlignment(Qt::AlignCenter);
    fPlaceholder->setForegroundRole(QPalette::PlaceholderText);
    fFrameLayout->addWidget(fPlaceholder);

    fDeliverIfMissedBox = new QCheckBox(tr("Deliver even if missed"), this);
    fDeliverIfMissedBox->setObjectName("DeliverIfMissed");
    fDeleteOnceDeliveredBox = new QCheckBox(tr("Delete once delivered"), this);
    fDeleteOnceDeliveredBox->setObjectName("DeleteOnceDelivered");

    auto* form = new QFormLayout;
    form->addRow(tr("Handler:"), fHandlerMenu);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(fActionFrame, 1);
    layout->addWidget(fDeliverIfMissedBox);
    layout->addWidget(fDeleteOnceDeliveredBox);

    Refresh();

    connect(fHandlerMenu, &QComboBox::activated, this, &EventActionView::SelectHandler);
    connect(fDeliverIfMissedBox, &QCheckBox::clicked, this, [this](bool on) {
        EventLock lock(fEvent);
        fEvent->SetDeliverIfMissed(on);
    });
    connect(fDeleteOnceDeliveredBox, &QCheckBox::clicked, this, [this](bool on) {
        EventLock lock(fEvent);
        fEvent->SetDeleteOnceDelivered(on);
    });
}

void EventActionView::Refresh()
{
    EventLock lock(fEvent);
    // "Unknown" stands only for a handler the event was read with; it can be
    // chosen again only when the event still holds such data.
    if (auto* model = qobject_cast<QStandardItemModel*>(fHandlerMenu->model())) {
        if (QStandardItem* unknown = model->item(kUnknownHandler))
            unknown->setEnabled(fEvent->GetAddOnData(kUnknownHandler) != nullptr);
    }
    const int selected = fHandlerMenu->findData(int(fEvent->GetSelectedHandler()));
    if (selected >= 0 && fHandlerMenu->currentIndex() != selected)
        fHandlerMenu->setCurrentIndex(selected);
    fDeliverIfMissedBox->setChecked(fEvent->GetDeliverIfMissed());
    fDeleteOnceDeliveredBox->setChecked(fEvent->GetDeleteOnceDelivered());
}

void EventActionView::SelectHandler(int index)
{
    const int handler = fHandlerMenu->itemData(index).toInt();
    {
        EventLock lock(fEvent);
        // The event takes the old edit view away and puts the new one here.
        if (handler != kUnknownHandler || fEvent->GetAddOnData(kUnknownHandler) != nullptr)
            fEvent->SetSelectedHandler(handler);
    }
    Refresh();
}

Rect EventActionView::GetEditFrame() const
{
    const QRect frame = fActionFrame->geometry();
    return Rect{float(frame.left()), float(frame.top()), float(frame.right()), float(frame.bottom())};
}

void EventActionView::AttachEditView(QWidget* view)
{
    if (view == nullptr)
        return;
    view->setParent(fActionFrame);
    fFrameLayout->addWidget(view, 1);
    view->show();
    connect(view, &QObject::destroyed, this, [this](QObject* gone) { UpdatePlaceholder(gone); });
    UpdatePlaceholder(nullptr);
}

QWidget* EventActionView::CurrentEditView() const
{
    for (QObject* child : fActionFrame->children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (widget != nullptr && widget != fPlaceholder)
            return widget;
    }
    return nullptr;
}

void EventActionView::UpdatePlaceholder(QObject* gone)
{
    // A view that is being destroyed is still listed in the frame's layout.
    bool any = false;
    for (int i = 0; i < fFrameLayout->count(); ++i) {
        QWidget* widget = fFrameLayout->itemAt(i)->widget();
        if (widget != nullptr && widget != fPlaceholder && widget != gone)
            any = true;
    }
    fPlaceholder->setVisible(!any);
}
