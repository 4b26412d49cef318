#include "ui/IntervalUnitMenu.h"

namespace {
const char* const kUnitNames[kNumberOfIntervalTypes] = {"months", "weeks", "days", "hours",
                                                        "minutes"};
}

IntervalUnitMenu::IntervalUnitMenu(QWidget* parent, TimeIntervalType first, TimeIntervalType last)
    : QComboBox(parent)
{
    for (int unit = first; unit <= last; ++unit)
        addItem(QString::fromLatin1(kUnitNames[unit]), unit);
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
}

const char* IntervalUnitMenu::UnitName(TimeIntervalType unit)
{
    return unit >= 0 && unit < kNumberOfIntervalTypes ? kUnitNames[unit] : "?";
}

void IntervalUnitMenu::SetUnit(TimeIntervalType unit)
{
    int index = findData(int(unit));
    if (index < 0) {
        addItem(QString::fromLatin1(UnitName(unit)), int(unit));
        index = count() - 1;
    }
    if (currentIndex() != index)
        setCurrentIndex(index);
}

TimeIntervalType IntervalUnitMenu::UnitAt(int index) const
{
    return TimeIntervalType(itemData(index).toInt());
}
