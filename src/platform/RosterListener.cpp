#include "platform/RosterListener.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "core/Message.h"
#include "platform/RuntimeFolder.h"

namespace {

sockaddr_un SocketAddress(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

// True when something accepts connections on path.
bool SomeoneListens(const std::string& path)
{
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    sockaddr_un address = SocketAddress(path);
    bool listening = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return listening;
}

}  // namespace

RosterListener::~RosterListener()
{
    Stop();
}

status_t RosterListener::Start(const char* signature)
{
    if (fListenFd >= 0)
        return B_BAD_VALUE;
    std::string path;
    status_t result = RuntimeFolder::SocketPath(signature, &path);
    if (result != B_OK)
        return result;

    std::string lockPath = path + ".lock";
    int lockFd = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lockFd < 0)
        return B_PERMISSION_DENIED;
    if (flock(lockFd, LOCK_EX | LOCK_NB) != 0) {
        close(lockFd);
        return errno == EWOULDBLOCK ? B_ALREADY_RUNNING : B_ERROR;
    }

    // Under the lock, a socket file that nobody answers on is stale: an
    // instance died without cleaning up.
    struct stat info;
    if (lstat(path.c_str(), &info) == 0) {
        if (SomeoneListens(path)) {
            close(lockFd);
            return B_ALREADY_RUNNING;
        }
        if (S_ISDIR(info.st_mode) || unlink(path.c_str()) != 0) {
            close(lockFd);
            return B_ERROR;
        }
    }

    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address = SocketAddress(path);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(fd, 16) != 0) {
        if (fd >= 0)
            close(fd);
        close(lockFd);
        return B_ERROR;
    }
    fListenFd = fd;
    fLockFd = lockFd;
    fSocketPath = path;
    return B_OK;
}

void RosterListener::Stop()
{
    if (fListenFd >= 0) {
        // Still under our lock, so the socket file is ours to remove.
        unlink(fSocketPath.c_str());
        close(fListenFd);
        fListenFd = -1;
    }
    if (fLockFd >= 0) {
        close(fLockFd);
        fLockFd = -1;
    }
}

status_t RosterListener::Receive(Message* message, RosterConnection* connection, int timeoutMs)
{
    if (fListenFd < 0)
        return B_ERROR;
    int fd;
    do {
        fd = accept4(fListenFd, nullptr, nullptr, SOCK_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return (errno == EAGAIN || errno == EWOULDBLOCK) ? B_WOULD_BLOCK : B_ERROR;

    RosterConnection accepted(fd);
    if (!FramedSocket::PeerIsSameUser(fd))
        return B_PERMISSION_DENIED;
    status_t result = FramedSocket::Read(fd, message, timeoutMs);
    if (result != B_OK)
        return result;
    if (connection)
        *connection = std::move(accepted);
    return B_OK;
}
