// One accepted connection of a RosterListener, kept open so that the
// receiver can answer the message that came on it.
#pragma once

#include "calvorin/SupportDefs.h"
#include "platform/FramedSocket.h"

class Message;

class RosterConnection {
public:
    RosterConnection() = default;
    explicit RosterConnection(int fd) : fFd(fd) {}
    RosterConnection(RosterConnection&& other) noexcept;
    RosterConnection& operator=(RosterConnection&& other) noexcept;
    RosterConnection(const RosterConnection&) = delete;
    RosterConnection& operator=(const RosterConnection&) = delete;
    ~RosterConnection();

    bool IsOpen() const { return fFd >= 0; }
    // Sends the reply; a sender that does not wait for one simply never
    // reads it.
    status_t SendReply(const Message& reply, int timeoutMs = FramedSocket::kDefaultTimeoutMs);
    void Close();

private:
    int fFd = -1;
};
