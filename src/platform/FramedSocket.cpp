#include "platform/FramedSocket.h"

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "core/Message.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

int RemainingMs(SteadyClock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now());
    return left.count() > 0 ? int(left.count()) : 0;
}

// Waits until fd is ready for events or the deadline passes.
status_t WaitFor(int fd, short events, SteadyClock::time_point deadline)
{
    for (;;) {
        pollfd entry = {fd, events, 0};
        int ready = poll(&entry, 1, RemainingMs(deadline));
        if (ready > 0)
            return B_OK;
        if (ready == 0)
            return B_TIMED_OUT;
        if (errno != EINTR)
            return B_ERROR;
    }
}

status_t SendAll(int fd, const uint8_t* data, size_t size, SteadyClock::time_point deadline)
{
    while (size > 0) {
        status_t ready = WaitFor(fd, POLLOUT, deadline);
        if (ready != B_OK)
            return ready;
        ssize_t sent = send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
                continue;
            return B_ERROR;
        }
        data += sent;
        size -= size_t(sent);
    }
    return B_OK;
}

status_t ReceiveAll(int fd, uint8_t* data, size_t size, SteadyClock::time_point deadline)
{
    while (size > 0) {
        status_t ready = WaitFor(fd, POLLIN, deadline);
        if (ready != B_OK)
            return ready;
        ssize_t got = recv(fd, data, size, MSG_DONTWAIT);
        if (got < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
                continue;
            return B_ERROR;
        }
        if (got == 0)
            return B_ERROR;
        data += got;
        size -= size_t(got);
    }
    return B_OK;
}

}  // namespace

status_t FramedSocket::Write(int fd, const Message& message, int timeoutMs)
{
    std::vector<uint8_t> flat = message.Flatten();
    if (flat.empty() || flat.size() > kMaxFrameSize)
        return B_BAD_VALUE;
    uint32_t size = uint32_t(flat.size());
    std::vector<uint8_t> frame = {uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8),
                                  uint8_t(size)};
    frame.insert(frame.end(), flat.begin(), flat.end());
    return SendAll(fd, frame.data(), frame.size(),
                   SteadyClock::now() + std::chrono::milliseconds(timeoutMs));
}

status_t FramedSocket::Read(int fd, Message* message, int timeoutMs)
{
    auto deadline = SteadyClock::now() + std::chrono::milliseconds(timeoutMs);
    uint8_t header[4];
    status_t result = ReceiveAll(fd, header, sizeof(header), deadline);
    if (result != B_OK)
        return result;
    uint32_t size = (uint32_t(header[0]) << 24) | (uint32_t(header[1]) << 16) |
                    (uint32_t(header[2]) << 8) | uint32_t(header[3]);
    if (size == 0 || size > kMaxFrameSize)
        return B_BAD_VALUE;
    std::vector<uint8_t> flat(size);
    result = ReceiveAll(fd, flat.data(), flat.size(), deadline);
    if (result != B_OK)
        return result;
    return message->Unflatten(flat.data(), flat.size()) == B_OK ? B_OK : B_BAD_VALUE;
}

bool FramedSocket::PeerIsSameUser(int fd)
{
    ucred credentials = {};
    socklen_t length = sizeof(credentials);
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0 ||
        length != sizeof(credentials))
        return false;
    return credentials.uid == geteuid();
}
