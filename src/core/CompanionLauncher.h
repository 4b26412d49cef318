// How the application starts its companion CalvorinBackground and hands it
// a message. The application uses the Roster; tests script the results.
#pragma once

#include "calvorin/SupportDefs.h"

class Message;

class CompanionLauncher {
public:
    virtual ~CompanionLauncher() = default;
    // Starts the program registered for the companion's signature with
    // message (null: none), or hands the message to the running one. B_OK,
    // B_ALREADY_RUNNING, or why it failed.
    virtual status_t LaunchBySignature(const Message* message) = 0;
    // The same with the file "CalvorinBackground" in the application's own
    // folder; on success that file becomes the one registered for the
    // signature. B_LAUNCH_FAILED_APP_NOT_FOUND when there is no such file.
    virtual status_t LaunchByFile(const Message* message) = 0;
};
