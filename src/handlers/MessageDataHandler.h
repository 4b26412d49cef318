// The "Message" handler's data for one event (handler 2, the handler of every
// new event): a text of the user's shown in the delivery alert.
#pragma once

#include "calvorin/EventAddOnData.h"

extern char DefHandMessageName[];

class MessageDataHandler : public EventAddOnData {
public:
    using EditViewMaker = QWidget* (*)(MessageDataHandler* data, Rect frame);

    explicit MessageDataHandler(Event* attachedTo);
    ~MessageDataHandler() override;

    QWidget* CreateEditView(Rect frame) override;
    bool SaveData(EndianIndependentFile* file) override;
    void DealWithEvent(bool missed) override;

    // The message (null when none). SetMessage stores a copy; "" becomes null.
    const char* GetMessage() const { return fMessage; }
    void SetMessage(const char* message);

    // Reads the record: a count, then count bytes of text with its zero.
    bool ReadData(EndianIndependentFile* file);

    // The UI installs the maker of the edit view (a wrapping text editor).
    static void SetEditViewMaker(EditViewMaker maker);

private:
    char* fMessage = nullptr;
};

EventAddOnData* DefHandMessage_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
