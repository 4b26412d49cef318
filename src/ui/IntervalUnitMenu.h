// The pop-up menu of time units ("months" to "minutes") beside an interval
// field; each item carries its TimeIntervalType.
#pragma once

#include <QComboBox>

#include "calvorin/Event.h"

class IntervalUnitMenu : public QComboBox {
    Q_OBJECT

public:
    // first..last: the range of units offered (all five by default).
    explicit IntervalUnitMenu(QWidget* parent = nullptr, TimeIntervalType first = Months,
                              TimeIntervalType last = Minutes);

    // Marks the item of that unit; a unit outside the offered range is
    // added so that what the event holds is always shown.
    void SetUnit(TimeIntervalType unit);
    TimeIntervalType UnitAt(int index) const;

    static const char* UnitName(TimeIntervalType unit);
};
