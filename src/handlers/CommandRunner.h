// How the "Command" handler starts a command line without waiting for it:
// the shell on a thread of its own in the program (ShellCommand), a fake in
// tests.
#pragma once

class CommandRunner {
public:
    virtual ~CommandRunner() = default;
    // Starts the command and returns at once; false when it could not be
    // started at all (no thread could be made). Works on its own copy.
    virtual bool Start(const char* command) = 0;
};

// The runner in use: a ShellCommand unless another was installed.
CommandRunner& GetCommandRunner();
// Installs a runner (not owned); nullptr goes back to the shell.
void SetCommandRunner(CommandRunner* runner);
