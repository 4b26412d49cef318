// The delivery alert: every handler tells the user of an event through it.
#include <cstdio>
#include <ctime>
#include <string>

#include "calvorin/AddOn.h"
#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "core/AlertPort.h"
#include "core/TimeText.h"

namespace {

// The time of a missed occurrence, always on the 12-hour clock, e.g.
// "Sun, Jan 05 1999, 09:05 AM".
std::string MissedTimeText(int32_t time)
{
    struct tm cal = {};
    Safe_localtime(time, &cal);
    int hour = cal.tm_hour > 12 ? cal.tm_hour - 12 : (cal.tm_hour == 0 ? 12 : cal.tm_hour);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s, %s %02d %04d, %02d:%02d %s",
                  DayAbbr[cal.tm_wday], MonthAbbr[cal.tm_mon], cal.tm_mday,
                  cal.tm_year + 1900, hour, cal.tm_min, cal.tm_hour > 11 ? "PM" : "AM");
    return buffer;
}

}  // namespace

int DeliverEventMessage(Event* event, bool missed, const char* text1, const char* text2,
                        const char* text3, const char* text4, const char* text5,
                        const char* button0, const char* button1)
{
    AlertRequest request;
    request.kind = AlertKind::Information;
    {
        // The set's lock is held only while the text is built, never while
        // the alert waits for the user.
        EventOwner* owner = event->GetOwner();
        if (owner != nullptr)
            owner->Lock();
        std::string& text = request.text;
        text = "Calvorin event:  ";
        if (const char* name = event->GetName())
            text += name;
        if (missed) {
            text += "\nThe event was missed.  It occurred ";
            text += MissedTimeText(event->GetActualEventTime());
        }
        for (const char* piece : {text1, text2, text3, text4, text5}) {
            if (piece != nullptr)
                text += piece;
        }
        if (owner != nullptr)
            owner->Unlock();
    }
    // An add-on that gives no first button still gets one to answer with.
    request.buttons.push_back(button0 != nullptr ? button0 : "OK");
    if (button1 != nullptr)
        request.buttons.push_back(button1);
    request.shortcuts.assign(request.buttons.size(), 0);
    return GetAlertPort().Go(request);
}
