// Makes a program THE running instance of a signature: holds the
// signature's lock file and listens on its socket, and receives the
// messages that launches and senders hand it.
#pragma once

#include <string>

#include "calvorin/SupportDefs.h"
#include "platform/FramedSocket.h"
#include "platform/RosterConnection.h"

class Message;

class RosterListener {
public:
    RosterListener() = default;
    RosterListener(const RosterListener&) = delete;
    RosterListener& operator=(const RosterListener&) = delete;
    // Stops listening: removes the socket and gives up the lock.
    ~RosterListener();

    // Takes "<socket>.lock", then binds the socket, replacing a stale one
    // left by an instance that died. B_ALREADY_RUNNING when a live instance
    // holds the signature; B_PERMISSION_DENIED for an unsafe socket folder.
    status_t Start(const char* signature);
    void Stop();

    // The listening socket (non-blocking), to watch for readability in an
    // event loop; -1 before Start.
    int FileDescriptor() const { return fListenFd; }
    const std::string& SocketPath() const { return fSocketPath; }

    // Accepts one waiting connection and reads one message from it. B_OK:
    // *message is set, and *connection (when given) can send a reply.
    // B_WOULD_BLOCK: nobody is waiting. B_PERMISSION_DENIED: the peer runs
    // as another user. B_BAD_VALUE / B_TIMED_OUT / B_ERROR: the peer sent
    // no well-formed message in time; it is dropped.
    status_t Receive(Message* message, RosterConnection* connection = nullptr,
                     int timeoutMs = FramedSocket::kDefaultTimeoutMs);

private:
    int fListenFd = -1;
    int fLockFd = -1;
    std::string fSocketPath;
};
