#include "ui/EventListModel.h"

#include <QColor>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

#include "calvorin/Event.h"
#include "core/StandardIcons.h"
#include "ui/IconPalette.h"

namespace {

constexpr int kMiniIconSize = IconBitmap::kMiniSize;

// Until the standard icons are installed, each number gets a plain round
// mark of its own colour so that rows still tell their icons apart.
QPixmap StandardIconPlaceholder(int number)
{
    static QPixmap placeholders[kNumberOfStandardIcons];
    QPixmap& pixmap = placeholders[number];
    if (pixmap.isNull()) {
        pixmap = QPixmap(kMiniIconSize, kMiniIconSize);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const QColor fill = QColor::fromHsv((number * 360 / kNumberOfStandardIcons + 200) % 360, 150, 220);
        painter.setPen(QPen(fill.darker(150), 1.0));
        painter.setBrush(fill);
        painter.drawEllipse(QRectF(2.5, 2.5, 11.0, 11.0));
    }
    return pixmap;
}

}  // namespace

EventListModel::EventListModel(EventSet* set, QObject* parent) : QAbstractTableModel(parent), fSet(set)
{
    Reload();
}

const char* EventListModel::ColumnTitle(int column)
{
    static const char* const kTitles[kNumberOfColumns] = {"",        "Name",   "Event time",
                                                          "Next message time", "Handler", "Status"};
    return column >= 0 && column < kNumberOfColumns ? kTitles[column] : "";
}

int EventListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(fRows.size());
}

int EventListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kNumberOfColumns;
}

Event* EventListModel::EventAt(int row) const
{
    if (row < 0 || row >= int(fRows.size()))
        return nullptr;
    return fRows[size_t(row)];
}

int EventListModel::RowOf(const Event* event) const
{
    auto it = std::find(fRows.begin(), fRows.end(), event);
    return it == fRows.end() ? -1 : int(it - fRows.begin());
}

bool EventListModel::IsGoing(const Event* event) const
{
    if (!fHasGoing.load())
        return false;
    std::lock_guard<std::mutex> lock(fGoingLock);
    return fGoing.count(event) != 0;
}

QVariant EventListModel::data(const QModelIndex& index, int role) const
{
    Event* event = index.isValid() ? EventAt(index.row()) : nullptr;
    if (event == nullptr || IsGoing(event))
        return QVariant();
    const int column = index.column();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        if (column == kIconColumn)
            return QVariant();
        Autolock lock(fSet);
        return QString::fromUtf8(event->GetColumnText(column));
    }
    if (role == Qt::DecorationRole && column == kIconColumn)
        return Icon(event);
    return QVariant();
}

QVariant EventListModel::Icon(const Event* event) const
{
    Autolock lock(fSet);
    const IconBitmap* large = nullptr;
    const IconBitmap* mini = nullptr;
    const int32_t number = event->GetIcon(&large, &mini);
    if (mini != nullptr)
        return IconPalette::ToPixmap(*mini);
    if (number >= 0 && number < kNumberOfStandardIcons)
        return StandardIconPlaceholder(number);
    return QVariant();
}

QVariant EventListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    if (role == Qt::DisplayRole)
        return QString::fromLatin1(ColumnTitle(section));
    if (role == Qt::ToolTipRole && section == kIconColumn)
        return QStringLiteral("Event icons");
    return QVariant();
}

Qt::ItemFlags EventListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

void EventListModel::AddEvent(Event* event)
{
    DropGoingEvents();
    if (event == nullptr || RowOf(event) >= 0)
        return;
    const int row = int(fRows.size());
    beginInsertRows(QModelIndex(), row, row);
    fRows.push_back(event);
    endInsertRows();
}

void EventListModel::RemoveEvent(Event* event)
{
    const int row = RowOf(event);
    if (row >= 0) {
        beginRemoveRows(QModelIndex(), row, row);
        fRows.erase(fRows.begin() + row);
        endRemoveRows();
    }
    std::lock_guard<std::mutex> lock(fGoingLock);
    fGoing.erase(event);
    fHasGoing.store(!fGoing.empty());
}

void EventListModel::EventModified(Event* event)
{
    const int row = RowOf(event);
    if (row >= 0)
        emit dataChanged(index(row, 0), index(row, kNumberOfColumns - 1));
}

void EventListModel::Reload()
{
    beginResetModel();
    fRows.clear();
    {
        std::lock_guard<std::mutex> lock(fGoingLock);
        fGoing.clear();
        fHasGoing.store(false);
    }
    Autolock lock(fSet);
    for (int32_t i = 0; i < fSet->CountEvents(); ++i)
        fRows.push_back(fSet->EventAt(i));
    endResetModel();
}

void EventListModel::Sort(int32_t count, const int32_t* keys, const CLVSortMode* modes)
{
    DropGoingEvents();
    count = std::clamp(count, int32_t(0), int32_t(kSortKeyCount));
    std::vector<std::pair<int32_t, CLVSortMode>> used;
    for (int32_t i = 0; i < count; ++i) {
        if (modes[i] != NoSort && keys[i] >= 0 && keys[i] < kNumberOfColumns)
            used.emplace_back(keys[i], modes[i]);
    }
    if (used.empty() || fRows.size() < 2)
        return;

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<Event*> rowsOfBefore;
    for (const QModelIndex& index : before)
        rowsOfBefore.push_back(EventAt(index.row()));
    {
        Autolock lock(fSet);
        std::stable_sort(fRows.begin(), fRows.end(), [&used](const Event* a, const Event* b) {
            for (const auto& [column, mode] : used) {
                int result = Event::Compare(a, b, column);
                if (mode == Descending)
                    result = -result;
                if (result != 0)
                    return result < 0;
            }
            return false;
        });
    }
    QModelIndexList after;
    for (int i = 0; i < before.size(); ++i)
        after << index(RowOf(rowsOfBefore[size_t(i)]), before[i].column());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void EventListModel::MarkGoing(Event* event)
{
    std::lock_guard<std::mutex> lock(fGoingLock);
    fGoing.insert(event);
    fHasGoing.store(true);
}

void EventListModel::DropGoingEvents()
{
    std::vector<const Event*> going;
    {
        std::lock_guard<std::mutex> lock(fGoingLock);
        going.assign(fGoing.begin(), fGoing.end());
    }
    for (const Event* event : going)
        RemoveEvent(const_cast<Event*>(event));
}
