#include "handlers/UnknownDataHandler.h"

#include <atomic>
#include <string>

#include "calvorin/AddOn.h"
#include "core/ErrorReporting.h"
#include "handlers/EventLock.h"
#include "handlers/HandlerRecord.h"
#include "handlers/HandlerRegistry.h"

char DefHandUnknownName[] = "Unknown";

namespace {

std::atomic<UnknownDataHandler::EditViewMaker> gEditViewMaker{nullptr};

}  // namespace

UnknownDataHandler::UnknownDataHandler(Event* attachedTo) : EventAddOnData(attachedTo)
{
    SetNewString(DefHandUnknownName, &fHandlerName);
}

UnknownDataHandler::~UnknownDataHandler()
{
    delete[] fHandlerName;
    delete[] fData;
}

void UnknownDataHandler::SetEditViewMaker(EditViewMaker maker)
{
    gEditViewMaker.store(maker);
}

QWidget* UnknownDataHandler::CreateEditView(Rect frame)
{
    // The view is a widget, made by the maker the UI installed.
    EditViewMaker maker = gEditViewMaker.load();
    return maker != nullptr ? maker(this, frame) : nullptr;
}

void UnknownDataHandler::SetOriginalHandler(const char* name)
{
    SetNewString(name, &fHandlerName);
}

bool UnknownDataHandler::SaveData(EndianIndependentFile* file)
{
    return WriteRecordCount(file, fDataLength) && WriteRecordBytes(file, fData, fDataLength);
}

bool UnknownDataHandler::ReadData(EndianIndependentFile* file)
{
    uint32_t count = 0;
    if (!ReadRecordCount(file, &count))
        return false;
    fDataLength = count;
    if (count == 0)
        return true;
    return ReadRecordBytes(file, count, &fData);
}

void UnknownDataHandler::DealWithEvent(bool missed)
{
    Event* event = GetAttachedTo();
    bool nag = false;
    char* name = nullptr;
    {
        EventLock lock(event);
        nag = event->GetApplyNag();
        name = GetCopyString(fHandlerName);
    }
    // The user's add-on folder is named as it is on this machine.
    std::string folder = UserAddOnFolder();
    const char* opening =
        "\n\nThe event occurred, but the add-on event handler which owns it is not loaded.  "
        "The handler is called \"";
    const char* middle = "\".  Add-on event handlers should be stored in \"";
    const char* closing = "\" or in the add-ons folder in the Calvorin application folder.";
    if (!nag) {
        DeliverEventMessage(event, missed, opening, name, middle, folder.c_str(), closing, "OK",
                            nullptr);
    } else if (DeliverEventMessage(event, missed, opening, name, middle, folder.c_str(), closing,
                                   "Don't nag", "OK") == 0) {
        EventLock lock(event);
        event->SetSkipNag();
    }
    delete[] name;
}

EventAddOnData* DefHandUnknown_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    *ok = true;
    if (file == nullptr)
        return nullptr;
    UnknownDataHandler* data = new UnknownDataHandler(event);
    if (!data->ReadData(file))
        *ok = false;
    return data;
}
