#include "core/MessageTarget.h"

#include <atomic>

namespace {
std::atomic<MessageTarget*> sApplication{nullptr};
}

void SetApplicationTarget(MessageTarget* target)
{
    sApplication.store(target);
}

MessageTarget* GetApplicationTarget()
{
    return sApplication.load();
}

void PostToApplication(uint32_t what)
{
    if (MessageTarget* app = sApplication.load())
        app->PostMessage(what);
}
