#include "ui/EditorLabels.h"

#include <QLabel>
#include <QPalette>

void SetLabelEnabled(QLabel* label, bool enabled)
{
    QPalette colours = label->palette();
    colours.setColor(QPalette::WindowText,
                     enabled ? QPalette().color(QPalette::WindowText) : QColor(152, 152, 152));
    label->setPalette(colours);
    label->setEnabled(enabled);
}
