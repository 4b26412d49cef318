// The message a program was launched with: Roster::Launch hands it over as
// an inherited, sealed in-memory file named by the hidden argument
// "--launch-message-fd=N"; the program takes it before its ready-to-run step.
#pragma once

#include <string>

#include "calvorin/SupportDefs.h"

class Message;

class LaunchMessage {
public:
    static constexpr const char* kArgumentPrefix = "--launch-message-fd=";

    static std::string Argument(int fd);

    // Looks for the hidden argument in argv[1..]. When present, it is
    // removed from argv (argc shrinks), the message is read and the
    // descriptor closed. B_OK: *message holds the launch message.
    // B_NAME_NOT_FOUND: there was none. B_BAD_VALUE: the argument or the
    // bytes behind it were not a message (the argument is removed anyway).
    static status_t Take(int* argc, char** argv, Message* message);
};
