// The rows of the event list: the events of one set, in the order the list
// shows them, with the six columns an event keeps texts for. The events stay
// the data; the model holds pointers and reads them under the set's lock.
#pragma once

#include <QAbstractTableModel>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "core/EventSet.h"

class Event;

class EventListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    static constexpr int kSortKeyCount = 5;

    explicit EventListModel(EventSet* set, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    EventSet* GetEventSet() const { return fSet; }
    Event* EventAt(int row) const;
    // The row of an event, or -1.
    int RowOf(const Event* event) const;

    // Row changes; GUI thread only.
    void AddEvent(Event* event);
    void RemoveEvent(Event* event);
    void EventModified(Event* event);
    // Takes every event of the set afresh, in the set's order.
    void Reload();
    // Orders the rows by up to five column keys, most significant first;
    // a key in NoSort mode is skipped, ties keep their present order.
    // Selections and other persistent indexes follow their rows.
    void Sort(int32_t count, const int32_t* keys, const CLVSortMode* modes);

    // From any thread: an event that is about to be deleted elsewhere. Its
    // row shows nothing until DropGoingEvents takes it out on the GUI thread.
    void MarkGoing(Event* event);
    void DropGoingEvents();

    // The header texts of the six columns ("" for the icon column).
    static const char* ColumnTitle(int column);

private:
    bool IsGoing(const Event* event) const;
    QVariant Icon(const Event* event) const;

    EventSet* fSet;
    std::vector<Event*> fRows;
    mutable std::mutex fGoingLock;
    std::unordered_set<const Event*> fGoing;
    std::atomic<bool> fHasGoing{false};
};
