#include "handlers/DoNothingDataHandler.h"

#include "handlers/HandlerRecord.h"

char DefHandDoNothingName[] = "Do nothing";

DoNothingDataHandler::DoNothingDataHandler(Event* attachedTo) : EventAddOnData(attachedTo) {}

QWidget* DoNothingDataHandler::CreateEditView(Rect)
{
    return nullptr;
}

bool DoNothingDataHandler::SaveData(EndianIndependentFile* file)
{
    return WriteRecordCount(file, 0);
}

void DoNothingDataHandler::DealWithEvent(bool) {}

EventAddOnData* DefHandDoNothing_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    DoNothingDataHandler* data = new DoNothingDataHandler(event);
    *ok = true;
    // The count is always written as 0; whatever it says, nothing follows it.
    uint32_t count = 0;
    if (file != nullptr && !ReadRecordCount(file, &count))
        *ok = false;
    return data;
}
