// CalvorinBackground: the companion that holds Calvorin's next wake-up time
// and wakes Calvorin when it comes. Runs as the single instance of its
// signature; a second start hands its launch message to the running one.
//
// Calvorin's executable is "calvorin" beside this program (a build tree),
// else in the installed bindir, else "calvorin" on PATH. The environment
// variable CALVORIN_APP_EXECUTABLE, when set, names another executable to
// start instead (tests use it).
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "companion/CompanionDaemon.h"
#include "companion/CompanionProtocol.h"
#include "companion/ListenerInbox.h"
#include "companion/RealtimeTimer.h"
#include "core/Clock.h"
#include "core/Message.h"
#include "platform/InstallLayout.h"
#include "platform/LaunchMessage.h"
#include "platform/Roster.h"
#include "platform/RosterListener.h"

namespace {

bool IsExecutableFile(const std::string& path)
{
    struct stat info;
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

std::string FindApplication()
{
    const char* chosen = std::getenv("CALVORIN_APP_EXECUTABLE");
    if (chosen && chosen[0])
        return chosen;
    // Beside this program in a build tree, in the installed bindir otherwise.
    std::string installed = InstallLayout::ApplicationExecutable();
    if (IsExecutableFile(installed))
        return installed;
    const char* path = std::getenv("PATH");
    std::string folders = path ? path : "";
    for (size_t start = 0; start <= folders.size();) {
        size_t colon = folders.find(':', start);
        if (colon == std::string::npos)
            colon = folders.size();
        std::string folder = folders.substr(start, colon - start);
        if (!folder.empty() && IsExecutableFile(folder + "/" + kCalvorinFileName))
            return folder + "/" + kCalvorinFileName;
        start = colon + 1;
    }
    return installed;
}

const char* LaunchProblem(status_t result)
{
    if (result == B_LAUNCH_FAILED_APP_NOT_FOUND)
        return "it is missing or not an executable file";
    if (result == B_LAUNCH_FAILED)
        return "it could not be started";
    if (result == B_PERMISSION_DENIED)
        return "the folder of its socket is not safe to use";
    if (result == B_TIMED_OUT)
        return "it did not answer in time";
    return "it did not take the request";
}

// A second instance hands its launch message to the first. The first may
// have just taken the lock and not be listening yet: try for a moment.
int HandOver(const Message* launchMessage)
{
    if (!launchMessage)
        return 0;
    status_t result = B_NAME_NOT_FOUND;
    for (int attempt = 0; attempt < 30 && result == B_NAME_NOT_FOUND; attempt++) {
        result = Roster::SendMessage(kCompanionSignature, *launchMessage);
        if (result == B_NAME_NOT_FOUND)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    if (result == B_OK)
        return 0;
    std::fprintf(stderr,
                 "CalvorinBackground: could not hand the request to the running "
                 "CalvorinBackground.\n");
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Message launchMessage;
    status_t taken = LaunchMessage::Take(&argc, argv, &launchMessage);
    for (int i = 1; i < argc; i++) {
        if (std::strcmp(argv[i], "--help") == 0) {
            std::printf(
                "Usage: CalvorinBackground\n"
                "Holds Calvorin's next wake-up time and starts Calvorin when it comes.\n"
                "Calvorin starts it; it is not meant to be run by hand.\n"
                "Environment: CALVORIN_APP_EXECUTABLE names the program to start instead of\n"
                "\"calvorin\" (beside this program, in the installed bindir, or on PATH).\n");
            return 0;
        }
    }
    if (taken == B_BAD_VALUE)
        std::fprintf(stderr, "CalvorinBackground: the request it was started with is unreadable; "
                             "it is ignored.\n");
    const Message* initial = taken == B_OK ? &launchMessage : nullptr;

    // Signals arrive through a descriptor in the loop, so that the socket
    // is removed on the way out.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGTERM);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGHUP);
    sigprocmask(SIG_BLOCK, &endSignals, nullptr);
    int signalFd = signalfd(-1, &endSignals, SFD_CLOEXEC | SFD_NONBLOCK);

    RosterListener listener;
    status_t started = listener.Start(kCompanionSignature);
    if (started == B_ALREADY_RUNNING)
        return HandOver(initial);
    if (started != B_OK) {
        std::fprintf(stderr,
                     "CalvorinBackground: cannot take requests: its socket folder is missing, "
                     "not private or not writable.\n");
        return 1;
    }

    RealtimeTimer timer;
    if (signalFd < 0 || !timer.IsValid()) {
        std::fprintf(stderr, "CalvorinBackground: cannot set up its timer: %s.\n",
                     std::strerror(errno));
        return 1;
    }

    std::string application = FindApplication();
    Roster::RegisterExecutable(kCalvorinSignature, application);

    ListenerInbox inbox(listener);
    SystemClock clock;
    CompanionDaemon daemon(clock, timer, inbox, [&application]() {
        Message deliver(kDeliverEventsMsg);
        status_t result = Roster::Launch(kCalvorinSignature, &deliver);
        if (result != B_OK && result != B_ALREADY_RUNNING)
            std::fprintf(stderr, "CalvorinBackground: could not start Calvorin (%s): %s.\n",
                         application.c_str(), LaunchProblem(result));
    });
    if (daemon.Init(signalFd) != B_OK) {
        std::fprintf(stderr, "CalvorinBackground: cannot set up its event loop: %s.\n",
                     std::strerror(errno));
        return 1;
    }
    // The launch message comes first, before the loop starts waiting.
    if (initial) {
        Message reply;
        daemon.HandleMessage(*initial, &reply);
    }
    daemon.Run();
    close(signalFd);
    return 0;
}
