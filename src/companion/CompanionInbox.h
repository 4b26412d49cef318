// Where the companion's requests come from: its roster listener in the
// program, a queue in tests.
#pragma once

#include "calvorin/SupportDefs.h"
#include "platform/RosterConnection.h"

class Message;

class CompanionInbox {
public:
    virtual ~CompanionInbox() = default;
    // Readable when a request may be waiting.
    virtual int FileDescriptor() const = 0;
    // Takes one request; B_OK with *message set and *connection able to
    // carry a reply, anything else when there is nothing usable.
    virtual status_t Receive(Message* message, RosterConnection* connection) = 0;
};
