#include "platform/RosterConnection.h"

#include <unistd.h>
#include <utility>

RosterConnection::RosterConnection(RosterConnection&& other) noexcept
    : fFd(std::exchange(other.fFd, -1))
{
}

RosterConnection& RosterConnection::operator=(RosterConnection&& other) noexcept
{
    if (this != &other) {
        Close();
        fFd = std::exchange(other.fFd, -1);
    }
    return *this;
}

RosterConnection::~RosterConnection()
{
    Close();
}

status_t RosterConnection::SendReply(const Message& reply, int timeoutMs)
{
    if (fFd < 0)
        return B_ERROR;
    return FramedSocket::Write(fFd, reply, timeoutMs);
}

void RosterConnection::Close()
{
    if (fFd >= 0)
        close(fFd);
    fFd = -1;
}
