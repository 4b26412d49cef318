// The "Command" handler's data for one event (handler 3): a shell command
// run when the event occurs, optionally after asking the user.
#pragma once

#include <cstdint>

#include "calvorin/EventAddOnData.h"

extern char DefHandCommandName[];

class CommandDataHandler : public EventAddOnData {
public:
    using EditViewMaker = QWidget* (*)(CommandDataHandler* data, Rect frame);

    explicit CommandDataHandler(Event* attachedTo);
    ~CommandDataHandler() override;

    QWidget* CreateEditView(Rect frame) override;
    bool SaveData(EndianIndependentFile* file) override;
    // Runs the command on a thread of its own (see CommandRunner), after
    // asking the user when verify is set; reports a command that could not
    // be started. Called without the set's lock held.
    void DealWithEvent(bool missed) override;

    // The command line (null when none). SetCommand stores a copy ("" becomes
    // null) and marks the event modified under the event's lock.
    const char* GetCommand() const { return fCommand; }
    void SetCommand(const char* command);

    // Whether to ask the user before running the command. Changing it does
    // not mark the event modified.
    bool GetVerify() const { return fVerify != 0; }
    void SetVerify(bool verify) { fVerify = verify ? 1 : 0; }

    // Reads the record (see SaveData for its layout).
    bool ReadData(EndianIndependentFile* file);

    // The UI installs the maker of the edit view (command field and check box).
    static void SetEditViewMaker(EditViewMaker maker);

private:
    uint8_t fVerify = 0;
    char* fCommand = nullptr;
};

EventAddOnData* DefHandCommand_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
