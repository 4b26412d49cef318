// Messages over a stream socket: each one a 4-byte length (big-endian)
// followed by the flattened message; reads and writes end at a deadline.
#pragma once

#include <cstddef>
#include <cstdint>

#include "calvorin/SupportDefs.h"

class Message;

class FramedSocket {
public:
    // The largest flattened message accepted from a peer.
    static constexpr size_t kMaxFrameSize = 1024 * 1024;
    // How long one message may take to arrive or to leave.
    static constexpr int kDefaultTimeoutMs = 2000;

    // B_OK; B_TIMED_OUT; B_BAD_VALUE (message too large); B_ERROR (peer gone).
    static status_t Write(int fd, const Message& message, int timeoutMs = kDefaultTimeoutMs);
    // B_OK; B_TIMED_OUT; B_BAD_VALUE (bad length or bytes that are not a
    // message); B_ERROR (the peer closed early or the socket failed).
    static status_t Read(int fd, Message* message, int timeoutMs = kDefaultTimeoutMs);

    // True when the process at the other end runs as our own user.
    static bool PeerIsSameUser(int fd);
};
