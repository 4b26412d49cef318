// Works out an event's coming occurrences without touching the event: its
// timing is copied into a private scratch event, which is then asked for its
// next occurrence at "now" and just after each occurrence found, with the
// clock moved for the calling thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

class Event;

class OccurrencePreview {
public:
    OccurrencePreview();
    ~OccurrencePreview();
    OccurrencePreview(const OccurrencePreview&) = delete;
    OccurrencePreview& operator=(const OccurrencePreview&) = delete;

    // Copies the timing fields of the event; the caller holds its lock.
    void TakeTiming(const Event* event);
    // Up to count occurrences after now, earliest first. Empty when the
    // event will not occur again, or when its interval is zero.
    std::vector<int32_t> Next(int count, int32_t now);

private:
    class ScratchOwner;
    std::unique_ptr<ScratchOwner> fOwner;
    Event* fScratch = nullptr;
};
