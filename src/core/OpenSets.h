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
};
