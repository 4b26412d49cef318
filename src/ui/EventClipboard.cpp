#include "ui/EventClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <vector>

void EventClipboard::Put(const QString& name, const Message* transfer)
{
    auto* data = new QMimeData;
    if (transfer != nullptr) {
        const std::vector<uint8_t> bytes = transfer->Flatten();
        data->setText(name);
        data->setData(QString::fromLatin1(kEventClipboardType),
                      QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size())));
    }
    QGuiApplication::clipboard()->setMimeData(data);
}

std::optional<Message> EventClipboard::Take()
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    const QString type = QString::fromLatin1(kEventClipboardType);
    if (data == nullptr || !data->hasFormat(type))
        return std::nullopt;
    const QByteArray bytes = data->data(type);
    Message transfer;
    if (transfer.Unflatten(bytes.constData(), size_t(bytes.size())) != B_OK)
        return std::nullopt;
    return transfer;
}
