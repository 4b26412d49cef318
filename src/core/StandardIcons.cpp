#include "core/StandardIcons.h"

#include <atomic>

namespace {
std::atomic<const IconBitmap*> sLarge[kNumberOfStandardIcons];
std::atomic<const IconBitmap*> sMini[kNumberOfStandardIcons];
}

void SetStandardIcons(const IconBitmap* const* large, const IconBitmap* const* mini)
{
    for (int i = 0; i < kNumberOfStandardIcons; ++i) {
        sLarge[i].store(large != nullptr ? large[i] : nullptr);
        sMini[i].store(mini != nullptr ? mini[i] : nullptr);
    }
}

const IconBitmap* GetStandardIcon(int number, bool large)
{
    if (number < 0 || number >= kNumberOfStandardIcons)
        return nullptr;
    return large ? sLarge[number].load() : sMini[number].load();
}
