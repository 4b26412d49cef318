#include "core/DeliveryScheduler.h"

#include "calvorin/Event.h"
#include "companion/CompanionProtocol.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/CompanionLauncher.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "core/Message.h"
#include "core/OpenSets.h"

namespace {

bool Succeeded(status_t result)
{
    return result == B_OK || result == B_ALREADY_RUNNING;
}

}  // namespace

bool DeliveryScheduler::TakesPart(int32_t whichEvents, bool open, bool remembered)
{
    switch (whichEvents) {
        case kOpenSetsOnly: return open;
        case kOpenAndRememberedSets: return open || remembered;
        case kRememberedSetsOnly: return remembered;
        case kRememberedUnlessOpen: return remembered && !open;
        default: return false;
    }
}

NextDelivery DeliveryScheduler::FindNextDelivery()
{
    NextDelivery best;
    Autolock settingsLock(CalvorinSettings::Protect);
    Autolock setsLock(OpenSets::Protect);
    const int32_t which = CalvorinSettings::WhichEventsToDeliver;
    for (EventSet* set : OpenSets::Sets) {
        Autolock lock(set);
        const bool open = set->GetWindow() != nullptr;
        const bool remembered = CalvorinSettings::IsFileRemembered(set->GetFileName());
        if (!TakesPart(which, open, remembered))
            continue;
        Event* event = nullptr;
        const int32_t time = set->GetNextEventTime(&event);
        // Strictly earlier only: on a tie the set loaded first keeps it.
        if (time != 0 && (best.time == 0 || time < best.time)) {
            best.time = time;
            best.event = event;
            best.set = set;
        }
    }
    return best;
}

DeliveryScheduler::Decision DeliveryScheduler::Decide(int32_t best, int32_t now)
{
    if (best == 0)
        return Decision::kSendNone;
    if (best <= now)
        return Decision::kDeliverNow;
    return Decision::kSendWhen;
}

void DeliveryScheduler::SetCounterForNextEvent(bool startupCheck)
{
    const NextDelivery next = FindNextDelivery();
    fDeliveryInProgress = false;
    fDeliveryStartupFlag = false;

    Message message(kNextEventMsg);
    switch (Decide(next.time, CurrentTime())) {
        case Decision::kSendNone:
            // The companion forgets its time; whatever happens is ignored.
            fLauncher.LaunchBySignature(&message);
            return;
        case Decision::kDeliverNow:
            // Nothing goes to the companion now: the end of this step posts
            // DeliveryDoneMsg, which comes back here. While an alert of
            // the step waits, the set and the event are marked: the event
            // cannot be deleted and the set is not destroyed until the
            // step's end.
            fDeliveryInProgress = true;
            fDeliveryStartupFlag = startupCheck;
            next.set->Lock();
            next.set->BeginDelivery(next.event);
            next.event->DealWithEvent(startupCheck);
            next.set->Unlock();
            next.set->EndDelivery();
            return;
        case Decision::kSendWhen:
            if (message.AddInt32(kWhenField, next.time) != B_OK) {
                ReportError("SetCounterForNextEvent: Failed to record next event time in "
                            "NextEventMessage");
                return;
            }
            LaunchBackgroundApp(&message);
            return;
    }
}

void DeliveryScheduler::LaunchBackgroundApp(const Message* message)
{
    bool failed = false;
    if (!Succeeded(fLauncher.LaunchBySignature(message))) {
        failed = !Succeeded(fLauncher.LaunchByFile(message));
    }

    if (failed) {
        if (!fAlreadyToldUser) {
            ReportCompoundError(
                "Calvorin was unable to locate its background executable (the file should be "
                "named \"CalvorinBackground\", and should have the signature \"",
                kCompanionSignature,
                "\").  Normally, it should be in the same folder as Calvorin.  Without it, "
                "Calvorin will be unable to inform you when events occur, although you can "
                "still edit event sets and the events they contain.");
        }
        fAlreadyToldUser = true;
        return;
    }
    if (fAlreadyToldUser) {
        AlertRequest request;
        request.title = "Calvorin";
        request.text =
            "Calvorin successfully started its background executable, and can now deliver "
            "events normally.";
        request.buttons = {"Continue"};
        request.shortcuts = {0};
        request.kind = AlertKind::Information;
        GetAlertPort().Go(request);
        fAlreadyToldUser = false;
    }
}
