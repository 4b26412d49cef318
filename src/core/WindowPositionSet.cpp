#include "core/WindowPositionSet.h"

namespace {
constexpr int kCascadeSteps = 8;
constexpr float kCascadeOffset = 20.0f;
}

Rect WindowPositionSet::GetNextUntitledWindow()
{
    float offset = kCascadeOffset * float(fCascade);
    fCascade = (fCascade + 1) % kCascadeSteps;
    return Rect{fDefault.left + offset, fDefault.top + offset, fDefault.right + offset,
                fDefault.bottom + offset};
}

Rect WindowPositionSet::CheckFrame(Rect frame)
{
    if (frame.IsValid() && frame.Width() >= 50.0f && frame.Height() >= 50.0f)
        return frame;
    return GetNextUntitledWindow();
}
