#include "handlers/ActOnFileDataHandler.h"

#include <atomic>

#include "calvorin/Event.h"
#include "core/ErrorReporting.h"
#include "handlers/EventLock.h"
#include "handlers/HandlerRecord.h"
#include "handlers/VerifiedTextRecord.h"

char DefHandActOnFileName[] = "Act on file";

namespace {

std::atomic<ActOnFileDataHandler::EditViewMaker> gEditViewMaker{nullptr};

}  // namespace

ActOnFileDataHandler::ActOnFileDataHandler(Event* attachedTo) : EventAddOnData(attachedTo) {}

ActOnFileDataHandler::~ActOnFileDataHandler()
{
    delete[] fFileName;
}

void ActOnFileDataHandler::SetEditViewMaker(EditViewMaker maker)
{
    gEditViewMaker.store(maker);
}

QWidget* ActOnFileDataHandler::CreateEditView(Rect frame)
{
    // The view is a widget, made by the maker the UI installed.
    EditViewMaker maker = gEditViewMaker.load();
    return maker != nullptr ? maker(this, frame) : nullptr;
}

void ActOnFileDataHandler::SetFileName(const char* path)
{
    SetNewString(path, &fFileName);
    Event* event = GetAttachedTo();
    EventLock lock(event);
    event->SetModified();
}

bool ActOnFileDataHandler::SaveData(EndianIndependentFile* file)
{
    return WriteVerifiedTextRecord(file, fVerify, fFileName);
}

bool ActOnFileDataHandler::ReadData(EndianIndependentFile* file)
{
    return ReadVerifiedTextRecord(file, &fVerify, &fFileName);
}

void ActOnFileDataHandler::DealWithEvent(bool)
{
    // Runs in the delivery change.
}

EventAddOnData* DefHandActOnFile_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    ActOnFileDataHandler* data = new ActOnFileDataHandler(event);
    *ok = true;
    if (file != nullptr && !data->ReadData(file))
        *ok = false;
    return data;
}
