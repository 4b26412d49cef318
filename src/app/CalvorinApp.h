// The application: owns the settings, the handler registry and the loaded
// event sets; runs with windows for editing, or without any as a short
// delivery run started by CalvorinBackground. Application messages (the
// core's posts, the companion's 'DelE', documents handed over by a second
// start) are handled one at a time on the GUI thread, as by a looper: one
// that arrives while another is being handled (an alert is waiting for the
// user) waits its turn.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "core/DeliveryScheduler.h"
#include "core/Message.h"
#include "core/MessageTarget.h"
#include "platform/DesktopLauncher.h"
#include "platform/RosterCompanionLauncher.h"
#include "ui/DocumentApp.h"
#include "ui/QuitFlags.h"

class QFileDialog;
class QSocketNotifier;
class QtAlertPort;
class RosterListener;

// Process-wide flags of the run.
extern bool BackgroundOnlyStartup;  // "-background" was given
extern bool DeliverOnly;            // 'DelE' arrived: deliver, open no window
// FullQuitProcess and QuitProcess, shared with the event set windows:
// ui/QuitFlags.h.

class CalvorinApp : public DocumentApp, public MessageTarget {
    Q_OBJECT

public:
    // listener: this process's hold on the application's signature; its
    // messages are taken from the start of the message loop on.
    CalvorinApp(int& argc, char** argv, RosterListener& listener);
    ~CalvorinApp() override;

    // Queues a message for the application (from any thread).
    void PostMessage(const Message& message) override;
    using MessageTarget::PostMessage;
    void PostQuitRequest() override;

    // What the platform hands over before ReadyToRun: the arguments, then
    // the launch message, if any. Then ReadyToRun, then the message loop.
    void Start(int argc, char** argv, const Message* launchMessage);

    void ArgvReceived(int32_t argc, char** argv);
    void RefsReceived(const Message& message);
    void ReadyToRun();
    void OpenSet(const char* path, bool showWindow);
    void OpenUserInterface();
    void RevertToSavedIfRemembered(const char* path);
    void OpenSetWindow(const char* path);
    static char* GetNextUntitledWindowName();
    void MessageReceived(const Message& message);
    void HelpRequested();
    bool QuitRequested() override;
    void FullQuit();
    void Quit();

    void SetCounterForNextEvent(bool startupCheck);
    void LaunchBackgroundApp(const Message* message);

    // After the loop: a 'DelE' that came in while quitting, to be handed
    // to the next instance.
    bool DeliveryPendingAtExit() const { return fDeliveryPendingAtExit; }
    // Grabs the first window into path shortly after start, then quits.
    void ScheduleScreenshot(const std::string& path);

private:
    void DispatchQueued();
    void ReadInbox();
    void DrainInboxAtQuit();
    void OpenDocuments(const Message& message);
    void ShowOpenPanel();
    void TakeScreenshot();

    RosterListener& fListener;
    QSocketNotifier* fInbox = nullptr;
    RosterCompanionLauncher fLauncher;
    DesktopLauncher fFileLauncher;  // the "Act on file" handler's launcher
    DeliveryScheduler fScheduler;
    QFileDialog* fOpenPanel = nullptr;
    std::mutex fQueueLock;
    std::deque<Message> fQueue;
    bool fDispatching = false;
    bool fQuitting = false;
    bool fDeliveryPendingAtExit = false;
    std::string fScreenshotPath;
};
