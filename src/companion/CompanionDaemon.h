// CalvorinBackground's work: holds at most one wake-up time, handed over
// in 'SetE', and at that time asks Calvorin to deliver ('DelE'). Waits in
// an epoll loop over its inbox, its wake-up timer and its signals.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "calvorin/SupportDefs.h"

class Clock;
class CompanionInbox;
class Message;
class WakeUpTimer;

class CompanionDaemon {
public:
    // deliver sends 'DelE' to the application (starting it if need be).
    CompanionDaemon(const Clock& clock, WakeUpTimer& timer, CompanionInbox& inbox,
                    std::function<void()> deliver);
    ~CompanionDaemon();
    CompanionDaemon(const CompanionDaemon&) = delete;
    CompanionDaemon& operator=(const CompanionDaemon&) = delete;

    // Sets up the loop. signalFd (a signalfd, or -1) ends the loop when
    // readable.
    status_t Init(int signalFd = -1);

    // Handles one request. Returns true when *reply is to be sent back.
    bool HandleMessage(const Message& message, Message* reply);

    // Waits up to timeoutMs (-1: without limit) for something to happen
    // and deals with it. False once the companion is to end.
    bool RunOnce(int timeoutMs);
    // Runs until a quit request or a signal.
    void Run();

    std::optional<int32_t> WakeUpTime() const { return fWhen; }
    bool IsQuitting() const { return fQuitting; }

private:
    void SetWakeUpTime(std::optional<int32_t> when);
    void Rearm();
    void Deliver();
    void HandleTimer();
    void HandleInbox();
    void HandleSignal();

    const Clock& fClock;
    WakeUpTimer& fTimer;
    CompanionInbox& fInbox;
    std::function<void()> fDeliver;
    std::optional<int32_t> fWhen;
    bool fQuitting = false;
    int fEpollFd = -1;
    int fSignalFd = -1;
};
