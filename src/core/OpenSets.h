// The process-wide list of loaded event sets, in load order, and its lock.
// A set removes itself from the list when it is destroyed.
#pragma once

#include <vector>

#include "calvorin/Locker.h"

class EventSet;

class OpenSets {
public:
    static std::vector<EventSet*> Sets;
    static Locker Protect;

    // Rebuilds every loaded event's list texts (after the clock format
    // changed) and tells the windows that show them. Takes Protect and each
    // set's lock in turn; the caller holds neither.
    static void RefreshEventTexts();
};
