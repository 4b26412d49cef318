#include "ui/EventListDelegate.h"

#include <QApplication>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

#include "calvorin/Event.h"

void EventListDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const
{
    if (index.column() != kIconColumn) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    // The cell's background and selection as for any cell, without text.
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    cell.icon = QIcon();
    cell.features &= ~QStyleOptionViewItem::HasDecoration;
    cell.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget != nullptr ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, widget);

    const QPixmap icon = index.data(Qt::DecorationRole).value<QPixmap>();
    if (icon.isNull())
        return;
    const int y = option.rect.top() + (option.rect.height() - icon.height()) / 2;
    painter->drawPixmap(option.rect.left() + 2, y, icon);
}

QSize EventListDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height(), kMinimumRowHeight));
    return size;
}
