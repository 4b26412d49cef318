#include "platform/RuntimeFolder.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

status_t RuntimeFolder::Get(std::string* folder)
{
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    struct stat info;
    if (runtime && runtime[0] == '/' && stat(runtime, &info) == 0 && S_ISDIR(info.st_mode))
        *folder = std::string(runtime) + "/calvorin";
    else
        *folder = "/tmp/calvorin-" + std::to_string(geteuid());

    if (mkdir(folder->c_str(), 0700) != 0 && errno != EEXIST)
        return B_PERMISSION_DENIED;
    // lstat: a link planted in our place is not followed.
    if (lstat(folder->c_str(), &info) != 0 || !S_ISDIR(info.st_mode) ||
        info.st_uid != geteuid())
        return B_PERMISSION_DENIED;
    if ((info.st_mode & 0777) != 0700 && chmod(folder->c_str(), 0700) != 0)
        return B_PERMISSION_DENIED;
    return B_OK;
}

std::string RuntimeFolder::SocketName(const char* signature)
{
    std::string name;
    for (const char* c = signature; c && *c; c++) {
        bool plain = (*c >= 'a' && *c <= 'z') || (*c >= 'A' && *c <= 'Z') ||
                     (*c >= '0' && *c <= '9') || *c == '.' || *c == '+' || *c == '-' ||
                     *c == '_';
        name += plain ? *c : '_';
    }
    return name;
}

status_t RuntimeFolder::SocketPath(const char* signature, std::string* path)
{
    std::string name = SocketName(signature);
    if (name.empty() || name == "." || name == "..")
        return B_BAD_VALUE;
    std::string folder;
    status_t result = Get(&folder);
    if (result != B_OK)
        return result;
    *path = folder + "/" + name;
    if (path->size() >= sizeof(sockaddr_un::sun_path))
        return B_BAD_VALUE;
    return B_OK;
}
