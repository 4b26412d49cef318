#include "platform/LaunchMessage.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "core/Message.h"
#include "platform/FramedSocket.h"

namespace {

status_t ReadMessageFile(int fd, Message* message)
{
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0 ||
        size_t(info.st_size) > FramedSocket::kMaxFrameSize)
        return B_BAD_VALUE;
    std::vector<uint8_t> bytes(size_t(info.st_size));
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t got = pread(fd, bytes.data() + done, bytes.size() - done, off_t(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return B_BAD_VALUE;
        done += size_t(got);
    }
    return message->Unflatten(bytes.data(), bytes.size()) == B_OK ? B_OK : B_BAD_VALUE;
}

}  // namespace

std::string LaunchMessage::Argument(int fd)
{
    return kArgumentPrefix + std::to_string(fd);
}

status_t LaunchMessage::Take(int* argc, char** argv, Message* message)
{
    size_t prefixLength = std::strlen(kArgumentPrefix);
    for (int i = 1; i < *argc; i++) {
        if (std::strncmp(argv[i], kArgumentPrefix, prefixLength) != 0)
            continue;
        const char* number = argv[i] + prefixLength;
        char* end = nullptr;
        errno = 0;
        long fd = std::strtol(number, &end, 10);
        bool valid = *number && end && *end == '\0' && errno == 0 && fd > 2 && fd < 65536;

        for (int j = i; j < *argc; j++)
            argv[j] = argv[j + 1];
        (*argc)--;

        if (!valid)
            return B_BAD_VALUE;
        status_t result = ReadMessageFile(int(fd), message);
        close(int(fd));
        return result;
    }
    return B_NAME_NOT_FOUND;
}
