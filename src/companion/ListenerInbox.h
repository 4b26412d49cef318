// The companion's inbox on a roster listener: requests from other
// processes through the signature's socket.
#pragma once

#include "companion/CompanionInbox.h"
#include "platform/RosterListener.h"

class ListenerInbox : public CompanionInbox {
public:
    explicit ListenerInbox(RosterListener& listener) : fListener(listener) {}
    int FileDescriptor() const override { return fListener.FileDescriptor(); }
    status_t Receive(Message* message, RosterConnection* connection) override
    {
        return fListener.Receive(message, connection);
    }

private:
    RosterListener& fListener;
};
