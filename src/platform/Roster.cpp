#include "platform/Roster.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "core/Message.h"
#include "platform/DetachedProcess.h"
#include "platform/RuntimeFolder.h"

namespace {

std::mutex sRegistryLock;
std::map<std::string, std::string>& Registry()
{
    static std::map<std::string, std::string> registry;
    return registry;
}

// Connects to the signature's socket, checking that our own user listens.
status_t Connect(const char* signature, int timeoutMs, int* fdOut)
{
    std::string path;
    status_t result = RuntimeFolder::SocketPath(signature, &path);
    if (result != B_OK)
        return result;
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return B_ERROR;
    // A listener whose queue is full makes connect wait; not for ever.
    timeval timeout = {timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int connected;
    do {
        connected = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    } while (connected != 0 && errno == EINTR);
    if (connected != 0) {
        int error = errno;
        close(fd);
        if (error == ENOENT || error == ECONNREFUSED)
            return B_NAME_NOT_FOUND;
        if (error == EACCES || error == EPERM)
            return B_PERMISSION_DENIED;
        if (error == EAGAIN || error == EINPROGRESS)
            return B_TIMED_OUT;
        return B_ERROR;
    }
    if (!FramedSocket::PeerIsSameUser(fd)) {
        close(fd);
        return B_PERMISSION_DENIED;
    }
    *fdOut = fd;
    return B_OK;
}

}  // namespace

status_t Roster::SendMessage(const char* signature, const Message& message, Message* reply,
                             int timeoutMs)
{
    int fd = -1;
    status_t result = Connect(signature, timeoutMs, &fd);
    if (result != B_OK)
        return result;
    result = FramedSocket::Write(fd, message, timeoutMs);
    if (result == B_OK && reply)
        result = FramedSocket::Read(fd, reply, timeoutMs);
    close(fd);
    return result;
}

bool Roster::IsRunning(const char* signature)
{
    int fd = -1;
    if (Connect(signature, FramedSocket::kDefaultTimeoutMs, &fd) != B_OK)
        return false;
    close(fd);
    return true;
}

status_t Roster::Launch(const char* signature, const Message* message)
{
    if (!signature || !signature[0])
        return B_BAD_VALUE;
    int fd = -1;
    status_t result = Connect(signature, FramedSocket::kDefaultTimeoutMs, &fd);
    if (result == B_OK) {
        // Without a message, connecting was enough to learn that it runs.
        if (message)
            result = FramedSocket::Write(fd, *message);
        close(fd);
        return result == B_OK ? B_ALREADY_RUNNING : result;
    }
    if (result != B_NAME_NOT_FOUND)
        return result;

    std::string path = FindExecutable(signature);
    struct stat info;
    if (path.empty() || stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        access(path.c_str(), X_OK) != 0)
        return B_LAUNCH_FAILED_APP_NOT_FOUND;
    if (message) {
        std::vector<uint8_t> flat = message->Flatten();
        if (flat.size() > FramedSocket::kMaxFrameSize)
            return B_BAD_VALUE;
        return DetachedProcess::Start(path, &flat);
    }
    return DetachedProcess::Start(path, nullptr);
}

void Roster::RegisterExecutable(const char* signature, const std::string& path)
{
    if (!signature)
        return;
    std::lock_guard<std::mutex> lock(sRegistryLock);
    if (path.empty())
        Registry().erase(signature);
    else
        Registry()[signature] = path;
}

std::string Roster::FindExecutable(const char* signature)
{
    if (!signature)
        return std::string();
    std::lock_guard<std::mutex> lock(sRegistryLock);
    auto found = Registry().find(signature);
    return found == Registry().end() ? std::string() : found->second;
}

std::string Roster::OwnFolder()
{
    char buffer[4096];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
    if (length <= 0)
        return std::string();
    std::string path(buffer, size_t(length));
    size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}
