#include "ui/OccurrencePreview.h"

#include "calvorin/Event.h"
#include "calvorin/EventOwner.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"

// The scratch event's set: it hears of every change and does nothing.
class OccurrencePreview::ScratchOwner : public EventOwner {
public:
    ScratchOwner() : EventOwner("Occurrence preview") {}
    void EventModified(Event*) override {}
    void SetModified() override {}
    void RemoveEvent(Event*) override {}
    const char* GetFileName() const override { return nullptr; }
};

OccurrencePreview::OccurrencePreview() : fOwner(std::make_unique<ScratchOwner>())
{
    // A new event takes the next cascade position for its window; the
    // scratch event has no window, so the cascade is put back.
    Autolock settings(CalvorinSettings::Protect);
    const WindowPositionSet cascade = CalvorinSettings::EventWindowPosition;
    fScratch = new Event(fOwner.get());
    CalvorinSettings::EventWindowPosition = cascade;
}

OccurrencePreview::~OccurrencePreview()
{
    delete fScratch;
}

void OccurrencePreview::TakeTiming(const Event* event)
{
    Event::Raw to = fScratch->RawFields();
    to.PeriodType() = event->GetPeriodType();
    to.Multiple() = event->GetMultiple();
    to.Timing() = event->GetTimingType();
    to.SavedTimingType() = event->GetSavedTimingType();
    to.EventTime() = event->GetEventTime();
    to.DayOfMonth() = event->GetDayOfMonth();
    to.WeekOfMonth() = event->GetWeekOfMonth();
    to.DayOfWeek() = event->GetDayOfWeek();
    to.Month() = event->GetMonth();
    to.MultiStartTime() = event->GetMultiStartTime();
    to.ApplyTime() = event->GetApplyTime();
    to.TimeToApply() = event->GetTimeToApply();
    to.SubIntType() = event->GetSubIntType();
    to.ApplyStop() = event->GetApplyStop();
    to.StopTime() = event->GetStopTime();
    // Occurrences only: no prewarnings.
    to.ApplyPrewarn() = false;
}

std::vector<int32_t> OccurrencePreview::Next(int count, int32_t now)
{
    std::vector<int32_t> times;
    const PeriodicityType period = fScratch->GetPeriodType();
    const bool counted = period >= MultiAnnually && period <= SubDaily;
    // A zero interval never moves on; there is nothing sensible to show.
    if ((counted && fScratch->GetMultiple() == 0) ||
        (period == SubDaily && fScratch->GetSubIntType() == Months))
        return times;

    ScopedThreadClock clock(now);
    for (int i = 0; i < count; ++i) {
        fScratch->UpdateEventTime();
        if (fScratch->GetStatus() == DoneWithEvent)
            break;
        const int32_t occurrence = fScratch->GetActualEventTime();
        if (occurrence <= now)
            break;
        times.push_back(occurrence);
        // The next one is the first after this one.
        now = occurrence;
        clock.Set(now);
    }
    return times;
}
