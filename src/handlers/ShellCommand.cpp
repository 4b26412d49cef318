#include "handlers/ShellCommand.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "calvorin/EventAddOnData.h"
#include "core/ErrorReporting.h"

extern char** environ;

namespace {

// The thread body: takes ownership of the command copy it is given and of
// the application hold taken for it.
void* ExecuteCommandThread(void* command)
{
    char* text = static_cast<char*>(command);
    // A command that runs and fails is not reported: its status is ignored.
    ShellCommand::Run(text);
    delete[] text;
    EventAddOnData::ProcessDone();
    return nullptr;
}

}  // namespace

bool ShellCommand::Start(const char* command)
{
    char* copy = GetCopyString(command);
    if (copy == nullptr)
        return true;  // an empty command line has nothing to run

    // The hold is taken before the thread exists, so that the application
    // cannot quit between the two.
    EventAddOnData::ProcessHold();
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    // pthread_create reports failure as a status (std::thread would throw).
    int error = pthread_create(&thread, &attributes, ExecuteCommandThread, copy);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        delete[] copy;
        EventAddOnData::ProcessDone();
        return false;
    }
    pthread_setname_np(thread, "ExecuteCommand");
    return true;
}

int ShellCommand::Run(const char* command)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return -1;
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return -1;
    }
    // Input from /dev/null; every descriptor above the standard three is
    // closed, whether or not it was opened close-on-exec.
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    // Signals as a fresh program has them, whatever the application set.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    char shell[] = "/bin/sh";
    char option[] = "-c";
    char* argv[] = {shell, option, const_cast<char*>(command), nullptr};
    pid_t child = -1;
    int error = posix_spawn(&child, shell, &actions, &attributes, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        return -1;

    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return status;
}
