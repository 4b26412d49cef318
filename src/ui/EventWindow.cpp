#include "ui/EventWindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QApplication>
#include <QLineEdit>
#include <QScreen>
#include <QTabWidget>
#include <QThread>
#include <QVBoxLayout>

#include <algorithm>

#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "calvorin/EventOwner.h"
#include "core/CalvorinSettings.h"
#include "handlers/EventLock.h"
#include "ui/EventActionView.h"
#include "ui/EventCommentView.h"
#include "ui/EventHeaderView.h"
#include "ui/EventNagView.h"
#include "ui/EventPrewarnView.h"
#include "ui/EventWhenView.h"
#include "ui/IconPanel.h"

namespace {

// Runs f on the window's own (GUI) thread, at once when already there.
template <typename F>
void OnWindowThread(QObject* window, F f, bool wait)
{
    if (QThread::currentThread() == window->thread()) {
        f();
        return;
    }
    QMetaObject::invokeMethod(window, f, wait ? Qt::BlockingQueuedConnection : Qt::QueuedConnection);
}

}  // namespace

EventWindow::EventWindow(Event* event) : QWidget(nullptr), fEvent(event)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName("EventWindow");

    fHeader = new EventHeaderView(event, this);
    fTabs = new QTabWidget(this);
    fTabs->setObjectName("Tabs");
    fTabs->setDocumentMode(false);
    fAction = new EventActionView(event, fTabs);
    fWhen = new EventWhenView(event, fTabs);
    fPrewarn = new EventPrewarnView(event, fTabs);
    fNag = new EventNagView(event, fTabs);
    fComment = new EventCommentView(event, fTabs);
    fTabs->addTab(fAction, tr("Action"));
    fTabs->addTab(fWhen, tr("When"));
    fTabs->addTab(fPrewarn, tr("Prewarning"));
    fTabs->addTab(fNag, tr("Nagging"));
    fTabs->addTab(fComment, tr("Comment"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 4, 6, 6);
    layout->addWidget(fHeader);
    layout->addWidget(fTabs, 1);

    Rect frame;
    int32_t tab = 0;
    {
        EventLock lock(fEvent);
        frame = fEvent->GetWindowFrame();
        tab = fEvent->GetTabShown();
        SetTitle(QString::fromUtf8(fEvent->GetName() != nullptr ? fEvent->GetName() : ""));
    }
    fTabs->setCurrentIndex(std::clamp(tab, int32_t(0), int32_t(kTabCount - 1)));

    // The frame kept in the event, never smaller than the contents need.
    const QSize least = sizeHint().expandedTo(minimumSizeHint());
    // A frame's right and bottom are its last pixels, inside the window.
    if (frame.IsValid()) {
        setGeometry(int(frame.left), int(frame.top), std::max(int(frame.Width()) + 1, least.width()),
                    std::max(int(frame.Height()) + 1, least.height()));
    } else {
        resize(least);
    }

    ShowEditView();

    connect(fHeader, &EventHeaderView::IconButtonClicked, this, [this] {
        IconPanel* panel = GetIconPanel();
        panel->show();
        panel->raise();
        panel->activateWindow();
    });
    connect(fHeader, &EventHeaderView::NameChanged, this, &EventWindow::SetTitle);
    connect(fTabs, &QTabWidget::currentChanged, this, [this](int index) {
        if (fClosed)
            return;
        EventLock lock(fEvent);
        fEvent->SetTabShown(index);
    });
    fBuilt = true;
    StoreFrame();
}

EventWindow::~EventWindow()
{
    CloseDown();
}

EventWindowPort* EventWindow::Make(Event* event)
{
    EventWindow* window = nullptr;
    auto make = [&window, event] {
        window = new EventWindow(event);
        window->show();
    };
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr)
        return nullptr;
    if (QThread::currentThread() == app->thread())
        make();
    else
        QMetaObject::invokeMethod(app, make, Qt::BlockingQueuedConnection);
    return window;
}

void EventWindow::ShowEditView()
{
    // The window is made while the event has no window yet, so the selected
    // handler's view is asked for here; later ones come through
    // Event::SetSelectedHandler.
    EventLock lock(fEvent);
    EventAddOnData* data = fEvent->GetAddOnData();
    if (data == nullptr)
        return;
    if (data->GetEditView() != nullptr)
        data->DestroyEditView();
    QWidget* view = data->CreateEditView(GetEditFrame());
    data->RecordEditView(view);
    AttachEditView(view);
}

void EventWindow::SetTitle(const QString& name)
{
    setWindowTitle(name);
}

void EventWindow::PostCommand(uint32_t what)
{
    QMetaObject::invokeMethod(this, [this, what] { MessageReceived(what); }, Qt::QueuedConnection);
}

void EventWindow::MessageReceived(uint32_t what)
{
    if (fClosed)
        return;
    switch (what) {
        case kEventTimesChanged:
            fHeader->RefreshTimes();
            fHeader->RefreshStatus();
            fWhen->Refresh();
            break;
        case kEventIconChanged:
            fHeader->RefreshIcon();
            if (fIconPanel != nullptr)
                fIconPanel->Refresh();
            break;
        default:
            break;
    }
}

void EventWindow::StatusChanged()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (!fClosed)
                fHeader->RefreshStatus();
        },
        Qt::QueuedConnection);
}

void EventWindow::InvalidateEventView()
{
    QMetaObject::invokeMethod(this, [this] { RefreshAll(); }, Qt::QueuedConnection);
}

void EventWindow::RefreshAll()
{
    if (fClosed)
        return;
    {
        EventLock lock(fEvent);
        SetTitle(QString::fromUtf8(fEvent->GetName() != nullptr ? fEvent->GetName() : ""));
    }
    fHeader->Refresh();
    fAction->Refresh();
    fWhen->Refresh();
    fPrewarn->Refresh();
    fPrewarn->CheckEnableStates();
    fNag->Refresh();
    fNag->CheckEnableStates();
    fComment->Refresh();
    if (fIconPanel != nullptr)
        fIconPanel->Refresh();
}

Rect EventWindow::GetEditFrame()
{
    Rect frame = fAction->GetEditFrame();
    return frame;
}

void EventWindow::AttachEditView(QWidget* view)
{
    fAction->AttachEditView(view);
}

void EventWindow::Activate()
{
    OnWindowThread(
        this,
        [this] {
            show();
            raise();
            activateWindow();
        },
        false);
}

void EventWindow::Quit()
{
    OnWindowThread(
        this,
        [this] {
            CloseDown();
            close();
        },
        true);
}

IconPanel* EventWindow::GetIconPanel()
{
    if (fIconPanel == nullptr)
        fIconPanel = new IconPanel(fEvent, this);
    return fIconPanel;
}

void EventWindow::closeEvent(QCloseEvent* event)
{
    CloseDown();
    event->accept();
}

Rect EventWindow::CurrentFrame() const
{
    const QRect box = geometry();
    return Rect{float(box.left()), float(box.top()), float(box.right()), float(box.bottom())};
}

void EventWindow::StoreFrame()
{
    if (!fBuilt || fClosed)
        return;
    EventLock lock(fEvent);
    fEvent->SetWindowFrame(CurrentFrame());
}

void EventWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    StoreFrame();
}

void EventWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    StoreFrame();
}

void EventWindow::CloseDown()
{
    if (fClosed)
        return;
    // A one-line field still being typed in is committed, as leaving it would.
    if (auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget())) {
        if (isAncestorOf(field) && field->isModified()) {
            field->setModified(false);
            emit field->editingFinished();
        }
    }
    if (fIconPanel != nullptr)
        fIconPanel->close();
    StoreFrame();
    const Rect frame = CurrentFrame();
    Locker* setLock = fEvent->GetProtectionSemaphore();
    // The settings come before a set in the lock order; a caller that holds
    // the set's lock does not get the default frame remembered.
    if (setLock == nullptr || !setLock->IsLocked()) {
        Autolock settings(CalvorinSettings::Protect);
        if (CalvorinSettings::RememberWindowSetupAsDefault)
            CalvorinSettings::EventWindowPosition.SetCurrentDefault(frame);
    }
    fClosed = true;
    EventLock lock(fEvent);
    fEvent->SetTabShown(fTabs->currentIndex());
    if (EventAddOnData* data = fEvent->GetAddOnData())
        data->DestroyEditView();
    fEvent->WindowClosed();
}
