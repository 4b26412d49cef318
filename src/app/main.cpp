// calvorin: the application. One instance runs per user: a second start
// hands its files to the running one and ends. "-background" starts
// without windows (the login autostart does this); CalvorinBackground
// starts it with the delivery request 'DelE'.
//
// Hidden developer options: "--screenshot PATH" grabs the first window
// half a second after start into PATH and quits; "--full-quit" and
// "--quit" ask the running instance for a full quit or a quit to the
// background (with no instance running, --full-quit stops the companion).
#include <QSocketNotifier>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

#include "app/CalvorinApp.h"
#include "companion/CompanionProtocol.h"
#include "core/AlertPort.h"
#include "core/ApplicationMessages.h"
#include "core/LocalZone.h"
#include "core/Message.h"
#include "core/StartupArguments.h"
#include "platform/LaunchMessage.h"
#include "platform/Roster.h"
#include "platform/RosterListener.h"
#include "ui/QtAlertPort.h"

namespace {

int sSignalPipe[2] = {-1, -1};

void OnEndSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] ssize_t written = write(sSignalPipe[1], &byte, 1);
}

void PrintHelp()
{
    std::printf(
        "Usage: calvorin [FILE...]\n"
        "       calvorin -background [FILE...]\n"
        "\n"
        "Personal reminders for the desktop. Opens the event sets named, or the ones\n"
        "remembered for delivery, or a new untitled set. Only one Calvorin runs at a\n"
        "time: a second start hands its files to the running one.\n"
        "\n"
        "  -background  start without windows: deliver what is due, hand the next\n"
        "               time to CalvorinBackground, and quit\n"
        "  --help       show this help\n"
        "  --version    show the version\n");
}

bool HasValue(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr && value[0] != '\0';
}

// What a second start hands the running instance: its files as full paths.
Message HandOverMessage(int argc, char** argv, bool background)
{
    Message message(B_REFS_RECEIVED);
    message.AddBool(kBackgroundField, background);
    for (int i = 1; i < argc; ++i) {
        if (StartupArguments::IsBackgroundArgument(argv[i]))
            continue;
        std::string path;
        if (!StartupArguments::NormalisedPath(argv[i], &path)) {
            std::fprintf(stderr, "calvorin: \"%s\" is not a file name; it is skipped.\n", argv[i]);
            continue;
        }
        message.AddData(kRefsField, B_REF_TYPE, path.c_str(), path.size() + 1);
    }
    return message;
}

// Hands message to the running instance and waits for it to be taken.
// 0: taken. 1: failed (explained). -1: the other instance has gone
// meanwhile and this process now holds the signature.
int HandOver(RosterListener& listener, const Message& message)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        Message reply;
        status_t result = Roster::SendMessage(kCalvorinSignature, message, &reply);
        if (result == B_OK && reply.what == kHandOverTakenMsg)
            return 0;
        if (result == B_PERMISSION_DENIED) {
            std::fprintf(stderr, "calvorin: the running Calvorin cannot be reached: its socket "
                                 "folder is not private to you.\n");
            return 1;
        }
        // Not listening yet, busy, or quitting: it may be gone by now.
        status_t started = listener.Start(kCalvorinSignature);
        if (started == B_OK)
            return -1;
        if (started != B_ALREADY_RUNNING) {
            std::fprintf(stderr, "calvorin: cannot take requests: the folder of its socket is "
                                 "missing, not private or not writable.\n");
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::fprintf(stderr, "calvorin: another Calvorin is running but does not answer.\n");
    return 1;
}

// --quit and --full-quit.
int AskRunningInstance(bool full)
{
    Message reply;
    status_t result = Roster::SendMessage(
        kCalvorinSignature, Message(full ? FullQuitMsg : kQuitRequestedMsg), &reply);
    if (result == B_OK && reply.what == kHandOverTakenMsg) {
        std::printf(full ? "Calvorin was asked for a full quit.\n"
                         : "Calvorin was asked to quit to the background.\n");
        return 0;
    }
    if (result == B_NAME_NOT_FOUND) {
        if (full && Roster::SendMessage(kCompanionSignature, Message(kQuitRequestedMsg)) == B_OK)
            std::printf("Calvorin is not running; CalvorinBackground was asked to quit.\n");
        else
            std::printf("Calvorin is not running.\n");
        return 0;
    }
    std::fprintf(stderr, "calvorin: the running Calvorin did not take the request.\n");
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    PinLocalTimeZone();
    std::signal(SIGPIPE, SIG_IGN);

    Message launchMessage;
    const status_t taken = LaunchMessage::Take(&argc, argv, &launchMessage);
    if (taken == B_BAD_VALUE)
        std::fprintf(stderr, "calvorin: the request it was started with is unreadable; it is "
                             "ignored.\n");
    const Message* launch = taken == B_OK ? &launchMessage : nullptr;

    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            PrintHelp();
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("calvorin %s\n", CALVORIN_VERSION);
            return 0;
        }
    }

    StartupArguments options;
    std::string problem;
    if (!options.TakeHiddenOptions(&argc, argv, &problem)) {
        std::fprintf(stderr, "calvorin: %s\n", problem.c_str());
        return 2;
    }
    if (options.fullQuit || options.quit)
        return AskRunningInstance(options.fullQuit);

    BackgroundOnlyStartup = StartupArguments::HasBackgroundArgument(argc, argv);

    // One instance per user.
    RosterListener listener;
    status_t started = listener.Start(kCalvorinSignature);
    if (started == B_ALREADY_RUNNING) {
        // The files, if any (or, without a launch message, the wish to see
        // Calvorin), then the launch message.
        int handed = 0;
        if (argc > 1 || launch == nullptr)
            handed = HandOver(listener, HandOverMessage(argc, argv, BackgroundOnlyStartup));
        if (handed == 0 && launch != nullptr)
            handed = HandOver(listener, *launch);
        if (handed >= 0)
            return handed;
    } else if (started != B_OK) {
        std::fprintf(stderr, "calvorin: cannot take requests: the folder of its socket is "
                             "missing, not private or not writable.\n");
        return 1;
    }

    // Windows need a display; a run without windows does not.
    const bool withoutWindows =
        BackgroundOnlyStartup || (launch != nullptr && launch->what == kDeliverEventsMsg);
    if (!HasValue("QT_QPA_PLATFORM") && !HasValue("DISPLAY") && !HasValue("WAYLAND_DISPLAY")) {
        if (!withoutWindows) {
            std::fprintf(stderr,
                         "calvorin: there is no display to show windows on (neither DISPLAY nor "
                         "WAYLAND_DISPLAY is set). Start Calvorin from your desktop session, or "
                         "use \"calvorin -background\" to deliver events without windows.\n");
            return 1;
        }
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }

    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if (platform != nullptr && std::strcmp(platform, "offscreen") == 0)
        std::fprintf(stderr, "calvorin: no display: alerts are written here instead of shown, "
                             "and answered with their default button.\n");

    // Alerts come before the application object is complete.
    QtAlertPort dialogs;
    SetAlertPort(&dialogs);
    int status = 0;
    bool deliveryPending = false;
    {
        // Qt must not see the hidden options; argv keeps the file names.
        int qtArgc = 1;
        CalvorinApp app(qtArgc, argv, listener);

        if (pipe2(sSignalPipe, O_CLOEXEC | O_NONBLOCK) == 0) {
            struct sigaction action = {};
            action.sa_handler = OnEndSignal;
            sigemptyset(&action.sa_mask);
            for (int signal : {SIGTERM, SIGINT, SIGHUP})
                sigaction(signal, &action, nullptr);
            auto* notifier = new QSocketNotifier(sSignalPipe[0], QSocketNotifier::Read, &app);
            QObject::connect(notifier, &QSocketNotifier::activated, &app, [&app]() {
                char bytes[16];
                while (read(sSignalPipe[0], bytes, sizeof(bytes)) > 0) {
                }
                app.PostQuitRequest();
            });
        }

        if (!options.screenshotPath.empty())
            app.ScheduleScreenshot(options.screenshotPath);
        app.Start(argc, argv, launch);
        status = app.exec();
        deliveryPending = app.DeliveryPendingAtExit();
    }
    SetAlertPort(nullptr);
    listener.Stop();
    // A delivery request that came while quitting goes to the next run.
    if (deliveryPending) {
        Message deliver(kDeliverEventsMsg);
        Roster::Launch(kCalvorinSignature, &deliver);
    }
    return status;
}
