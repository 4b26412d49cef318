// The "Act on file" handler's data for one event (handler 4): a file that is
// launched (an executable) or opened with its application when the event
// occurs, optionally after asking the user.
#pragma once

#include "handlers/VerifiedTextHandler.h"

extern char DefHandActOnFileName[];

class ActOnFileDataHandler : public VerifiedTextHandler {
public:
    using EditViewMaker = QWidget* (*)(ActOnFileDataHandler* data, Rect frame);

    explicit ActOnFileDataHandler(Event* attachedTo);

    QWidget* CreateEditView(Rect frame) override;
    // Launches the file when it is an executable, otherwise opens it with
    // its default application (see FileLauncher), after asking the user
    // when verify is set; tells the user of a missing file or a failed
    // launch. Called without the set's lock held.
    void DealWithEvent(bool missed) override;

    // The absolute path of the file (null when none). SetFileName stores a
    // copy ("" becomes null) and marks the event modified under its lock.
    const char* GetFileName() const { return GetText(); }
    void SetFileName(const char* path) { SetText(path); }

    // The UI installs the maker of the edit view (file line, button, check box).
    static void SetEditViewMaker(EditViewMaker maker);
};

EventAddOnData* DefHandActOnFile_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
