#include "ui/EventListHeader.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionHeader>

#include <algorithm>

EventListHeader::EventListHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    setSectionsClickable(true);
    setSectionsMovable(true);
    setHighlightSections(false);
    setSortIndicatorShown(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    connect(this, &QHeaderView::sectionClicked, this, [this](int column) {
        emit SortKeyClicked(column, fClickModifiers.testFlag(Qt::ShiftModifier));
    });
}

void EventListHeader::ShowSortKeys(int32_t count, const int32_t* keys, const CLVSortMode* modes)
{
    fCount = std::clamp(count, int32_t(0), int32_t(5));
    std::copy(keys, keys + 5, fKeys);
    std::copy(modes, modes + 5, fModes);
    viewport()->update();
}

int EventListHeader::TitleWidth(int column) const
{
    const int mark = style()->pixelMetric(QStyle::PM_HeaderMarkSize, nullptr, this) +
                     style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, this);
    return sectionSizeFromContents(column).width() + mark;
}

void EventListHeader::mousePressEvent(QMouseEvent* event)
{
    fClickModifiers = event->modifiers();
    fUserResizing = true;
    QHeaderView::mousePressEvent(event);
}

void EventListHeader::mouseReleaseEvent(QMouseEvent* event)
{
    fClickModifiers = event->modifiers();
    QHeaderView::mouseReleaseEvent(event);
    fUserResizing = false;
}

void EventListHeader::mouseDoubleClickEvent(QMouseEvent* event)
{
    // A double click on an edge fits the column to its contents.
    fUserResizing = true;
    QHeaderView::mouseDoubleClickEvent(event);
    fUserResizing = false;
}

int EventListHeader::KeyRank(int column) const
{
    for (int32_t i = 0; i < fCount; ++i) {
        if (fKeys[i] == column)
            return fModes[i] == NoSort ? -1 : int(i);
    }
    return -1;
}

void EventListHeader::initStyleOptionForIndex(QStyleOptionHeader* option, int logicalIndex) const
{
    QHeaderView::initStyleOptionForIndex(option, logicalIndex);
    const int rank = KeyRank(logicalIndex);
    if (rank < 0)
        return;
    // Qt draws ascending order as the "down" indicator.
    option->sortIndicator =
        fModes[rank] == Ascending ? QStyleOptionHeader::SortDown : QStyleOptionHeader::SortUp;
}

void EventListHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    QHeaderView::paintSection(painter, rect, logicalIndex);
    const int rank = KeyRank(logicalIndex);
    if (rank < 1 || rect.width() < 40)
        return;
    // Secondary keys carry their rank beside the direction mark.
    painter->save();
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.75);
    painter->setFont(small);
    painter->setPen(palette().color(QPalette::PlaceholderText));
    const QRect mark(rect.right() - 30, rect.top(), 10, rect.height());
    painter->drawText(mark, Qt::AlignRight | Qt::AlignVCenter, QString::number(rank + 1));
    painter->restore();
}
