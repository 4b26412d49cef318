#include "handlers/CommandDataHandler.h"

#include <atomic>

#include "calvorin/AddOn.h"
#include "calvorin/Event.h"
#include "core/ErrorReporting.h"
#include "handlers/CommandRunner.h"

char DefHandCommandName[] = "Command";

namespace {

std::atomic<CommandDataHandler::EditViewMaker> gEditViewMaker{nullptr};

}  // namespace

CommandDataHandler::CommandDataHandler(Event* attachedTo) : VerifiedTextHandler(attachedTo) {}

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

void CommandDataHandler::DealWithEvent(bool missed)
{
    Event* event = GetAttachedTo();
    bool verify = false;
    char* command = CopyForDelivery(&verify);
    if (command == nullptr)
        return;

    bool run = !verify ||
               DeliverEventMessage(event, missed, "\n\nCalvorin is about to execute a shell command: \"",
                                   command, "\".  Should the command be executed?", nullptr,
                                   nullptr, "Cancel", "OK") != 0;
    // The command runs on a thread of its own; delivery never waits for it.
    if (run && !GetCommandRunner().Start(command)) {
        if (verify) {
            ReportCompoundError("Calvorin failed to execute the shell command \"", command, "\".");
        } else {
            DeliverEventMessage(event, missed,
                                "\n\nCalvorin attempted to execute a shell command: \"", command,
                                "\".  The command failed to execute.", nullptr, nullptr, "OK",
                                nullptr);
        }
    }
    delete[] command;
}

EventAddOnData* DefHandCommand_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok)
{
    return NewVerifiedTextHandler<CommandDataHandler>(event, file, ok);
}
