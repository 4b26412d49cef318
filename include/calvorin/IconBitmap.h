// An 8-bit colour-mapped icon: one byte per pixel, each an index into the
// 256-colour system palette (index 255 is transparent). Events carry a
// 32 x 32 large icon and a 16 x 16 mini icon.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

class IconBitmap {
public:
    static constexpr int kLargeSize = 32;
    static constexpr int kMiniSize = 16;
    static constexpr uint8_t kTransparent = 255;

    IconBitmap(int width, int height)
        : fWidth(width), fHeight(height), fBits(size_t(width) * size_t(height), kTransparent) {}
    IconBitmap(int width, int height, const void* bits)
        : IconBitmap(width, height) { std::memcpy(fBits.data(), bits, fBits.size()); }

    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    size_t BitsLength() const { return fBits.size(); }
    uint8_t* Bits() { return fBits.data(); }
    const uint8_t* Bits() const { return fBits.data(); }
    bool operator==(const IconBitmap& o) const
    {
        return fWidth == o.fWidth && fHeight == o.fHeight && fBits == o.fBits;
    }

private:
    int fWidth;
    int fHeight;
    std::vector<uint8_t> fBits;
};
