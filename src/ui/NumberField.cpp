#include "ui/NumberField.h"

#include <QFontMetrics>

NumberField::NumberField(QWidget* parent) : QLineEdit(parent)
{
    setAlignment(Qt::AlignRight);
    setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000000")) + 16);
    connect(this, &QLineEdit::editingFinished, this, &NumberField::Committed);
}

void NumberField::SetValue(uint32_t value)
{
    const QString text = QString::asprintf("%d", int(value));
    if (this->text() != text)
        setText(text);
}

bool NumberField::ParseValue(const QString& text, uint32_t* value)
{
    bool ok = false;
    const qlonglong number = text.trimmed().toLongLong(&ok, 10);
    if (!ok || number < 1 || number > 2147483647LL)
        return false;
    *value = uint32_t(number);
    return true;
}
