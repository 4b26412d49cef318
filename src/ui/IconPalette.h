// The 256-colour system palette that 8-bit colour-mapped icons index into,
// and the conversions between such icons and Qt images (index 255 is the
// transparent colour).
#pragma once

#include <QImage>
#include <QPixmap>
#include <QRgb>

#include <cstdint>

class IconBitmap;

class IconPalette {
public:
    static constexpr int kColorCount = 256;
    static constexpr uint8_t kTransparentIndex = 255;

    // The colour of one palette index (fully transparent for 255).
    static QRgb ColorAt(uint8_t index);
    // The index whose colour is nearest to the given one; pixels that are
    // more than half transparent become the transparent index.
    static uint8_t NearestIndex(QRgb color);

    // The icon as a 32-bit image with alpha, pixel for pixel.
    static QImage ToImage(const IconBitmap& icon);
    static QPixmap ToPixmap(const IconBitmap& icon);
    // Fills the icon from an image of the same size (a different size is
    // scaled first); every pixel gets the nearest palette index.
    static void FillBitmap(const QImage& image, IconBitmap* icon);
};
