// The list mode of an event set window: one row per event in six columns
// that the user can move, resize, hide and sort by up to five keys. The
// column order, visibility, widths and sort keys live in the event set, so
// that they are saved with it and the set reopens as it was left.
#pragma once

#include <QTreeView>

#include <cstdint>

#include "core/EventSet.h"
#include "ui/EventSetViewInterface.h"

class EventListHeader;
class EventListModel;
class MessageTarget;

// Command codes the list posts to its window.
constexpr uint32_t kListSelectionChangedMsg = 14;  // the selection changed
constexpr uint32_t kEditEventMsg = 15;             // invocation; pointer "Event" (may be null)
constexpr uint32_t kDeleteEventMsg = 16;           // Backspace or Delete pressed

class EventListView : public QTreeView, public EventSetViewInterface {
    Q_OBJECT

public:
    static constexpr int kIconColumnWidth = 20;

    // window receives the list's messages (selection, invocation, delete).
    EventListView(EventSet* set, MessageTarget* window, QWidget* parent = nullptr);

    // EventSetViewInterface
    void AddEvent(Event* event) override;
    void RemoveEvent(Event* event) override;
    void EventModified(Event* event) override;
    void SortEvents() override;
    Event* GetSelectedEvent() const override;
    void SelectEvent(Event* event) override;
    void SetColumnShown(int column, bool shown) override;
    QWidget* GetWidget() override { return this; }

    // The width that shows every shown column whole, with the scroll bar.
    int PreferredWidth() const;

    // Posts the invocation message for the selected event (null if none).
    void Invoke();

    // The current sort keys (all five) and how many are used.
    int32_t Sorting(int32_t* keys, CLVSortMode* modes) const;
    // What a click on a column header does; addKey is a shift-click.
    void SortKeyClicked(int column, bool addKey);

    EventListModel* Model() const { return fModel; }
    EventListHeader* Header() const { return fHeader; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void AddColumnLabels();
    int ShownWidth(int column, float stored) const;
    int ContentWidth(int column) const;
    void SortingChanged();
    void DisplayOrderChanged();
    void ColumnWidthChanged(int column, int width);

    EventSet* fSet;
    MessageTarget* fWindow;
    EventListModel* fModel;
    EventListHeader* fHeader;
    int32_t fNumberOfKeys = 0;
    int32_t fSortKeys[5] = {};
    CLVSortMode fSortModes[5] = {};
    bool fApplyingLayout = false;
};
