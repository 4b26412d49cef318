// The "Unknown" handler's data (handler 0): stands in for a handler that an
// event set file names but that is not loaded, keeping that handler's name
// and its record bytes unread so that saving the set gives them back intact.
#pragma once

#include <cstdint>

#include "calvorin/EventAddOnData.h"

extern char DefHandUnknownName[];

class UnknownDataHandler : public EventAddOnData {
public:
    using EditViewMaker = QWidget* (*)(UnknownDataHandler* data, Rect frame);

    explicit UnknownDataHandler(Event* attachedTo);
    ~UnknownDataHandler() override;

    QWidget* CreateEditView(Rect frame) override;
    // Writes the kept record back: its count, then its bytes.
    bool SaveData(EndianIndependentFile* file) override;
    // Tells the user that the event's handler is not loaded.
    void DealWithEvent(bool missed) override;

    // The name of the missing handler, written back in its place.
    const char* GetOriginalHandler() const { return fHandlerName; }
    void SetOriginalHandler(const char* name);

    // The kept record body (null when its count was 0).
    const char* GetData() const { return fData; }
    uint32_t GetDataLength() const { return fDataLength; }

    // Reads the record: a count, then count bytes kept as they are.
    bool ReadData(EndianIndependentFile* file);

    // The UI installs the maker of the edit view (a line naming the handler).
    static void SetEditViewMaker(EditViewMaker maker);

private:
    char* fHandlerName = nullptr;
    uint32_t fDataLength = 0;
    char* fData = nullptr;
};

// Null without a file: "Unknown" is never chosen for a new event.
EventAddOnData* DefHandUnknown_NewAddOnData(Event* event, EndianIndependentFile* file, bool* ok);
