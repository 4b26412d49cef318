// Finds, messages and launches programs by signature: each running
// instance listens on its signature's socket in the user's runtime folder
// (see RosterListener); programs that do not run are started from the
// executable registered for their signature.
#pragma once

#include <string>

#include "calvorin/SupportDefs.h"
#include "platform/FramedSocket.h"

class Message;

class Roster {
public:
    // Hands message to the running instance. B_NAME_NOT_FOUND when nobody
    // listens; B_PERMISSION_DENIED when the listener is another user or the
    // socket folder is unsafe; B_TIMED_OUT, B_ERROR on a stuck or failing
    // peer. With reply, waits for the instance's answer on the same
    // connection.
    static status_t SendMessage(const char* signature, const Message& message,
                                Message* reply = nullptr,
                                int timeoutMs = FramedSocket::kDefaultTimeoutMs);

    // True when an instance listens for the signature.
    static bool IsRunning(const char* signature);

    // Makes sure the program runs and has message (may be null). When an
    // instance runs, it gets the message and the result is
    // B_ALREADY_RUNNING. Otherwise the registered executable is started
    // detached, in its own session, with the message handed over as its
    // launch message (see LaunchMessage), and the result is B_OK.
    // B_LAUNCH_FAILED_APP_NOT_FOUND: no executable is registered, or it is
    // not an executable file. B_LAUNCH_FAILED: it could not be started.
    static status_t Launch(const char* signature, const Message* message = nullptr);

    // The executable that Launch starts for a signature (for this process).
    static void RegisterExecutable(const char* signature, const std::string& path);
    // The registered path, or "" when none is.
    static std::string FindExecutable(const char* signature);

    // The folder holding this process's own executable.
    static std::string OwnFolder();
};
