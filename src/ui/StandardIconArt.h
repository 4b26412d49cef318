// The eleven standard event icons (numbers 0..10): drawn in code, turned
// into 32 x 32 and 16 x 16 palette icons, and installed for the whole
// program (SetStandardIcons).
#pragma once

#include <QImage>

class IconBitmap;

class StandardIconArt {
public:
    // What the icon shows ("Bell", "Calendar", ...); null for other numbers.
    static const char* Name(int number);
    // The picture at a size (32 or 16), before it is fitted to the palette.
    static QImage Draw(int number, int size);
    // The palette icon of that number and size (the caller owns it).
    static IconBitmap* MakeBitmap(int number, int size);
    // Builds the twenty-two icons once and installs them; they live as long
    // as the program.
    static void Install();
};
