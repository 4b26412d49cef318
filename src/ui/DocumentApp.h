// The application base: a QApplication that stays alive while windows are
// registered or work holds it, and asks itself to quit when the last hold
// goes. The holds of the handlers' own work (EventAddOnData::ProcessHold)
// count as well.
#pragma once

#include <QApplication>

#include <atomic>
#include <cstdint>

class DocumentApp : public QApplication {
    Q_OBJECT

public:
    DocumentApp(int& argc, char** argv, const char* signature);
    ~DocumentApp() override;

    // The one application object, or null.
    static DocumentApp* Instance() { return sInstance; }

    void RegisterWindow();
    void UnregisterWindow();
    void ProcessHold();
    void ProcessDone();
    // Registered windows plus holds, the handlers' included.
    int32_t CountRegWindProcHolds() const;
    bool IsQuitInProgress() const { return fQuitInProgress.load(); }
    void CancelQuitProcess() { fQuitInProgress.store(false); }
    const char* Signature() const { return fSignature; }

    // Asks every window to close; true when nothing holds the application
    // any more.
    virtual bool QuitRequested();
    // Hands the application the standard quit request (from any thread).
    virtual void PostQuitRequest() = 0;

private:
    static void LastHandlerHoldReleased();
    void HoldReleased();

    static DocumentApp* sInstance;
    const char* fSignature;
    std::atomic<int32_t> fHoldCount{0};
    std::atomic<bool> fQuitInProgress{false};
};
