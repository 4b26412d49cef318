#include "ui/UnknownDataHandlerView.h"

#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>

#include "calvorin/Event.h"
#include "handlers/EventLock.h"
#include "handlers/UnknownDataHandler.h"

UnknownDataHandlerView::UnknownDataHandlerView(UnknownDataHandler* data, QWidget* parent)
    : QWidget(parent)
{
    setObjectName("UnknownDataHandlerView");
    EventLock lock(data->GetAttachedTo());
    const char* name = data->GetOriginalHandler();
    fText = QStringLiteral("Missing handler: ") + QString::fromUtf8(name != nullptr ? name : "");
}

QWidget* UnknownDataHandlerView::Make(UnknownDataHandler* data, Rect)
{
    return new UnknownDataHandlerView(data);
}

void UnknownDataHandlerView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), QColor(216, 216, 216));
    const QFontMetrics metrics(font());
    const QRect textRect(3, 4, metrics.horizontalAdvance(fText), metrics.height());
    if (!event->rect().intersects(textRect))
        return;
    painter.setPen(Qt::black);
    painter.drawText(3, 4 + metrics.ascent(), fText);
}
