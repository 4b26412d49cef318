// An event set owned by a test: deleted the way the application deletes
// one, under the open-sets lock and its own lock.
#pragma once

#include <memory>
#include <string>

#include "core/EventSet.h"
#include "core/OpenSets.h"

struct SetDeleter {
    void operator()(EventSet* set) const
    {
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }
};
using SetPointer = std::unique_ptr<EventSet, SetDeleter>;

// A new, empty, untitled set without a window.
inline SetPointer NewSet()
{
    return SetPointer(new EventSet(nullptr, false, nullptr, nullptr));
}

// A text for comparisons: null shows as "<null>".
inline std::string Str(const char* text)
{
    return text != nullptr ? text : "<null>";
}
