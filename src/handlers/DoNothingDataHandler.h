// The "Do nothing" handler's data (handler 1), for events that serve only
// their prewarnings and nagging: it has nothing to keep and does nothing.
#pragma once

#include "calvorin/EventAddOnData.h"

extern char DefHandDoNothingName[];

class DoNothingDataHandler : public EventAddOnData {
public:
    explicit DoNothingDataHandler(Event* attachedTo);

    // Nothing to edit: always null.
    QWidget* CreateEditView(Rect frame) override;
    // Writes a count of 0 and nothing else.
    bool SaveData(EndianIndependentFile* file) override;
    void DealWithEvent(bool missed) override;
};

EventAddOnData* DefHandDoNothing_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
