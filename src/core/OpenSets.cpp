#include "core/OpenSets.h"

std::vector<EventSet*> OpenSets::Sets;
Locker OpenSets::Protect("Open sets");
