// The "Command" handler's data for one event (handler 3): a shell command
// run when the event occurs, optionally after asking the user.
#pragma once

#include "handlers/VerifiedTextHandler.h"

extern char DefHandCommandName[];

class CommandDataHandler : public VerifiedTextHandler {
public:
    using EditViewMaker = QWidget* (*)(CommandDataHandler* data, Rect frame);

    explicit CommandDataHandler(Event* attachedTo);

    QWidget* CreateEditView(Rect frame) override;
    // Runs the command on a thread of its own (see CommandRunner), after
    // asking the user when verify is set; reports a command that could not
    // be started. Called without the set's lock held.
    void DealWithEvent(bool missed) override;

    // The command line (null when none). SetCommand stores a copy ("" becomes
    // null) and marks the event modified under the event's lock.
    const char* GetCommand() const { return GetText(); }
    void SetCommand(const char* command) { SetText(command); }

    // The UI installs the maker of the edit view (command field and check box).
    static void SetEditViewMaker(EditViewMaker maker);
};

EventAddOnData* DefHandCommand_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
