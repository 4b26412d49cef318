#include "ui/EventListView.h"

#include <QKeyEvent>
#include <QStyle>

#include <algorithm>

#include "calvorin/Event.h"
#include "core/Message.h"
#include "core/MessageTarget.h"
#include "core/TimeText.h"
#include "ui/EventListDelegate.h"
#include "ui/EventListHeader.h"
#include "ui/EventListModel.h"

namespace {

// True when order holds each of the six columns exactly once.
bool IsColumnPermutation(const int32_t* order)
{
    bool seen[kNumberOfColumns] = {};
    for (int i = 0; i < kNumberOfColumns; ++i) {
        if (order[i] < 0 || order[i] >= kNumberOfColumns || seen[order[i]])
            return false;
        seen[order[i]] = true;
    }
    return true;
}

}  // namespace

EventListView::EventListView(EventSet* set, MessageTarget* window, QWidget* parent)
    : QTreeView(parent),
      fSet(set),
      fWindow(window),
      fModel(new EventListModel(set, this)),
      fHeader(new EventListHeader(this))
{
    setObjectName(QStringLiteral("EventList"));
    setHeader(fHeader);
    setModel(fModel);
    setItemDelegate(new EventListDelegate(this));
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The list sorts itself; the header stays clickable for it.
    setSortingEnabled(false);
    fHeader->setSectionsClickable(true);
    setFrameShape(QFrame::NoFrame);
    setIconSize(QSize(16, 16));
    setTextElideMode(Qt::ElideRight);
    // The last column takes the room that is left; its own width is kept.
    fHeader->setStretchLastSection(true);
    fHeader->setMinimumSectionSize(kIconColumnWidth);

    AddColumnLabels();
    SortEvents();

    connect(fHeader, &EventListHeader::SortKeyClicked, this, &EventListView::SortKeyClicked);
    connect(fHeader, &QHeaderView::sectionMoved, this, [this]() { DisplayOrderChanged(); });
    connect(fHeader, &QHeaderView::sectionResized, this,
            [this](int column, int, int width) { ColumnWidthChanged(column, width); });
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this]() { fWindow->PostMessage(kListSelectionChangedMsg); });
    connect(this, &QAbstractItemView::doubleClicked, this, [this]() { Invoke(); });
}

void EventListView::AddColumnLabels()
{
    int32_t order[kNumberOfColumns];
    bool shown[kNumberOfColumns];
    float widths[kNumberOfColumns];
    {
        Autolock lock(fSet);
        std::copy(fSet->GetColumnOrder(), fSet->GetColumnOrder() + kNumberOfColumns, order);
        std::copy(fSet->GetColumnShown(), fSet->GetColumnShown() + kNumberOfColumns, shown);
        std::copy(fSet->GetColumnWidth(), fSet->GetColumnWidth() + kNumberOfColumns, widths);
        fNumberOfKeys = std::clamp(fSet->Sorting(fSortKeys, fSortModes), int32_t(0), int32_t(5));
    }

    fApplyingLayout = true;
    fHeader->setSectionResizeMode(kIconColumn, QHeaderView::Fixed);
    fHeader->resizeSection(kIconColumn, kIconColumnWidth);
    for (int column = kNameColumn; column < kNumberOfColumns; ++column)
        fHeader->resizeSection(column, ShownWidth(column, widths[column]));
    for (int column = 0; column < kNumberOfColumns; ++column)
        fHeader->setSectionHidden(column, !shown[column]);
    if (IsColumnPermutation(order)) {
        for (int visual = 0; visual < kNumberOfColumns; ++visual)
            fHeader->moveSection(fHeader->visualIndex(order[visual]), visual);
    }
    fHeader->ShowSortKeys(fNumberOfKeys, fSortKeys, fSortModes);
    fApplyingLayout = false;
}

int EventListView::ShownWidth(int column, float stored) const
{
    // Widths saved with another font may be too small for a title; the
    // list shows at least the title, and keeps the saved width until the
    // user resizes the column.
    const int width = std::clamp(int(stored + 0.5f), kIconColumnWidth, 4000);
    return std::max({width, fHeader->TitleWidth(column), ContentWidth(column)});
}

int EventListView::PreferredWidth() const
{
    int width = 0;
    {
        Autolock lock(fSet);
        for (int column = 0; column < kNumberOfColumns; ++column) {
            if (!fSet->GetColumnShown(column))
                continue;
            width += column == kIconColumn ? kIconColumnWidth : ShownWidth(column, fSet->GetColumnWidth(column));
        }
    }
    return width + 2 * frameWidth() + style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
}

int EventListView::ContentWidth(int column) const
{
    // Times and states have texts of a fixed form, which are no use cut
    // short: their columns are always wide enough for the longest one.
    QStringList samples;
    if (column == kEventTimeColumn || column == kNextMessageTimeColumn) {
        char text[kDateTimeStringSize];
        // A wide date and time: Wednesday, September 28 2033, 12:59.
        GetDateTimeString(2011525140L, true, text);
        samples << QString::fromUtf8(text);
    } else if (column == kStatusColumn) {
        for (const char* status : StatusMessages)
            samples << QString::fromUtf8(status);
        samples << QString::fromUtf8(InactiveStatusText);
    }
    int widest = 0;
    for (const QString& sample : samples)
        widest = std::max(widest, fontMetrics().horizontalAdvance(sample));
    if (widest == 0)
        return 0;
    // The cell's own margins on either side.
    return widest + 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1) + 6;
}

void EventListView::AddEvent(Event* event)
{
    fModel->AddEvent(event);
}

void EventListView::RemoveEvent(Event* event)
{
    fModel->RemoveEvent(event);
}

void EventListView::EventModified(Event* event)
{
    fModel->EventModified(event);
}

void EventListView::SortEvents()
{
    fModel->Sort(fNumberOfKeys, fSortKeys, fSortModes);
    if (Event* selected = GetSelectedEvent())
        scrollTo(fModel->index(fModel->RowOf(selected), kNameColumn));
}

Event* EventListView::GetSelectedEvent() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : fModel->EventAt(rows.first().row());
}

void EventListView::SelectEvent(Event* event)
{
    const int row = fModel->RowOf(event);
    if (row < 0) {
        clearSelection();
        return;
    }
    const QModelIndex index = fModel->index(row, kNameColumn);
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(index);
}

void EventListView::SetColumnShown(int column, bool shown)
{
    if (column < 0 || column >= kNumberOfColumns)
        return;
    fApplyingLayout = true;
    fHeader->setSectionHidden(column, !shown);
    if (shown) {
        int width = kIconColumnWidth;
        if (column != kIconColumn) {
            Autolock lock(fSet);
            width = ShownWidth(column, fSet->GetColumnWidth(column));
        }
        fHeader->resizeSection(column, width);
    }
    fApplyingLayout = false;
}

void EventListView::Invoke()
{
    Message message(kEditEventMsg);
    message.AddPointer("Event", GetSelectedEvent());
    fWindow->PostMessage(message);
}

int32_t EventListView::Sorting(int32_t* keys, CLVSortMode* modes) const
{
    std::copy(fSortKeys, fSortKeys + 5, keys);
    std::copy(fSortModes, fSortModes + 5, modes);
    return fNumberOfKeys;
}

void EventListView::SortKeyClicked(int column, bool addKey)
{
    // The icon column has no order of its own.
    if (column <= kIconColumn || column >= kNumberOfColumns)
        return;
    int rank = -1;
    for (int32_t i = 0; i < fNumberOfKeys; ++i) {
        if (fSortKeys[i] == column)
            rank = int(i);
    }
    auto flip = [](CLVSortMode mode) { return mode == Ascending ? Descending : Ascending; };
    if (!addKey) {
        if (rank == 0) {
            fSortModes[0] = flip(fSortModes[0]);
        } else {
            fNumberOfKeys = 1;
            std::fill(fSortKeys, fSortKeys + 5, 0);
            std::fill(fSortModes, fSortModes + 5, NoSort);
            fSortKeys[0] = column;
            fSortModes[0] = Ascending;
        }
    } else if (rank >= 0) {
        fSortModes[rank] = flip(fSortModes[rank]);
    } else {
        // A sixth key takes the place of the least significant one.
        const int32_t slot = std::min(fNumberOfKeys, int32_t(4));
        fSortKeys[slot] = column;
        fSortModes[slot] = Ascending;
        fNumberOfKeys = slot + 1;
    }
    SortingChanged();
}

void EventListView::SortingChanged()
{
    {
        Autolock lock(fSet);
        fSet->SetSorting(fNumberOfKeys, fSortKeys, fSortModes);
    }
    fHeader->ShowSortKeys(fNumberOfKeys, fSortKeys, fSortModes);
    SortEvents();
}

void EventListView::DisplayOrderChanged()
{
    if (fApplyingLayout)
        return;
    ColumnOrderArray order;
    for (int visual = 0; visual < kNumberOfColumns; ++visual)
        order[visual] = fHeader->logicalIndex(visual);
    Autolock lock(fSet);
    fSet->SetColumnOrder(order);
}

void EventListView::ColumnWidthChanged(int column, int width)
{
    if (fApplyingLayout || !fHeader->IsUserResizing() || column <= kIconColumn ||
        column >= kNumberOfColumns || width <= 0 || fHeader->isSectionHidden(column))
        return;
    Autolock lock(fSet);
    fSet->SetColumnWidth(column, float(width));
}

void EventListView::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::NoModifier) {
        switch (event->key()) {
            case Qt::Key_Backspace:
            case Qt::Key_Delete:
                fWindow->PostMessage(kDeleteEventMsg);
                return;
            case Qt::Key_Return:
            case Qt::Key_Enter:
                Invoke();
                return;
            default:
                break;
        }
    }
    QTreeView::keyPressEvent(event);
}
