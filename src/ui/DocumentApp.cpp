#include "ui/DocumentApp.h"

#include <QWidget>

#include "calvorin/EventAddOnData.h"

DocumentApp* DocumentApp::sInstance = nullptr;

DocumentApp::DocumentApp(int& argc, char** argv, const char* signature)
    : QApplication(argc, argv), fSignature(signature)
{
    sInstance = this;
    // Windows do not end the application by themselves: the hold count does.
    setQuitOnLastWindowClosed(false);
    SetProcessDoneHook(&DocumentApp::LastHandlerHoldReleased);
}

DocumentApp::~DocumentApp()
{
    SetProcessDoneHook(nullptr);
    sInstance = nullptr;
}

void DocumentApp::RegisterWindow()
{
    fQuitInProgress.store(false);
    ProcessHold();
}

void DocumentApp::UnregisterWindow()
{
    ProcessDone();
}

void DocumentApp::ProcessHold()
{
    fHoldCount.fetch_add(1);
}

void DocumentApp::ProcessDone()
{
    // Only the release that takes the count from 1 to 0 lets the
    // application go.
    if (fHoldCount.fetch_sub(1) == 1)
        HoldReleased();
}

int32_t DocumentApp::CountRegWindProcHolds() const
{
    return fHoldCount.load() + CurrentProcessHolds();
}

void DocumentApp::LastHandlerHoldReleased()
{
    if (sInstance != nullptr)
        sInstance->HoldReleased();
}

void DocumentApp::HoldReleased()
{
    // The windows' and the handlers' holds are counted apart; the quit is
    // asked for only when both are gone.
    if (CountRegWindProcHolds() == 0)
        PostQuitRequest();
}

bool DocumentApp::QuitRequested()
{
    fQuitInProgress.store(true);
    // Every window is asked; one that refuses (unsaved changes the user
    // wants to keep) stays, and so does the application.
    const QWidgetList windows = topLevelWidgets();
    for (QWidget* window : windows) {
        if (window->isVisible() && window->property("calvorinDocumentWindow").toBool())
            window->close();
    }
    return CountRegWindProcHolds() == 0;
}
