// An event set owned by a test: deleted the way the application deletes
// one, under the open-sets lock and its own lock.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "calvorin/Event.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"

struct SetDeleter {
    void operator()(EventSet* set) const
    {
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }
};
using SetPointer = std::unique_ptr<EventSet, SetDeleter>;

// A new, empty, untitled set without a window.
inline SetPointer NewSet()
{
    return SetPointer(new EventSet(nullptr, false, nullptr, nullptr));
}

// A text for comparisons: null shows as "<null>".
inline std::string Str(const char* text)
{
    return text != nullptr ? text : "<null>";
}

// Every number an event stores, in the order of its file record: name and
// texts, handler data and icons aside.
inline std::vector<int64_t> EventNumbers(const Event* e)
{
    const Rect f = e->GetWindowFrame();
    return {e->GetNextEventTime(), e->GetActualEventTime(), e->GetActive(), e->GetStatus(),
            e->GetDeletable(), e->GetPeriodType(), e->GetMultiple(), e->GetTimingType(),
            e->GetSavedTimingType(), e->GetEventTime(), e->GetDayOfMonth(), e->GetWeekOfMonth(),
            e->GetDayOfWeek(), e->GetMonth(), e->GetMultiStartTime(), e->GetApplyTime(),
            e->GetTimeToApply(), e->GetSubIntType(), e->GetApplyStop(), e->GetStopTime(),
            e->GetApplyPrewarn(), e->GetPrewarnTime(), e->GetPrewarnType(), e->GetApplyPrewarnRepeat(),
            e->GetPrewarnRepeatTime(), e->GetPrewarnRepeatType(), e->GetApplyNag(), e->GetNagRepeatTime(),
            e->GetNagRepeatType(), e->GetDeliverIfMissed(), e->GetDeleteOnceDelivered(),
            e->GetIconNumber(), int64_t(f.left), int64_t(f.top), int64_t(f.right), int64_t(f.bottom),
            e->GetShouldWindowOpen(), e->GetTabShown()};
}

// The event's texts: name, prewarning, nag message and comment.
inline std::vector<std::string> EventTexts(const Event* e)
{
    return {Str(e->GetName()), Str(e->GetPrewarnMessage()), Str(e->GetNagMessage()), Str(e->GetComment())};
}
