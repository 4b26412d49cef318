// Something that messages can be posted to: the application, a window. The
// core posts and never waits; the application delivers them on its own
// thread (queued calls in Qt).
#pragma once

#include <cstdint>

#include "core/Message.h"

class MessageTarget {
public:
    virtual ~MessageTarget() = default;
    virtual void PostMessage(const Message& message) = 0;
    void PostMessage(uint32_t what) { PostMessage(Message(what)); }
};

// The application object, as the core sees it; null (messages are dropped)
// in tools and in tests that do not install one.
void SetApplicationTarget(MessageTarget* target);
MessageTarget* GetApplicationTarget();
// Posts a bare command code to the application, if there is one.
void PostToApplication(uint32_t what);

// Command codes understood by the application.
constexpr uint32_t kSetsChanged = 7;       // recompute and hand over the next delivery time
constexpr uint32_t kEventChangedInSet = 25;  // to a set window: the event in "Event" changed
