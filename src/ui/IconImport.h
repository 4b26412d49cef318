// Turns an image file into an event's own icon: the picture is fitted into
// 32 x 32 and 16 x 16 squares (keeping its proportions, centred, the rest
// transparent) and every pixel takes the nearest palette colour.
#pragma once

#include <QImage>
#include <QString>

class IconBitmap;

class IconImport {
public:
    // The picture scaled to fit a size x size square, centred on transparency.
    static QImage FitToSquare(const QImage& image, int size);
    // Makes the large and the mini icon of a picture (the caller owns them);
    // false, with nothing made, for an empty picture.
    static bool MakeIcons(const QImage& image, IconBitmap** large, IconBitmap** mini);
    // Reads an image file and makes its icons; false when the file cannot
    // be read as a picture (*error then says why, in the program's words).
    static bool ReadFile(const QString& path, IconBitmap** large, IconBitmap** mini, QString* error);
};
