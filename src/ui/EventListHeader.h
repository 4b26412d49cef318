// The header of the event list: clicking a column makes it the sort key
// (again: the other direction), shift-clicking adds it as a further key (or
// turns an existing key round). Every sort key shows its direction, the
// secondary ones with their rank.
#pragma once

#include <QHeaderView>

#include <cstdint>

#include "core/EventSet.h"

class EventListHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit EventListHeader(QWidget* parent = nullptr);

    // The width a column needs to show its whole title and a sort mark.
    int TitleWidth(int column) const;

    // True while the user drags or double-clicks a column's edge, so that
    // only the user's own resizing is kept (not the stretching of the
    // last column or the widening of a column shown again).
    bool IsUserResizing() const { return fUserResizing; }

    // The keys to show (the list's own; the header only draws them).
    void ShowSortKeys(int32_t count, const int32_t* keys, const CLVSortMode* modes);

signals:
    // A column header was clicked; addKey when shift was held.
    void SortKeyClicked(int column, bool addKey);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void initStyleOptionForIndex(QStyleOptionHeader* option, int logicalIndex) const override;
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;

private:
    // The rank of a column among the sort keys (0 most significant), or -1.
    int KeyRank(int column) const;

    int32_t fCount = 0;
    int32_t fKeys[5] = {};
    CLVSortMode fModes[5] = {};
    Qt::KeyboardModifiers fClickModifiers;
    bool fUserResizing = false;
};
