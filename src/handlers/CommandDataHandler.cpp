#include "handlers/CommandDataHandler.h"

#include <atomic>

#include "calvorin/Event.h"
#include "core/ErrorReporting.h"
#include "handlers/EventLock.h"
#include "handlers/HandlerRecord.h"
#include "handlers/VerifiedTextRecord.h"

char DefHandCommandName[] = "Command";

namespace {

std::atomic<CommandDataHandler::EditViewMaker> gEditViewMaker{nullptr};

}  // namespace

CommandDataHandler::CommandDataHandler(Event* attachedTo) : EventAddOnData(attachedTo) {}

CommandDataHandler::~CommandDataHandler()
{
    delete[] fCommand;
}

void CommandDataHandler::SetEditViewMaker(EditViewMaker maker)
{
    gEditViewMaker.store(maker);
}

QWidget* CommandDataHandler::CreateEditView(Rect frame)
{
    // The view is a widget, made by the maker the UI installed.
    EditViewMaker maker = gEditViewMaker.load();
    return maker != nullptr ? maker(this, frame) : nullptr;
}

void CommandDataHandler::SetCommand(const char* command)
{
    SetNewString(command, &fCommand);
    Event* event = GetAttachedTo();
    EventLock lock(event);
    event->SetModified();
}

bool CommandDataHandler::SaveData(EndianIndependentFile* file)
{
    return WriteVerifiedTextRecord(file, fVerify, fCommand);
}

bool CommandDataHandler::ReadData(EndianIndependentFile* file)
{
    return ReadVerifiedTextRecord(file, &fVerify, &fCommand);
}

void CommandDataHandler::DealWithEvent(bool)
{
    // Runs in the delivery change.
}

EventAddOnData* DefHandCommand_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    CommandDataHandler* data = new CommandDataHandler(event);
    *ok = true;
    if (file != nullptr && !data->ReadData(file))
        *ok = false;
    return data;
}
