#include "ui/EventSetWindow.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMetaObject>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <cstring>
#include <string>

#include "calvorin/Event.h"
#include "calvorin/Locker.h"
#include "core/ApplicationMessages.h"
#include "core/ApplicationSets.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "core/EventWindowPort.h"
#include "core/MessageTarget.h"
#include "core/OpenSets.h"
#include "ui/AboutBox.h"
#include "ui/DocumentApp.h"
#include "ui/EventClipboard.h"
#include "ui/EventListModel.h"
#include "ui/EventListView.h"
#include "ui/QuitFlags.h"
#include "ui/SetFilePanel.h"

namespace {

// The standard quit request, as the application understands it.
constexpr uint32_t kApplicationQuitRequest = MakeTypeCode('_', 'Q', 'R', 'Q');

// The prompt's answers, in the order of its buttons.
enum PromptAnswer { kDontSave = 0, kCancel = 1, kSave = 2 };

// The list column that each "Display" command shows or hides.
int ColumnOfDisplayCommand(uint32_t what)
{
    switch (what) {
        case kShowIconColumnMsg: return kIconColumn;
        case kShowNameColumnMsg: return kNameColumn;
        case kShowStatusColumnMsg: return kStatusColumn;
        case kShowEventTimeColumnMsg: return kEventTimeColumn;
        case kShowNextTimeColumnMsg: return kNextMessageTimeColumn;
        case kShowHandlerColumnMsg: return kHandlerColumn;
        default: return -1;
    }
}

bool IsUntitled(const char* fileName)
{
    return fileName == nullptr || std::strncmp(fileName, "Untitled ", 9) == 0;
}

std::string Text(const char* text)
{
    return text != nullptr ? text : "";
}

// Lets the events of this thread run once, so that a window asked to close
// can finish closing.
void LetWindowsClose()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

}  // namespace

EventSetWindow::EventSetWindow(EventSet* set) : fSet(set)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("EventSetWindow"));
    // DocumentApp::QuitRequested asks the windows marked so to close.
    setProperty("calvorinDocumentWindow", true);
    setAcceptDrops(true);

    Rect frame;
    {
        Autolock lock(fSet);
        frame = fSet->GetWindowFrame();
        // The list is the only view there is; a set saved in another mode
        // shows it too.
        if (fSet->GetViewMode() != ListViewMode)
            fSet->SetViewMode(ListViewMode);
    }
    BuildMenus();
    MakeListView();
    UpdateTitle();
    UpdateSelectionItems();

    setMinimumSize(240, 120);
    if (frame.IsValid() && frame.Width() >= 100 && frame.Height() >= 60)
        setGeometry(int(frame.left), int(frame.top), int(frame.Width()) + 1,
                    int(frame.Height()) + 1);
    else
        resize(554, 325);
    FitColumns();

    if (DocumentApp* app = DocumentApp::Instance()) {
        app->RegisterWindow();
        fRegistered = true;
    }
}

EventSetWindow::~EventSetWindow()
{
    CloseForGood();
}

EventSetWindowPort* EventSetWindow::Make(EventSet* set)
{
    auto* window = new EventSetWindow(set);
    window->show();
    return window;
}

void InstallEventSetWindowFactory()
{
    SetEventSetWindowFactory(&EventSetWindow::Make);
}

// --- Menus ------------------------------------------------------------------

QAction* EventSetWindow::AddItem(QMenu* menu, const char* label, uint32_t what,
                                 const QKeySequence& shortcut, Target target, bool enabled)
{
    QAction* action = menu->addAction(QString::fromUtf8(label));
    action->setShortcut(shortcut);
    action->setEnabled(enabled);
    action->setData(QVariant::fromValue(uint(what)));
    connect(action, &QAction::triggered, this, [this, what, target]() {
        switch (target) {
            case Target::Window:
                MessageReceived(Message(what));
                break;
            case Target::Application:
                if (MessageTarget* application = GetApplicationTarget())
                    application->PostMessage(what);
                break;
            case Target::Close:
                close();
                break;
            case Target::QuitApplication:
                AskApplicationToQuit();
                break;
            case Target::About:
                AboutBox::Show(this);
                break;
        }
    });
    return action;
}

void EventSetWindow::BuildMenus()
{
    QMenuBar* bar = menuBar();
    bar->setObjectName(QStringLiteral("Menu"));
    const QKeySequence none;

    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    AddItem(file, "New event set", NewEventSetMsg, QKeySequence(Qt::CTRL | Qt::Key_N),
            Target::Application);
    AddItem(file, "Open…", OpenEventSetMsg, QKeySequence(Qt::CTRL | Qt::Key_O), Target::Application);
    file->addSeparator();
    AddItem(file, "Save", kSaveSetMsg, QKeySequence(Qt::CTRL | Qt::Key_S), Target::Window);
    AddItem(file, "Save as…", kSaveSetAsMsg, none, Target::Window);
    AddItem(file, "Remember for delivery", kRememberSetMsg, none, Target::Window);
    file->addSeparator();
    AddItem(file, "Page setup...", kPageSetupMsg, none, Target::Window, false);
    AddItem(file, "Print event set...", kPrintSetMsg, none, Target::Window, false);
    AddItem(file, "Print selected event...", kPrintEventMsg, none, Target::Window, false);
    file->addSeparator();
    AddItem(file, "Settings…", OpenSettingsMsg, none, Target::Application);
    AddItem(file, "About…", kAboutRequestedMsg, none, Target::About);
    AddItem(file, "Help…", HelpMsg, QKeySequence(Qt::CTRL | Qt::Key_H), Target::Application);
    file->addSeparator();
    AddItem(file, "Close", kApplicationQuitRequest, QKeySequence(Qt::CTRL | Qt::Key_W), Target::Close);
    AddItem(file, "Quit to background", kApplicationQuitRequest, QKeySequence(Qt::CTRL | Qt::Key_Q),
            Target::QuitApplication);
    AddItem(file, "Full quit", FullQuitMsg, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Q),
            Target::Application);

    QMenu* edit = bar->addMenu(QStringLiteral("&Edit"));
    fCutItem = AddItem(edit, "Cut", kCutEventMsg, QKeySequence(Qt::CTRL | Qt::Key_X), Target::Window,
                       false);
    fCopyItem = AddItem(edit, "Copy", kCopyEventMsg, QKeySequence(Qt::CTRL | Qt::Key_C),
                        Target::Window, false);
    AddItem(edit, "Paste", kPasteEventMsg, QKeySequence(Qt::CTRL | Qt::Key_V), Target::Window);

    QMenu* event = bar->addMenu(QStringLiteral("Eve&nt"));
    AddItem(event, "New event…", kNewEventMsg, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N),
            Target::Window);
    fEditItem = AddItem(event, "Edit event…", kEditEventMsg, QKeySequence(Qt::CTRL | Qt::Key_E),
                        Target::Window, false);
    fDeleteItem = AddItem(event, "Delete event", kDeleteEventMsg, none, Target::Window, false);

    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    QMenu* modes = view->addMenu(QStringLiteral("View mode"));
    auto* modeGroup = new QActionGroup(this);
    modeGroup->setExclusive(true);
    const char* const modeLabels[] = {"List", "Calendar", "Week", "Day"};
    for (int32_t mode = 0; mode < 4; ++mode) {
        QAction* action = modes->addAction(QString::fromLatin1(modeLabels[mode]));
        action->setCheckable(true);
        action->setChecked(mode == ListViewMode);
        // Only the list exists.
        action->setEnabled(mode == ListViewMode);
        action->setData(QVariant::fromValue(uint(kViewModeMsg)));
        action->setProperty("Mode", mode);
        modeGroup->addAction(action);
        connect(action, &QAction::triggered, this, [this, mode]() {
            Message message(kViewModeMsg);
            message.AddInt32("Mode", mode);
            MessageReceived(message);
        });
    }

    // The rows' context menu: the event commands of the Edit and Event menus.
    fEventMenu = new QMenu(this);
    fEventMenu->setObjectName(QStringLiteral("EventContextMenu"));
    fEventMenu->addActions({fEditItem, ActionFor(kNewEventMsg)});
    fEventMenu->addSeparator();
    fEventMenu->addActions({fCutItem, fCopyItem, ActionFor(kPasteEventMsg)});
    fEventMenu->addSeparator();
    fEventMenu->addAction(fDeleteItem);

    fDisplayMenu = view->addMenu(QStringLiteral("Display"));
    struct DisplayItem {
        const char* label;
        uint32_t what;
    };
    const DisplayItem displayItems[] = {{"Event icons", kShowIconColumnMsg},
                                        {"Event time", kShowEventTimeColumnMsg},
                                        {"Next message time", kShowNextTimeColumnMsg},
                                        {"Selected handler", kShowHandlerColumnMsg},
                                        {"Event status", kShowStatusColumnMsg}};
    Autolock lock(fSet);
    for (const DisplayItem& item : displayItems) {
        QAction* action = AddItem(fDisplayMenu, item.label, item.what, none, Target::Window);
        action->setCheckable(true);
        action->setChecked(fSet->GetColumnShown(ColumnOfDisplayCommand(item.what)));
    }
}

QAction* EventSetWindow::ActionFor(uint32_t what, int32_t mode) const
{
    for (QMenu* menu : menuBar()->findChildren<QMenu*>()) {
        for (QAction* action : menu->actions()) {
            if (action->isSeparator() || action->menu() != nullptr)
                continue;
            if (action->data().toUInt() != what)
                continue;
            if (mode >= 0 && action->property("Mode").toInt() != mode)
                continue;
            return action;
        }
    }
    return nullptr;
}

void EventSetWindow::MakeListView()
{
    if (fListView != nullptr) {
        takeCentralWidget();
        delete fListView;
    }
    fListView = new EventListView(fSet, this, this);
    setCentralWidget(fListView);
    // The header's context menu shows and hides the columns, as "Display";
    // the rows' offers what can be done with an event.
    fListView->header()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(fListView->header(), &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) {
                fDisplayMenu->popup(fListView->header()->mapToGlobal(position));
            });
    fListView->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(fListView, &QWidget::customContextMenuRequested, this, [this](const QPoint& position) {
        UpdateSelectionItems();
        fEventMenu->popup(fListView->viewport()->mapToGlobal(position));
    });
    fListView->setFocus();
}

void EventSetWindow::FitColumns()
{
    // A window too narrow for its columns (a frame saved with a smaller
    // font) grows to show them all, as far as the screen allows.
    const int wanted = fListView->PreferredWidth();
    if (width() >= wanted)
        return;
    const QScreen* screen = QGuiApplication::screenAt(geometry().center());
    if (screen == nullptr)
        screen = QGuiApplication::primaryScreen();
    const int room = screen != nullptr ? screen->availableGeometry().right() - x() : wanted;
    resize(std::min(wanted, std::max(width(), room)), height());
}

EventSetViewInterface* EventSetWindow::GetEventsView() const
{
    return fListView;
}

void EventSetWindow::UpdateTitle()
{
    if (fSet == nullptr)
        return;
    QString title;
    bool modified;
    {
        Autolock lock(fSet);
        const char* fileName = fSet->GetFileName();
        title = IsUntitled(fileName) ? QString::fromLatin1(kUntitledSetTitle)
                                     : QString::fromUtf8(fSet->GetLeafPtr());
        modified = fSet->HasBeenModified();
    }
    setWindowTitle(title + QStringLiteral("[*]"));
    setWindowModified(modified);
}

void EventSetWindow::UpdateSelectionItems()
{
    Event* event = fListView != nullptr ? fListView->GetSelectedEvent() : nullptr;
    const bool selected = event != nullptr;
    const bool deletable = selected && MayDelete(event);
    fCutItem->setEnabled(deletable);
    fCopyItem->setEnabled(selected);
    fEditItem->setEnabled(selected);
    fDeleteItem->setEnabled(deletable);
}

// --- Messages from the set and from other threads ---------------------------

void EventSetWindow::PostMessage(const Message& message)
{
    // Queued calls to a window that is gone by then are dropped.
    QMetaObject::invokeMethod(
        this, [this, message]() { MessageReceived(message); }, Qt::QueuedConnection);
}

void EventSetWindow::AddEventToView(Event* event)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, event]() { AddEventToView(event); }, Qt::QueuedConnection);
        return;
    }
    if (fListView != nullptr)
        fListView->AddEvent(event);
    UpdateTitle();
}

void EventSetWindow::SortEvents()
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this]() { SortEvents(); }, Qt::QueuedConnection);
        return;
    }
    if (fListView != nullptr)
        fListView->SortEvents();
}

void EventSetWindow::RemoveEventFromView(Event* event)
{
    if (fListView == nullptr)
        return;
    if (QThread::currentThread() != thread()) {
        // The event is deleted as soon as this returns: the list stops
        // looking at it now and drops its row later, on its own thread.
        fListView->Model()->MarkGoing(event);
        QMetaObject::invokeMethod(
            this,
            [this]() {
                if (fListView != nullptr)
                    fListView->Model()->DropGoingEvents();
                UpdateSelectionItems();
                UpdateTitle();
            },
            Qt::QueuedConnection);
        return;
    }
    fListView->RemoveEvent(event);
    UpdateSelectionItems();
    UpdateTitle();
}

void EventSetWindow::Activate()
{
    QMetaObject::invokeMethod(
        this,
        [this]() {
            if (isMinimized())
                showNormal();
            show();
            raise();
            activateWindow();
        },
        Qt::QueuedConnection);
}

// --- Commands -----------------------------------------------------------------

void EventSetWindow::MessageReceived(const Message& message)
{
    if (fSet == nullptr || fClosed)
        return;
    switch (message.what) {
        case kShowIconColumnMsg:
        case kShowNameColumnMsg:
        case kShowStatusColumnMsg:
        case kShowEventTimeColumnMsg:
        case kShowNextTimeColumnMsg:
        case kShowHandlerColumnMsg:
            ToggleColumn(message.what);
            break;
        case kSaveSetMsg:
            SaveCommand(message);
            break;
        case kSaveSetAsMsg:
            ShowSavePanel(false);
            break;
        case kRememberSetMsg:
            RememberForDelivery();
            break;
        case kPageSetupMsg:
        case kPrintSetMsg:
        case kPrintEventMsg:
            break;
        case kNewEventMsg:
            NewEvent();
            break;
        case kListSelectionChangedMsg:
            UpdateSelectionItems();
            break;
        case kEditEventMsg:
            EditEvent(message);
            break;
        case kDeleteEventMsg:
            DeleteSelectedEvent();
            break;
        case kCutEventMsg:
            if (Event* selected = fListView->GetSelectedEvent(); selected && MayDelete(selected)) {
                CopyEvent(selected);
                DeleteSelectedEvent();
            }
            break;
        case kCopyEventMsg:
            if (Event* selected = fListView->GetSelectedEvent())
                CopyEvent(selected);
            break;
        case kPasteEventMsg:
            PasteEvent();
            break;
        case kViewModeMsg: {
            int32_t mode = 0;
            if (message.FindInt32("Mode", &mode) == B_OK)
                SetViewMode(mode);
            break;
        }
        case kSavePanelCancelledMsg:
            SavePanelCancelled();
            break;
        case kEventChangedInSet: {
            auto* event = static_cast<Event*>(message.GetPointer("Event"));
            // Only an event that is still one of the list's rows.
            if (event != nullptr && fListView->Model()->RowOf(event) >= 0) {
                fListView->EventModified(event);
                fListView->SortEvents();
            }
            UpdateTitle();
            UpdateSelectionItems();  // a delivery may have begun or ended
            break;
        }
        default:
            break;
    }
}

void EventSetWindow::ToggleColumn(uint32_t what)
{
    const int column = ColumnOfDisplayCommand(what);
    bool shown;
    {
        Autolock lock(fSet);
        shown = !fSet->GetColumnShown(column);
        fSet->SetColumnShown(column, shown);
    }
    if (QAction* item = ActionFor(what))
        item->setChecked(shown);
    fListView->SetColumnShown(column, shown);
}

void EventSetWindow::SetViewMode(int32_t mode)
{
    {
        Autolock lock(fSet);
        if (mode == fSet->GetViewMode())
            return;
    }
    // Only the list exists; the other modes are never chosen.
    if (mode != ListViewMode)
        return;
    {
        Autolock lock(fSet);
        fSet->SetViewMode(ListViewMode);
    }
    MakeListView();
    UpdateSelectionItems();
}

void EventSetWindow::NewEvent()
{
    Event* added = nullptr;
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock lock(fSet);
        fSet->AddEvent(nullptr);
        added = fSet->EventAt(fSet->CountEvents() - 1);
    }
    fListView->SelectEvent(added);
    UpdateTitle();
}

void EventSetWindow::EditEvent(const Message& message)
{
    Event* event = nullptr;
    if (message.HasField("Event"))
        event = static_cast<Event*>(message.GetPointer("Event"));
    else
        event = fListView->GetSelectedEvent();
    if (event == nullptr)
        return;
    Autolock lock(fSet);
    // A pointer from an old message may name an event that is gone.
    if (fSet->IndexOf(event) < 0)
        return;
    event->OpenWindow();
}

void EventSetWindow::DeleteSelectedEvent()
{
    Event* event = fListView->GetSelectedEvent();
    if (event == nullptr)
        return;
    EventWindowPort* editor = nullptr;
    {
        Autolock lock(fSet);
        if (fSet->IndexOf(event) < 0 || !event->GetDeletable() || fSet->IsBeingDelivered(event))
            return;
        editor = event->GetWindow();
    }
    if (editor != nullptr) {
        // The editor goes first; the set is not held while it closes.
        editor->Quit();
        for (int attempt = 0; attempt < 100; ++attempt) {
            {
                Autolock lock(fSet);
                if (event->GetWindow() == nullptr)
                    break;
            }
            LetWindowsClose();
        }
    }
    const int row = fListView->Model()->RowOf(event);
    {
        Autolock lock(fSet);
        if (event->GetWindow() != nullptr || fSet->IndexOf(event) < 0 ||
            fSet->IsBeingDelivered(event))
            return;
        // The event takes itself out of the set and the list.
        delete event;
    }
    // The row that moved up into its place becomes the selection.
    const int rows = fListView->Model()->rowCount();
    if (rows > 0 && row >= 0)
        fListView->SelectEvent(fListView->Model()->EventAt(row < rows ? row : rows - 1));
    UpdateSelectionItems();
    UpdateTitle();
}

bool EventSetWindow::MayDelete(Event* event)
{
    // The delivery of the event comes back to it after its alert.
    if (fSet == nullptr)
        return false;
    Autolock lock(fSet);
    return !fSet->IsBeingDelivered(event);
}

void EventSetWindow::RememberForDelivery()
{
    bool untitled;
    {
        Autolock lock(fSet);
        untitled = IsUntitled(fSet->GetFileName());
    }
    // A set without a file of its own cannot be loaded for delivery: it is
    // saved first, with the box already on.
    if (untitled) {
        ShowSavePanel(true);
        return;
    }
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock lock(fSet);
    CalvorinSettings::RememberSet(fSet->GetFileName());
}

// --- Saving -------------------------------------------------------------------

void EventSetWindow::SaveCommand(const Message& message)
{
    SaveResult result;
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock lock(fSet);
        result = Save(message);
    }
    UpdateTitle();
    if (!fQuitOnceSaved)
        return;
    switch (result) {
        case SaveResult::Saved:
            fQuitOnceSaved = false;
            if (QuitProcess) {
                QuitProcess = false;
                AskApplicationToQuit();
            }
            fCloseConfirmed = true;
            close();
            break;
        case SaveResult::Failed:
            fQuitOnceSaved = false;
            break;
        case SaveResult::PanelShown:
            // The panel's save or cancel settles it.
            break;
    }
}

EventSetWindow::SaveResult EventSetWindow::Save(const Message& message)
{
    std::string reportedName = Text(fSet->GetFileName());
    bool saved = false;
    if (message.HasField("directory")) {
        const char* directory = message.GetString("directory");
        const char* name = message.GetString("name");
        if (directory != nullptr && directory[0] != '\0' && name != nullptr && name[0] != '\0') {
            std::string path = directory;
            if (path.back() != '/')
                path += '/';
            path += SetFilePanel::NameWithExtension(QString::fromUtf8(name)).toStdString();
            reportedName = path;
            const std::string oldName = Text(fSet->GetFileName());
            fSet->SetFileName(path.c_str());
            saved = fSet->SaveData();
            if (!saved) {
                fSet->SetFileName(oldName.empty() ? nullptr : oldName.c_str());
            } else if (message.HasField("Remember")) {
                const bool remember = message.GetBool("Remember");
                const bool remembered = CalvorinSettings::IsFileRemembered(path.c_str());
                if (remember && !remembered)
                    CalvorinSettings::RememberSet(path.c_str());
                else if (!remember && remembered)
                    CalvorinSettings::ForgetSet(path.c_str());
            }
        }
    } else if (IsUntitled(fSet->GetFileName())) {
        ShowSavePanel(false);
        return SaveResult::PanelShown;
    } else {
        saved = fSet->SaveData();
    }
    if (!saved) {
        ReportCompoundError("There was an error attempting to save the event set \"",
                            reportedName.c_str(), "\".");
        return SaveResult::Failed;
    }
    return SaveResult::Saved;
}

void EventSetWindow::ShowSavePanel(bool remember)
{
    if (fSavePanel == nullptr) {
        fSavePanel = new SetFilePanel(this);
        connect(fSavePanel, &QFileDialog::fileSelected, this, [this](const QString& file) {
            const QFileInfo info(file);
            Message message(kSaveSetMsg);
            message.AddString("directory", info.absolutePath().toUtf8().constData());
            message.AddString("name", info.fileName().toUtf8().constData());
            message.AddBool("Remember", fSavePanel->IsRememberChecked());
            PostMessage(message);
        });
        connect(fSavePanel, &QDialog::rejected, this, [this]() { PostMessage(kSavePanelCancelledMsg); });
    }
    std::string fileName;
    bool remembered;
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock lock(fSet);
        fileName = Text(fSet->GetFileName());
        remembered = CalvorinSettings::IsFileRemembered(fileName.c_str());
    }
    fSavePanel->PrepareFor(QString::fromStdString(fileName), IsUntitled(fileName.c_str()),
                           remember || remembered);
    fSavePanel->open();
}

void EventSetWindow::SavePanelCancelled()
{
    // Closing waited for the save: the close, and a quit that waited for
    // it, are off.
    if (fQuitOnceSaved) {
        fQuitOnceSaved = false;
        FullQuitProcess = false;
        QuitProcess = false;
        if (DocumentApp* app = DocumentApp::Instance())
            app->CancelQuitProcess();
    }
}

// --- Closing ------------------------------------------------------------------

bool EventSetWindow::QuitRequested()
{
    bool modified;
    {
        Autolock lock(fSet);
        modified = fSet->HasBeenModified();
    }
    if (!modified)
        return true;
    ShowSavePrompt();
    return false;
}

void EventSetWindow::ShowSavePrompt()
{
    if (fSavePrompt != nullptr) {
        fSavePrompt->raise();
        fSavePrompt->activateWindow();
        return;
    }
    QString leaf;
    {
        Autolock lock(fSet);
        leaf = QString::fromUtf8(fSet->GetLeafPtr());
    }
    auto* prompt = new QMessageBox(this);
    prompt->setObjectName(QStringLiteral("SavePrompt"));
    prompt->setAttribute(Qt::WA_DeleteOnClose);
    prompt->setIcon(QMessageBox::Warning);
    prompt->setWindowTitle(QStringLiteral("Calvorin"));
    prompt->setText(QStringLiteral("Save changes to the document \"") + leaf + QStringLiteral("\"?"));
    // One role for all keeps the buttons in this order.
    QPushButton* dontSave = prompt->addButton(QStringLiteral("Don't save"), QMessageBox::ActionRole);
    QPushButton* cancel = prompt->addButton(QStringLiteral("Cancel"), QMessageBox::ActionRole);
    QPushButton* save = prompt->addButton(QStringLiteral("Save"), QMessageBox::ActionRole);
    prompt->setDefaultButton(save);
    prompt->setEscapeButton(cancel);
    // Window-modal: the other windows go on working while it waits.
    prompt->setWindowModality(Qt::WindowModal);
    connect(prompt, &QMessageBox::buttonClicked, this, [this, dontSave, cancel](QAbstractButton* button) {
        SavePromptAnswered(button == dontSave ? kDontSave : button == cancel ? kCancel : kSave);
    });
    fSavePrompt = prompt;
    prompt->open();
}

void EventSetWindow::SavePromptAnswered(int answer)
{
    if (fSet == nullptr || fClosed)
        return;
    switch (answer) {
        case kCancel:
            FullQuitProcess = false;
            QuitProcess = false;
            if (DocumentApp* app = DocumentApp::Instance())
                app->CancelQuitProcess();
            break;
        case kDontSave: {
            std::string fileName;
            {
                Autolock lock(fSet);
                fileName = Text(fSet->GetFileName());
            }
            fCloseConfirmed = true;
            close();
            // Delivery goes on from the saved file, if the set stays loaded
            // for it.
            {
                Autolock settingsLock(CalvorinSettings::Protect);
                Autolock setsLock(OpenSets::Protect);
                ApplicationSets::ReloadWithoutWindow(fileName.c_str());
            }
            PostToApplication(SetsChangedMsg);
            if (QuitProcess) {
                QuitProcess = false;
                AskApplicationToQuit();
            }
            break;
        }
        case kSave:
        default:
            QuitOnceSaved();
            PostMessage(kSaveSetMsg);
            break;
    }
}

void EventSetWindow::closeEvent(QCloseEvent* event)
{
    if (!fCloseConfirmed && !fClosed && !QuitRequested()) {
        event->ignore();
        return;
    }
    event->accept();
    CloseForGood();
}

void EventSetWindow::CloseForGood()
{
    fCloseConfirmed = true;
    if (fClosed)
        return;
    fClosed = true;
    if (fSavePrompt != nullptr)
        fSavePrompt->close();
    if (fSavePanel != nullptr)
        fSavePanel->close();
    // The list lets go of the events before the set may go.
    if (fListView != nullptr) {
        fListView->setModel(nullptr);
        fListView->deleteLater();
        fListView = nullptr;
    }
    EventSet* set = fSet;
    fSet = nullptr;
    // The set may go away now (or stay loaded for delivery); it asks for
    // the next delivery time to be worked out again.
    if (set != nullptr)
        set->WindowClosed();
    if (fRegistered && DocumentApp::Instance() != nullptr) {
        fRegistered = false;
        DocumentApp::Instance()->UnregisterWindow();
    }
}

void EventSetWindow::AskApplicationToQuit()
{
    if (DocumentApp* app = DocumentApp::Instance())
        app->PostQuitRequest();
    else if (MessageTarget* application = GetApplicationTarget())
        application->PostMessage(kApplicationQuitRequest);
}

// --- Frame ----------------------------------------------------------------------

void EventSetWindow::StoreFrame()
{
    if (fSet == nullptr || fClosed)
        return;
    const QRect frame = geometry();
    Autolock lock(fSet);
    fSet->SetWindowFrame(Rect{float(frame.left()), float(frame.top()), float(frame.right()),
                              float(frame.bottom())});
}

void EventSetWindow::moveEvent(QMoveEvent* event)
{
    QMainWindow::moveEvent(event);
    StoreFrame();
}

void EventSetWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    StoreFrame();
}

// --- Clipboard ------------------------------------------------------------------

void EventSetWindow::CopyEvent(Event* event)
{
    Message transfer;
    bool generated;
    QString name;
    {
        Autolock lock(fSet);
        if (fSet->IndexOf(event) < 0)
            return;
        generated = event->GenerateMessageForEvent(&transfer);
        name = QString::fromUtf8(event->GetName() != nullptr ? event->GetName() : "");
    }
    // A copy that could not be made leaves the clipboard empty.
    EventClipboard::Put(name, generated ? &transfer : nullptr);
}

void EventSetWindow::PasteEvent()
{
    std::optional<Message> transfer = EventClipboard::Take();
    if (!transfer)
        return;

    Event* pasted = nullptr;
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock lock(fSet);
        bool ok = false;
        const bool wasModified = fSet->HasBeenModified();
        auto* event = new Event(fSet, &*transfer, &ok);
        if (ok) {
            fSet->AddEvent(event);
            pasted = event;
        } else {
            // Nothing was added: the set stays as it was.
            delete event;
            if (!wasModified)
                fSet->ClearModified();
        }
    }
    if (pasted != nullptr)
        fListView->SelectEvent(pasted);
    UpdateTitle();
}

// --- Drag and drop ----------------------------------------------------------------

namespace {

QStringList DroppedFiles(const QMimeData* data)
{
    QStringList files;
    if (data == nullptr || !data->hasUrls())
        return files;
    for (const QUrl& url : data->urls()) {
        if (!url.isLocalFile())
            continue;
        const QFileInfo info(url.toLocalFile());
        if (info.isFile())
            files << info.absoluteFilePath();
    }
    return files;
}

}  // namespace

void EventSetWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!DroppedFiles(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void EventSetWindow::dropEvent(QDropEvent* event)
{
    const QStringList files = DroppedFiles(event->mimeData());
    if (files.isEmpty())
        return;
    // Opened as documents are: the application loads each or shows the
    // window of the one already loaded.
    Message refs(B_REFS_RECEIVED);
    for (const QString& file : files) {
        const std::string path = file.toStdString();
        refs.AddData(kRefsField, B_REF_TYPE, path.c_str(), path.size() + 1);
    }
    if (MessageTarget* application = GetApplicationTarget())
        application->PostMessage(refs);
    event->acceptProposedAction();
}
