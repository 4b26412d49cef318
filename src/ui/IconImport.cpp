#include "ui/IconImport.h"

#include <QImageReader>
#include <QPainter>

#include "calvorin/IconBitmap.h"
#include "ui/IconPalette.h"

QImage IconImport::FitToSquare(const QImage& image, int size)
{
    QImage square(size, size, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    const QImage scaled = image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&square);
    painter.drawImage((size - scaled.width()) / 2, (size - scaled.height()) / 2, scaled);
    painter.end();
    return square;
}

bool IconImport::MakeIcons(const QImage& image, IconBitmap** large, IconBitmap** mini)
{
    if (image.isNull() || image.width() < 1 || image.height() < 1)
        return false;
    auto* big = new IconBitmap(IconBitmap::kLargeSize, IconBitmap::kLargeSize);
    auto* small = new IconBitmap(IconBitmap::kMiniSize, IconBitmap::kMiniSize);
    IconPalette::FillBitmap(FitToSquare(image, IconBitmap::kLargeSize), big);
    IconPalette::FillBitmap(FitToSquare(image, IconBitmap::kMiniSize), small);
    *large = big;
    *mini = small;
    return true;
}

bool IconImport::ReadFile(const QString& path, IconBitmap** large, IconBitmap** mini, QString* error)
{
    QImageReader reader(path);
    // Pictures are shrunk to icons: a huge one need not be read whole.
    if (reader.size().isValid() && (reader.size().width() > 1024 || reader.size().height() > 1024))
        reader.setScaledSize(reader.size().scaled(1024, 1024, Qt::KeepAspectRatio));
    const QImage image = reader.read();
    if (image.isNull()) {
        if (error != nullptr) {
            *error = QStringLiteral("Calvorin could not read the picture in \"%1\" (%2).")
                         .arg(path, reader.errorString());
        }
        return false;
    }
    return MakeIcons(image, large, mini);
}
