// Delivering an event: the prewarnings before it, the event itself (its
// handler acts) and the nagging after it, then the step on to whatever comes
// next. Each call deals with one action of one event and posts
// kDeliveryStepDone to the application, which then looks for the next due
// action.
//
// The caller holds the set's lock. It is let go while an alert waits for
// the user and while the handler runs, so that windows keep working. An
// edit made meanwhile that changes the event's status or times has already
// set its next action; the delivery then only ends its step.
//
// Intervals that cannot advance. A prewarning repeat of 0 units (or of an
// unknown unit) leaves the event waiting for the event itself, as the
// next-occurrence computation does. A nag interval that cannot advance puts
// the next nag one second past the later of its own time and now, so that
// "nag until past now" ends, and the user, who asked for nagging without a
// pause, is nagged again as soon as the alert is answered.
#include "core/EventDelivery.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "calvorin/EventOwner.h"
#include "core/AlertPort.h"
#include "core/CalendarFunctions.h"
#include "core/Clock.h"
#include "core/EventWindowPort.h"
#include "core/MessageTarget.h"
#include "core/TimeText.h"

namespace {

// Tolerance for being due and for being missed.
constexpr int64_t kGraceSeconds = 60;
// Length of a day number (raw time values, not local dates).
constexpr int64_t kDayNumberLength = 86400;
// Calendar years (counted from 1900) past the last 32-bit event time.
constexpr int64_t kLastYear = 139;

int64_t DayNumber(int64_t t)
{
    int64_t day = t / kDayNumberLength;
    return (t % kDayNumberLength < 0) ? day - 1 : day;
}

int32_t ClampTime(int64_t t)
{
    if (t > INT32_MAX)
        return INT32_MAX;
    if (t < INT32_MIN)
        return INT32_MIN;
    return static_cast<int32_t>(t);
}

// Seconds in count units of type; 0 for months and for a unit that does
// not exist.
int64_t FixedStep(TimeIntervalType type, uint32_t count)
{
    if (type <= Months || type >= kNumberOfIntervalTypes)
        return 0;
    return int64_t(IntervalLength[type]) * count;
}

bool IsEmptyInterval(TimeIntervalType type, uint32_t count)
{
    return count == 0 || type < 0 || type >= kNumberOfIntervalTypes;
}

// With whole fixed-length steps, the steps that would all land at or before
// bound are taken at once; the caller then takes the last one itself (with
// its notifications).
void SkipWholeSteps(int32_t& t, TimeIntervalType type, uint32_t count, int64_t bound)
{
    int64_t step = FixedStep(type, count);
    if (step > 0 && t <= bound)
        t = ClampTime(t + (bound - t) / step * step);
}

// Lets go of a set's lock, every level the calling thread holds, for a
// scope, and takes it again at the end.
class SetLockRelease {
public:
    explicit SetLockRelease(Locker* lock) : fLock(lock)
    {
        while (fLock != nullptr && fLock->IsLocked()) {
            fLock->Unlock();
            ++fLevels;
        }
    }
    ~SetLockRelease()
    {
        for (int i = 0; i < fLevels; ++i)
            fLock->Lock();
    }
    SetLockRelease(const SetLockRelease&) = delete;
    SetLockRelease& operator=(const SetLockRelease&) = delete;

private:
    Locker* fLock;
    int fLevels = 0;
};

// The row texts, the editor window and the set learn of new times.
void AnnounceTimesChanged(Event* event)
{
    event->RawFields().RefreshColumns();
    if (EventWindowPort* window = event->GetWindow())
        window->PostCommand(kEventTimesChanged);
    if (EventOwner* owner = event->GetOwner()) {
        owner->EventModified(event);
        owner->SetModified();
    }
}

struct WarningAlert {
    const char* title;
    const char* stopButton;
};
constexpr WarningAlert kWarningAlerts[2] = {
    {"Calvorin prewarning", "No more prewarnings"},
    {"Calvorin nag", "No more nagging"},
};

// Shows the prewarning (kind 0) or nag (kind 1) alert of the event with the
// set's lock let go while it waits; true when the user chose to stop them.
bool ShowWarning(Event* event, char kind, const char* message)
{
    char* text = GetNagOrPrewarnMessage(kind, event->GetName(), event->GetActualEventTime(),
                                        event->GetApplyTime(), message);
    AlertRequest request;
    request.title = kWarningAlerts[int(kind)].title;
    request.text = text;
    request.buttons = {kWarningAlerts[int(kind)].stopButton, "OK"};
    request.shortcuts = {'n', 0};
    request.kind = AlertKind::Information;
    delete[] text;

    int answer;
    {
        SetLockRelease released(event->GetProtectionSemaphore());
        answer = GetAlertPort().Go(request);
    }
    return answer == 0;
}

// Removes an event that is to go once delivered. Its editor window goes
// first, closed without the set's lock held (a window is never entered with
// a set's lock held); the set tells its own window when the event takes
// itself out. Windows close synchronously (they all live on the GUI thread):
// if the editor is still open afterwards, the event stays and moves on to
// its next occurrence instead, and goes at a later delivery.
void DeleteDeliveredEvent(Event* event)
{
    EventOwner* owner = event->GetOwner();
    if (EventWindowPort* editor = event->GetWindow()) {
        SetLockRelease released(owner);
        editor->Quit();
    }
    if (event->GetWindow() != nullptr) {
        event->UpdateEventTime();
        return;
    }
    delete event;
    if (owner != nullptr)
        owner->SetModified();
}

}  // namespace

char* GetNagOrPrewarnMessage(char kind, const char* name, long eventTime, bool withTime,
                             const char* message)
{
    std::string text = "The event \"";
    if (name != nullptr)
        text += name;
    text += kind == 0 ? "\" will occur " : "\" occurred ";

    struct tm cal = {};
    Safe_localtime(eventTime, &cal);
    char piece[64];
    if (withTime) {
        int hour = cal.tm_hour % 12 == 0 ? 12 : cal.tm_hour % 12;
        std::snprintf(piece, sizeof piece, "%d:%02d %s ", hour, cal.tm_min,
                      cal.tm_hour < 12 ? "AM" : "PM");
        text += "at ";
        text += piece;
    }
    if (DayNumber(eventTime) == DayNumber(CurrentTime())) {
        text += "today";
    } else {
        text += "on ";
        text += DayNames[cal.tm_wday];
        text += ", ";
        text += MonthNames[cal.tm_mon];
        std::snprintf(piece, sizeof piece, " %d, ", cal.tm_mday);
        text += piece;
        std::snprintf(piece, sizeof piece, " %d", cal.tm_year + 1900);
        text += piece;
    }
    text += ".\n\n";
    if (message != nullptr)
        text += message;

    char* result = new char[text.size() + 1];
    std::memcpy(result, text.c_str(), text.size() + 1);
    return result;
}

void Event::StepMonths(int32_t& time, long months)
{
    struct tm cal;
    Safe_localtime(time, &cal);
    int64_t month = int64_t(cal.tm_mon) + months;
    int64_t carry = month / 12 - (month % 12 < 0 ? 1 : 0);
    int64_t year = int64_t(cal.tm_year) + carry;
    month -= 12 * carry;
    if (year > kLastYear) {
        time = INT32_MAX;
        return;
    }
    cal.tm_year = static_cast<int>(year);
    cal.tm_mon = static_cast<int>(month);
    time = ClampTime(MakeLocalTime64(cal));
}

void Event::DealWithEvent(bool checkMissed)
{
    const int64_t now = CurrentTime();
    bool deliver = false;
    bool missed = false;
    bool posted = false;

    if (Status == WaitingForPrewarning) {
        if (now < ActualEventTime) {
            deliver = true;
        } else {
            // The event itself is due: deal with it now. Its nagging counts
            // from the event's time, not from the prewarning's.
            Status = WaitingForEvent;
            NextEventTime = ActualEventTime;
        }
    }

    if (Status == WaitingForEvent) {
        deliver = true;
        // Missed while the program was not running: late by more than the
        // grace, and either timed or on an earlier day number (an all-day
        // event delivered late on its own day number counts as on time).
        if (checkMissed && ActualEventTime < now - kGraceSeconds &&
            (ApplyTime || DayNumber(ActualEventTime) != DayNumber(now))) {
            if (DeliverIfMissed) {
                missed = true;
            } else {
                deliver = false;
                if (ApplyNag) {
                    Status = WaitingToNag;
                    IncrementNag();
                } else {
                    UpdateEventTime();  // this occurrence passes silently
                }
                PostToApplication(kDeliveryStepDone);
                posted = true;
            }
        }
    }

    if (Status == WaitingToNag && NextEventTime <= now + kGraceSeconds)
        deliver = true;

    if (!deliver) {
        // Nothing was due after all; the application must still hear that
        // this step is over.
        if (!posted)
            PostToApplication(kDeliveryStepDone);
        return;
    }

    // What the delivered action was; an edit while the lock is let go
    // re-evaluates the event and changes it.
    const EventStatus status = Status;
    const int32_t actual = ActualEventTime;
    const int32_t next = NextEventTime;
    switch (Status) {
        case WaitingForPrewarning:
            DeliverPrewarnMessage();
            break;
        case WaitingToNag:
            DeliverNagMessage();
            break;
        case WaitingForEvent:
            if (EventAddOnData* data = GetAddOnData()) {
                SetLockRelease released(GetProtectionSemaphore());
                data->DealWithEvent(missed);
            }
            break;
        default:
            break;
    }
    if (Status != status || ActualEventTime != actual || NextEventTime != next) {
        // The user changed the event while its alert was open or its handler
        // ran, and that set its next action afresh: stepping on from the
        // delivered action now would skip (or delete) what the edit set up.
        // An answer given to the replaced action goes with it.
        SkipPrewarn = false;
        SkipNag = false;
        PostToApplication(kDeliveryStepDone);
        return;
    }
    EventDelivered();
}

void Event::EventDelivered()
{
    const int64_t now = CurrentTime();

    switch (Status) {
        case WaitingForPrewarning:
            if (SkipPrewarn) {
                // With SkipPrewarn still set, this leaves the event waiting
                // for the event itself.
                UpdateEventTime();
                SkipPrewarn = false;
            } else if (NextEventTime <= now) {
                if (ApplyPrewarnRepeat)
                    SkipWholeSteps(NextEventTime, PrewarnRepeatType, PrewarnRepeatTime, now);
                do {
                    IncrementPrewarn();
                } while (NextEventTime <= now && Status == WaitingForPrewarning);
            }
            break;

        case WaitingToNag:
            if (!SkipNag) {
                // At least one step: a nag shown a little before its time
                // (within the grace) is not shown again when that time comes.
                SkipWholeSteps(NextEventTime, NagRepeatType, NagRepeatTime, now);
                do {
                    IncrementNag();
                } while (NextEventTime <= now);
            } else {
                UpdateEventTime();  // clears SkipNag, on to the next occurrence
            }
            break;

        case WaitingForEvent:
            if (ApplyNag && !SkipNag) {
                // The first nag comes one nag interval after the event.
                Status = WaitingToNag;
                SkipWholeSteps(NextEventTime, NagRepeatType, NagRepeatTime, now);
                while (NextEventTime <= now)
                    IncrementNag();
            } else {
                SkipNag = false;
                if (DeleteOnceDelivered && Deletable) {
                    DeleteDeliveredEvent(this);  // this is gone from here on
                    PostToApplication(kDeliveryStepDone);
                    return;
                }
                UpdateEventTime();
            }
            break;

        default:
            break;
    }
    PostToApplication(kDeliveryStepDone);
}

void Event::IncrementPrewarn()
{
    if (!ApplyPrewarnRepeat || IsEmptyInterval(PrewarnRepeatType, PrewarnRepeatTime)) {
        Status = WaitingForEvent;
        NextEventTime = ActualEventTime;
    } else {
        Status = WaitingForPrewarning;
        int32_t next = NextEventTime;
        if (PrewarnRepeatType == Months)
            StepMonths(next, PrewarnRepeatTime);
        else
            next = ClampTime(int64_t(next) + FixedStep(PrewarnRepeatType, PrewarnRepeatTime));
        if (next >= ActualEventTime || next <= NextEventTime) {
            next = ActualEventTime;
            Status = WaitingForEvent;
        }
        NextEventTime = next;
    }
    AnnounceTimesChanged(this);
}

void Event::IncrementNag()
{
    int32_t next = NextEventTime;
    if (!IsEmptyInterval(NagRepeatType, NagRepeatTime)) {
        if (NagRepeatType == Months)
            StepMonths(next, NagRepeatTime);
        else
            next = ClampTime(int64_t(next) + FixedStep(NagRepeatType, NagRepeatTime));
    }
    if (next <= NextEventTime && NextEventTime < INT32_MAX) {
        const int64_t now = CurrentTime();
        next = ClampTime((NextEventTime > now ? int64_t(NextEventTime) : now) + 1);
    }
    NextEventTime = next;
    AnnounceTimesChanged(this);
}

void Event::DeliverPrewarnMessage()
{
    // The text is made before the set's lock is let go.
    if (ShowWarning(this, 0, PrewarnMessage))
        SkipPrewarn = true;
    SetModified();
}

void Event::DeliverNagMessage()
{
    if (ShowWarning(this, 1, NagMessage))
        SkipNag = true;
    SetModified();
}
