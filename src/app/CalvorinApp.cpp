#include "app/CalvorinApp.h"

#include <QIcon>

#include <QDesktopServices>
#include <QFileDialog>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "calvorin/Locker.h"
#include "companion/CompanionProtocol.h"
#include "core/AlertPort.h"
#include "core/ApplicationMessages.h"
#include "core/ApplicationSets.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/OpenSets.h"
#include "core/SettingsPersistence.h"
#include "core/StartupArguments.h"
#include "core/TimeText.h"
#include "handlers/HandlerRegistry.h"
#include "platform/InstallLayout.h"
#include "platform/Roster.h"
#include "platform/RosterConnection.h"
#include "platform/RosterListener.h"
#include "ui/EventSetWindow.h"
#include "ui/InstallEventEditor.h"
#include "ui/SettingsWindow.h"

bool BackgroundOnlyStartup = false;
bool DeliverOnly = false;

namespace {

bool IsFolder(const std::string& path)
{
    struct stat info;
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The folder whose "add-ons" holds the shipped add-ons: beside the
// executable in a build tree, <libdir>/calvorin when installed.
std::string AddOnParentFolder(const std::string& applicationFolder)
{
    std::string bundled = InstallLayout::BundledAddOnFolder(applicationFolder);
    std::string parent = std::filesystem::path(bundled).parent_path().string();
    return IsFolder(parent) ? parent : applicationFolder;
}

// The messages another process may hand the application.
bool AcceptedFromOutside(uint32_t what)
{
    return what == kDeliverEventsMsg || what == B_REFS_RECEIVED || what == kQuitRequestedMsg ||
           what == FullQuitMsg;
}

}  // namespace

CalvorinApp::CalvorinApp(int& argc, char** argv, RosterListener& listener)
    : DocumentApp(argc, argv, kCalvorinSignature),
      fListener(listener),
      fLauncher(InstallLayout::ApplicationFolder()),
      fScheduler(fLauncher)
{
    if (!InitSafeTime())
        HandleErrorAndExit("CalvorinApp::CalvorinApp: InitSafeTime failed to acquire semaphore");

    // Lets the desktop match the windows to the menu entry and its icon.
    setApplicationName(QStringLiteral("Calvorin"));
    setApplicationVersion(QStringLiteral(CALVORIN_VERSION));
    setDesktopFileName(QStringLiteral("calvorin"));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("calvorin")));

    // Where the executable is: the companion, the help and the shipped
    // add-ons are found from there.
    const std::string folder = InstallLayout::ApplicationFolder();
    if (folder.empty())
        HandleErrorAndExit("CalvorinApp::CalvorinApp: Failed to get app_info");
    if (!IsFolder(folder))
        HandleErrorAndExit("CalvorinApp::CalvorinApp: Failed to get BEntry for Calvorin directory");
    SetApplicationFolder(AddOnParentFolder(folder));
    Roster::RegisterExecutable(kCompanionSignature, InstallLayout::CompanionExecutable(folder));
    Roster::RegisterExecutable(kCalvorinSignature, InstallLayout::ApplicationExecutable(folder));

    SetApplicationTarget(this);
    SetFileLauncher(&fFileLauncher);
    InstallEventSetWindowFactory();
    InstallEventEditor();

    // The companion runs from the first moment.
    LaunchBackgroundApp(nullptr);

    {
        Autolock settingsLock(CalvorinSettings::Protect);
        SettingsPersistence::OpenStore();
        SettingsPersistence::InitSettings();
        LoadEventHandlers();
        Autolock setsLock(OpenSets::Protect);
        ApplicationSets::ReadSelectedSets();
    }
}

CalvorinApp::~CalvorinApp()
{
    SetEventSetWindowFactory(nullptr);
    SetFileLauncher(nullptr);
    SetApplicationTarget(nullptr);
}

void CalvorinApp::PostMessage(const Message& message)
{
    {
        std::lock_guard<std::mutex> lock(fQueueLock);
        fQueue.push_back(message);
    }
    QMetaObject::invokeMethod(this, [this]() { DispatchQueued(); }, Qt::QueuedConnection);
}

void CalvorinApp::PostQuitRequest()
{
    PostMessage(Message(kQuitRequestedMsg));
}

void CalvorinApp::DispatchQueued()
{
    // One message at a time: a message that comes while another is being
    // handled (an alert waits in a nested loop) waits for it to end.
    if (fDispatching || fQuitting)
        return;
    fDispatching = true;
    for (;;) {
        Message message;
        {
            std::lock_guard<std::mutex> lock(fQueueLock);
            if (fQueue.empty())
                break;
            message = std::move(fQueue.front());
            fQueue.pop_front();
        }
        MessageReceived(message);
        if (fQuitting)
            break;
    }
    fDispatching = false;
}

void CalvorinApp::Start(int argc, char** argv, const Message* launchMessage)
{
    fDispatching = true;
    if (argc > 1)
        ArgvReceived(argc, argv);
    if (launchMessage != nullptr)
        MessageReceived(*launchMessage);
    ReadyToRun();
    fDispatching = false;

    // From now on other processes are heard.
    fInbox = new QSocketNotifier(fListener.FileDescriptor(), QSocketNotifier::Read, this);
    connect(fInbox, &QSocketNotifier::activated, this, [this]() { ReadInbox(); });
    // What came meanwhile is handled once the message loop runs.
    QMetaObject::invokeMethod(this, [this]() { DispatchQueued(); }, Qt::QueuedConnection);
}

void CalvorinApp::ArgvReceived(int32_t argc, char** argv)
{
    const bool background = StartupArguments::HasBackgroundArgument(argc, argv);
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock setsLock(OpenSets::Protect);
    for (int32_t i = 1; i < argc; ++i) {
        if (StartupArguments::IsBackgroundArgument(argv[i]))
            continue;
        std::string path;
        if (!StartupArguments::NormalisedPath(argv[i], &path)) {
            ReportCompoundError("CalvorinApp::ArgvReceived: Could not create BPath for file ",
                                argv[i], ".");
            continue;
        }
        // In a background start the sets are loaded without windows.
        OpenSet(path.c_str(), !background);
    }
}

void CalvorinApp::RefsReceived(const Message& message)
{
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock setsLock(OpenSets::Protect);
    uint32_t type = 0;
    int32_t count = 0;
    if (message.GetInfo(kRefsField, &type, &count) != B_OK || type != B_REF_TYPE)
        return;
    for (int32_t i = 0; i < count; ++i) {
        const void* data = nullptr;
        size_t size = 0;
        if (message.FindData(kRefsField, B_REF_TYPE, &data, &size, i) != B_OK || size == 0) {
            ReportError("CalvorinApp::RefsReceived: Could not create BEntry from entry_ref");
            continue;
        }
        std::string path(static_cast<const char*>(data), size);
        path = path.substr(0, path.find('\0'));
        if (path.empty() || path[0] != '/') {
            ReportError("CalvorinApp::RefsReceived: Could not create BPath from BEntry");
            continue;
        }
        OpenSet(path.c_str(), true);
    }
}

void CalvorinApp::OpenDocuments(const Message& message)
{
    // A second start of calvorin handed over its command line.
    uint32_t type = 0;
    int32_t count = 0;
    if (message.GetInfo(kRefsField, &type, &count) != B_OK)
        count = 0;
    if (message.GetBool(kBackgroundField)) {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        for (int32_t i = 0; i < count; ++i) {
            const void* data = nullptr;
            size_t size = 0;
            if (message.FindData(kRefsField, B_REF_TYPE, &data, &size, i) != B_OK)
                continue;
            std::string path(static_cast<const char*>(data), size);
            path = path.substr(0, path.find('\0'));
            if (!path.empty())
                OpenSet(path.c_str(), false);
        }
    } else if (count == 0) {
        // Started again without files: the user wants to see Calvorin.
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        if (!ApplicationSets::AnySetHasWindow()) {
            OpenUserInterface();
        } else {
            for (EventSet* set : OpenSets::Sets) {
                Autolock lock(set);
                if (EventSetWindowPort* window = set->GetWindow())
                    window->Activate();
            }
        }
    } else {
        RefsReceived(message);
    }
    if (!fScheduler.DeliveryInProgress())
        SetCounterForNextEvent(false);
}

void CalvorinApp::ReadyToRun()
{
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        if (!BackgroundOnlyStartup && !DeliverOnly)
            OpenUserInterface();
    }
    // A 'DelE' launch message has already started the delivery.
    if (!DeliverOnly)
        SetCounterForNextEvent(true);
    if (DeliverOnly || BackgroundOnlyStartup) {
        if (!ApplicationSets::AnySetHasWindow())
            PostQuitRequest();
    }
}

void CalvorinApp::OpenSet(const char* path, bool showWindow)
{
    ApplicationSets::OpenSet(path, showWindow);
}

void CalvorinApp::OpenUserInterface()
{
    ApplicationSets::OpenUserInterface();
}

void CalvorinApp::RevertToSavedIfRemembered(const char* path)
{
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        Autolock setsLock(OpenSets::Protect);
        ApplicationSets::ReloadWithoutWindow(path);
    }
    SetCounterForNextEvent(false);
}

void CalvorinApp::OpenSetWindow(const char* path)
{
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock setsLock(OpenSets::Protect);
    ApplicationSets::OpenSetWindow(path);
}

char* CalvorinApp::GetNextUntitledWindowName()
{
    return ::GetNextUntitledWindowName();
}

void CalvorinApp::MessageReceived(const Message& message)
{
    switch (message.what) {
        case NewEventSetMsg: {
            Autolock settingsLock(CalvorinSettings::Protect);
            Autolock setsLock(OpenSets::Protect);
            OpenSet(nullptr, true);
            break;
        }
        case OpenEventSetMsg:
            ShowOpenPanel();
            break;
        case OpenSettingsMsg:
            SettingsWindow::Open();
            break;
        case FullQuitMsg:
            FullQuit();
            break;
        case HelpMsg:
            HelpRequested();
            break;
        case DeliveryDoneMsg:
            SetCounterForNextEvent(fScheduler.DeliveryStartupFlag());
            break;
        case kDeliverEventsMsg:
            DeliverOnly = true;
            [[fallthrough]];
        case SetsChangedMsg:
            if (!fScheduler.DeliveryInProgress())
                SetCounterForNextEvent(false);
            break;
        case B_REFS_RECEIVED:
            OpenDocuments(message);
            break;
        case kQuitRequestedMsg:
            if (QuitRequested())
                Quit();
            break;
        default:
            break;
    }
}

void CalvorinApp::HelpRequested()
{
    const std::string path = InstallLayout::HelpDocument();
    if (path.empty())
        return;
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        AlertRequest request;
        request.title = "Help file error";
        request.text =
            "The help could not be found.  It should reside in the same folder as the Calvorin "
            "application.  If you want to keep it elsewhere, make a link to it in the Calvorin "
            "folder and make sure the link is named \"Calvorin documentation.html\".";
        request.buttons = {"Cancel"};
        request.shortcuts = {0};
        request.kind = AlertKind::Information;
        GetAlertPort().Go(request);
        return;
    }
    // The user's preferred viewer opens it.
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path))))
        ReportCompoundError("Calvorin could not open the help document ", path.c_str(),
                            " with the desktop's viewer.");
}

bool CalvorinApp::QuitRequested()
{
    QuitProcess = true;
    return DocumentApp::QuitRequested();
}

void CalvorinApp::FullQuit()
{
    FullQuitProcess = true;
    PostQuitRequest();
}

void CalvorinApp::Quit()
{
    if (FullQuitProcess) {
        // A companion that does not run needs no telling.
        Roster::SendMessage(kCompanionSignature, Message(kQuitRequestedMsg));
    } else {
        SetCounterForNextEvent(false);
    }
    fQuitting = true;

    ApplicationSets::SaveAndUnloadAll();
    UnloadEventHandlers();
    SettingsWindow::CloseOpen();
    {
        Autolock settingsLock(CalvorinSettings::Protect);
        SettingsPersistence::WriteSettings();
    }
    SettingsPersistence::CloseStore();
    DrainInboxAtQuit();
    exit(0);
}

void CalvorinApp::SetCounterForNextEvent(bool startupCheck)
{
    fScheduler.SetCounterForNextEvent(startupCheck);
}

void CalvorinApp::LaunchBackgroundApp(const Message* message)
{
    fScheduler.LaunchBackgroundApp(message);
}

void CalvorinApp::ReadInbox()
{
    // Everything waiting now; a peer that sends nothing useful costs only
    // its own connection.
    for (int handled = 0; handled < 64; ++handled) {
        Message message;
        RosterConnection connection;
        status_t result = fListener.Receive(&message, &connection);
        if (result == B_WOULD_BLOCK)
            break;
        if (result != B_OK)
            continue;
        if (!AcceptedFromOutside(message.what))
            continue;
        // The sender learns that its message was taken.
        connection.SendReply(Message(kHandOverTakenMsg));
        PostMessage(message);
    }
}

void CalvorinApp::DrainInboxAtQuit()
{
    // Nobody reads after this: a delivery request that came in meanwhile is
    // passed on to the next instance. Others get no answer and try again.
    for (int handled = 0; handled < 64; ++handled) {
        Message message;
        status_t result = fListener.Receive(&message, nullptr, 200);
        if (result == B_WOULD_BLOCK)
            break;
        if (result == B_OK && message.what == kDeliverEventsMsg)
            fDeliveryPendingAtExit = true;
    }
}

void CalvorinApp::ShowOpenPanel()
{
    if (fOpenPanel == nullptr) {
        fOpenPanel = new QFileDialog(nullptr, QStringLiteral("Calvorin: Open"));
        fOpenPanel->setFileMode(QFileDialog::ExistingFiles);
        fOpenPanel->setNameFilters({QStringLiteral("Event sets (*.calvorin)"),
                                    QStringLiteral("All files (*)")});
        connect(fOpenPanel, &QFileDialog::filesSelected, this, [this](const QStringList& files) {
            Message refs(B_REFS_RECEIVED);
            for (const QString& file : files) {
                const std::string path = file.toStdString();
                refs.AddData(kRefsField, B_REF_TYPE, path.c_str(), path.size() + 1);
            }
            PostMessage(refs);
        });
    }
    fOpenPanel->show();
    fOpenPanel->raise();
    fOpenPanel->activateWindow();
}

void CalvorinApp::ScheduleScreenshot(const std::string& path)
{
    fScreenshotPath = path;
    QTimer::singleShot(500, this, [this]() { TakeScreenshot(); });
}

void CalvorinApp::TakeScreenshot()
{
    QWidget* shown = nullptr;
    for (QWidget* window : topLevelWidgets()) {
        if (window->isVisible() && window->property("calvorinDocumentWindow").toBool()) {
            shown = window;
            break;
        }
    }
    if (shown == nullptr)
        std::fprintf(stderr, "calvorin: --screenshot: no window is open\n");
    else if (!shown->grab().save(QString::fromStdString(fScreenshotPath)))
        std::fprintf(stderr, "calvorin: --screenshot: could not write %s\n", fScreenshotPath.c_str());
    PostQuitRequest();
}
