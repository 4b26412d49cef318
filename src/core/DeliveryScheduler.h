// Keeps the companion holding the right wake-up time: finds the earliest
// pending action among the sets that take part in delivery, delivers it at
// once when it is due, and otherwise hands the time to CalvorinBackground
// ('SetE'), starting it when needed and telling the user once when that
// fails and once when it works again.
#pragma once

#include <cstdint>

#include "calvorin/SupportDefs.h"

class CompanionLauncher;
class Event;
class EventSet;
class Message;

// The earliest pending action of the sets that take part, with its event
// and set; time 0 when there is none.
struct NextDelivery {
    int32_t time = 0;
    Event* event = nullptr;
    EventSet* set = nullptr;
};

class DeliveryScheduler {
public:
    enum class Decision { kSendNone, kDeliverNow, kSendWhen };

    explicit DeliveryScheduler(CompanionLauncher& launcher) : fLauncher(launcher) {}

    // Whether a loaded set takes part under the WhichEventsToDeliver value
    // (values outside 0..4 deliver nothing).
    static bool TakesPart(int32_t whichEvents, bool open, bool remembered);
    // Scans OpenSets in order under the settings lock, then the open-sets
    // lock, then each set's lock; on a tie the earlier set wins.
    static NextDelivery FindNextDelivery();
    // Nothing pending: send none; due (now or earlier): deliver now;
    // otherwise send the time.
    static Decision Decide(int32_t best, int32_t now);

    // Recomputes and hands over the next time, or deals with a due event
    // (Event::DealWithEvent with startupCheck; its end posts code 6, which
    // calls this again). Runs on the application's thread.
    void SetCounterForNextEvent(bool startupCheck);
    // Makes sure the companion runs and has message (null: only runs).
    void LaunchBackgroundApp(const Message* message);

    bool DeliveryInProgress() const { return fDeliveryInProgress; }
    bool DeliveryStartupFlag() const { return fDeliveryStartupFlag; }
    bool AlreadyToldUser() const { return fAlreadyToldUser; }

private:
    CompanionLauncher& fLauncher;
    bool fDeliveryInProgress = false;
    bool fDeliveryStartupFlag = false;
    bool fAlreadyToldUser = false;
};
