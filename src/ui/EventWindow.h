// The editor window of one event: its header (name, times, status, icon)
// above the tabs "Action", "When", "Prewarning", "Nagging" and "Comment".
// Every control writes into the event at once; the event tells the window
// when its times (45) or its icon (55) changed. The window keeps its frame
// and the tab last shown in the event.
#pragma once

#include <QWidget>

#include <cstdint>

#include "core/EventWindowPort.h"

class Event;
class EventActionView;
class EventCommentView;
class EventHeaderView;
class EventNagView;
class EventPrewarnView;
class EventWhenView;
class IconPanel;
class QTabWidget;

class EventWindow : public QWidget, public EventWindowPort {
    Q_OBJECT

public:
    // The tabs, in their order (the event's TabShown).
    enum Tab : int32_t { kActionTab = 0, kWhenTab, kPrewarnTab, kNagTab, kCommentTab, kTabCount };

    // Made and shown by Event::OpenWindow through the installed factory.
    explicit EventWindow(Event* event);
    ~EventWindow() override;

    // The factory installed by InstallEventEditor.
    static EventWindowPort* Make(Event* event);

    // EventWindowPort. PostCommand, StatusChanged, InvalidateEventView and
    // Activate may come from any thread; Quit waits for the window to close.
    void PostCommand(uint32_t what) override;
    void StatusChanged() override;
    void InvalidateEventView() override;
    Rect GetEditFrame() override;
    void AttachEditView(QWidget* view) override;
    void Activate() override;
    void Quit() override;

    // 45: the times changed; 55: the icon changed.
    void MessageReceived(uint32_t what);
    // Shows everything from the event again (what InvalidateEventView posts).
    void RefreshAll();

    Event* GetEvent() const { return fEvent; }
    QTabWidget* Tabs() const { return fTabs; }
    EventHeaderView* Header() const { return fHeader; }
    EventActionView* ActionView() const { return fAction; }
    EventWhenView* WhenView() const { return fWhen; }
    EventPrewarnView* PrewarnView() const { return fPrewarn; }
    EventNagView* NagView() const { return fNag; }
    EventCommentView* CommentView() const { return fComment; }
    // The icon panel, made on first use.
    IconPanel* GetIconPanel();

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void ShowEditView();
    void StoreFrame();
    void CloseDown();
    void SetTitle(const QString& name);
    Rect CurrentFrame() const;

    Event* fEvent;
    EventHeaderView* fHeader;
    QTabWidget* fTabs;
    EventActionView* fAction;
    EventWhenView* fWhen;
    EventPrewarnView* fPrewarn;
    EventNagView* fNag;
    EventCommentView* fComment;
    IconPanel* fIconPanel = nullptr;
    bool fBuilt = false;
    bool fClosed = false;
};
