// Hands out frames for new windows: a current default frame, and for each
// new untitled window the next position of a cascade from it.
#pragma once

#include "calvorin/SupportDefs.h"

class WindowPositionSet {
public:
    explicit WindowPositionSet(Rect defaultFrame) : fDefault(defaultFrame) {}

    void SetCurrentDefault(Rect frame) { fDefault = frame; fCascade = 0; }
    Rect GetCurrentDefault() const { return fDefault; }
    // The default frame moved down and right by one more step each call,
    // starting again after eight windows.
    Rect GetNextUntitledWindow();
    // A frame read from a file: kept when valid, otherwise the next cascade frame.
    Rect CheckFrame(Rect frame);

private:
    Rect fDefault;
    int fCascade = 0;
};
