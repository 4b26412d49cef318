#include "core/EventWindowPort.h"

#include <atomic>

namespace {
std::atomic<EventWindowFactory> sFactory{nullptr};
}

void SetEventWindowFactory(EventWindowFactory factory)
{
    sFactory.store(factory);
}

EventWindowFactory GetEventWindowFactory()
{
    return sFactory.load();
}
