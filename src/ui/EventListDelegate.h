// Draws the cells of the event list: the icon column shows the event's
// 16 x 16 mini icon two pixels in from the left edge, the other columns
// their text; rows are at least 20 pixels high.
#pragma once

#include <QStyledItemDelegate>

class EventListDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int kMinimumRowHeight = 20;

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
