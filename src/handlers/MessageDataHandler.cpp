#include "handlers/MessageDataHandler.h"

#include <atomic>
#include <cstring>

#include "calvorin/AddOn.h"
#include "core/ErrorReporting.h"
#include "handlers/EventLock.h"
#include "handlers/HandlerRecord.h"

char DefHandMessageName[] = "Message";

namespace {

std::atomic<MessageDataHandler::EditViewMaker> gEditViewMaker{nullptr};

}  // namespace

MessageDataHandler::MessageDataHandler(Event* attachedTo) : EventAddOnData(attachedTo) {}

MessageDataHandler::~MessageDataHandler()
{
    delete[] fMessage;
}

void MessageDataHandler::SetEditViewMaker(EditViewMaker maker)
{
    gEditViewMaker.store(maker);
}

QWidget* MessageDataHandler::CreateEditView(Rect frame)
{
    // The editor is a widget, made by the maker the UI installed; without a
    // UI there is nothing to show.
    EditViewMaker maker = gEditViewMaker.load();
    return maker != nullptr ? maker(this, frame) : nullptr;
}

void MessageDataHandler::SetMessage(const char* message)
{
    SetNewString(message, &fMessage);
}

bool MessageDataHandler::SaveData(EndianIndependentFile* file)
{
    // Count 0 stands for no message; otherwise the text and its zero follow.
    uint32_t count = fMessage != nullptr ? uint32_t(std::strlen(fMessage) + 1) : 0;
    return WriteRecordCount(file, count) && WriteRecordBytes(file, fMessage, count);
}

bool MessageDataHandler::ReadData(EndianIndependentFile* file)
{
    uint32_t count = 0;
    if (!ReadRecordCount(file, &count))
        return false;
    if (count == 0)
        return true;
    char* text = nullptr;
    if (!ReadRecordBytes(file, count, &text))
        return false;
    delete[] fMessage;
    fMessage = text;  // an empty text read from a file stays empty
    return true;
}

void MessageDataHandler::DealWithEvent(bool missed)
{
    Event* event = GetAttachedTo();
    bool nag = false;
    char* message = nullptr;
    {
        EventLock lock(event);
        nag = event->GetApplyNag();
        message = GetCopyString(fMessage);
    }
    if (!nag) {
        DeliverEventMessage(event, missed, "\n\n", message, nullptr, nullptr, nullptr, "OK",
                            nullptr);
    } else if (DeliverEventMessage(event, missed, "\n\n", message, nullptr, nullptr, nullptr,
                                   "Don't nag", "OK") == 0) {
        EventLock lock(event);
        event->SetSkipNag();
    }
    delete[] message;
}

EventAddOnData* DefHandMessage_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    MessageDataHandler* data = new MessageDataHandler(event);
    *ok = true;
    if (file != nullptr && !data->ReadData(file))
        *ok = false;
    return data;
}
