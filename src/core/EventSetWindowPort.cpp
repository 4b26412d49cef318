#include "core/EventSetWindowPort.h"

#include <atomic>

namespace {
std::atomic<EventSetWindowFactory> sFactory{nullptr};
}

void SetEventSetWindowFactory(EventSetWindowFactory factory)
{
    sFactory.store(factory);
}

EventSetWindowFactory GetEventSetWindowFactory()
{
    return sFactory.load();
}
