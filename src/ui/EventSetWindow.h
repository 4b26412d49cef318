// The window of one event set: the File, Edit, Event and View menus over the
// set's event list. It carries out the commands that concern its set
// (saving, remembering for delivery, copy and paste, new, edit and delete
// event, column display, view mode), passes the application-wide ones on,
// keeps the set's window frame up to date and asks whether to save a
// modified set before it closes.
#pragma once

#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>

#include <cstdint>
#include <string>

#include "core/EventSetWindowPort.h"
#include "core/Message.h"
#include "ui/EventClipboard.h"
#include "ui/SetFilePanel.h"

class EventListView;
class EventSet;
class EventSetViewInterface;
class QAction;
class QMenu;

// Commands of the window's menus (the application's own are 1 to 5).
constexpr uint32_t kSaveSetMsg = MakeTypeCode('S', 'A', 'V', 'E');
constexpr uint32_t kSaveSetAsMsg = 8;
constexpr uint32_t kRememberSetMsg = 9;
constexpr uint32_t kPageSetupMsg = 10;
constexpr uint32_t kPrintSetMsg = 11;
constexpr uint32_t kPrintEventMsg = 12;
constexpr uint32_t kNewEventMsg = 13;
constexpr uint32_t kViewModeMsg = 17;  // int32 "Mode"
constexpr uint32_t kShowIconColumnMsg = 18;
constexpr uint32_t kShowNameColumnMsg = 19;
constexpr uint32_t kShowStatusColumnMsg = 20;
constexpr uint32_t kShowEventTimeColumnMsg = 21;
constexpr uint32_t kShowNextTimeColumnMsg = 22;
constexpr uint32_t kShowHandlerColumnMsg = 23;
constexpr uint32_t kCutEventMsg = MakeTypeCode('C', 'C', 'U', 'T');
constexpr uint32_t kCopyEventMsg = MakeTypeCode('C', 'O', 'P', 'Y');
constexpr uint32_t kPasteEventMsg = MakeTypeCode('P', 'S', 'T', 'E');
constexpr uint32_t kSavePanelCancelledMsg = MakeTypeCode('_', 'C', 'N', 'L');
constexpr uint32_t kAboutRequestedMsg = MakeTypeCode('_', 'A', 'B', 'R');

// The title of a set that has never been saved.
constexpr const char* kUntitledSetTitle = "Untitled event set";

class EventSetWindow : public QMainWindow, public EventSetWindowPort {
    Q_OBJECT

public:
    explicit EventSetWindow(EventSet* set);
    ~EventSetWindow() override;

    // The window factory of the application: makes and shows the window.
    static EventSetWindowPort* Make(EventSet* set);

    // EventSetWindowPort. PostMessage and Activate may come from any
    // thread; the view calls come from the set, normally on this window's
    // thread.
    void PostMessage(const Message& message) override;
    using MessageTarget::PostMessage;
    void AddEventToView(Event* event) override;
    void SortEvents() override;
    void RemoveEventFromView(Event* event) override;
    void Activate() override;

    // Carries out one command.
    void MessageReceived(const Message& message);

    // What became of a save.
    enum class SaveResult { Saved, Failed, PanelShown };
    // Saves the set: under the name the save panel's message gives
    // ("directory", "name", "Remember"), else under its own name; a set
    // never saved opens the save panel instead. The caller holds the
    // settings lock and then the set's lock.
    SaveResult Save(const Message& message);
    // Closes the window once the set has been saved.
    void QuitOnceSaved() { fQuitOnceSaved = true; }
    // Whether the window may close now; a modified set asks the user
    // first (the window then closes, or not, when the answer comes).
    bool QuitRequested();

    void CopyEvent(Event* event);
    void PasteEvent();

    EventSet* GetEventSet() const { return fSet; }
    EventSetViewInterface* GetEventsView() const;
    EventListView* GetListView() const { return fListView; }
    QMenuBar* GetMenuBar() const { return menuBar(); }
    // The save panel (null until first needed) and the open save prompt.
    SetFilePanel* GetSavePanel() const { return fSavePanel; }
    QMessageBox* GetSavePrompt() const { return fSavePrompt; }
    // The menu item that sends this command (the first if several do).
    QAction* ActionFor(uint32_t what, int32_t mode = -1) const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    enum class Target { Window, Application, Close, QuitApplication, About };

    void BuildMenus();
    QAction* AddItem(QMenu* menu, const char* label, uint32_t what, const QKeySequence& shortcut,
                     Target target, bool enabled = true);
    void MakeListView();
    void FitColumns();
    void UpdateTitle();
    void UpdateSelectionItems();
    void StoreFrame();

    void ToggleColumn(uint32_t what);
    void SetViewMode(int32_t mode);
    void NewEvent();
    void EditEvent(const Message& message);
    void DeleteSelectedEvent();
    // Whether event may be deleted (or cut) now: not while it is being
    // delivered, its alert waiting.
    bool MayDelete(Event* event);
    void RememberForDelivery();
    void SaveCommand(const Message& message);
    void ShowSavePanel(bool remember);
    void SavePanelCancelled();
    void ShowSavePrompt();
    void SavePromptAnswered(int answer);
    void CloseForGood();
    static void AskApplicationToQuit();

    EventSet* fSet;
    EventListView* fListView = nullptr;
    QAction* fCutItem = nullptr;
    QAction* fCopyItem = nullptr;
    QAction* fEditItem = nullptr;
    QAction* fDeleteItem = nullptr;
    QMenu* fDisplayMenu = nullptr;
    QMenu* fEventMenu = nullptr;
    QPointer<SetFilePanel> fSavePanel;
    QPointer<QMessageBox> fSavePrompt;
    bool fQuitOnceSaved = false;
    bool fCloseConfirmed = false;
    bool fClosed = false;
    bool fRegistered = false;
};

// Makes every event set window an EventSetWindow from now on.
void InstallEventSetWindowFactory();
