// The per-user folder of the programs' sockets: $XDG_RUNTIME_DIR/calvorin,
// or /tmp/calvorin-<uid>, always a real folder of ours with mode 0700.
#pragma once

#include <string>

#include "calvorin/SupportDefs.h"

class RuntimeFolder {
public:
    // Makes the folder when missing and checks it. A folder of ours with
    // wider permissions is narrowed to 0700; a folder of another user, a
    // link or a file in its place is B_PERMISSION_DENIED.
    static status_t Get(std::string* folder);

    // The socket path of a signature inside the folder (the folder is made
    // and checked). B_BAD_VALUE for an empty signature or a path too long
    // for a socket address.
    static status_t SocketPath(const char* signature, std::string* path);

    // The socket's file name: the signature with '/' (and anything else
    // outside letters, digits and ".+-_") replaced by '_'.
    static std::string SocketName(const char* signature);
};
