// Runs the "Command" handler's command lines through /bin/sh -c, each on a
// detached thread named "ExecuteCommand" that holds the application while
// the command runs and reaps it when it ends (no zombie is left). The
// command reads /dev/null, writes to the program's standard output and
// error, and inherits no other descriptor of the program.
#pragma once

#include "handlers/CommandRunner.h"

class ShellCommand : public CommandRunner {
public:
    // Holds the application (EventAddOnData::ProcessHold) and starts the
    // thread; false, with the hold given back, when no thread can be made.
    bool Start(const char* command) override;

    // Runs command through the shell and waits for it: its wait status, or
    // -1 when the shell could not be started. Like system(), without the
    // program's descriptors.
    static int Run(const char* command);
};
