// The "Log to file" handler's data for one event: the file to which a line
// is added each time the event occurs.
#pragma once

#include <cstdint>

#include "calvorin/EventAddOnData.h"

class LogToFileData : public EventAddOnData {
public:
    // The version of the record this add-on writes; records of a later
    // version are refused, so that an older add-on never misreads them.
    static constexpr uint8_t kRecordVersion = 1;

    explicit LogToFileData(Event* attachedTo);
    ~LogToFileData() override;

    // This example has no editor: the log goes to the default file unless a
    // record names another one.
    QWidget* CreateEditView(Rect frame) override;
    bool SaveData(EndianIndependentFile* file) override;
    void DealWithEvent(bool missed) override;

    // Reads the record that SaveData wrote; false when it is cut short or
    // was written by a later version of the add-on.
    bool ReadData(EndianIndependentFile* file);

    // The log file, or null for the default one.
    const char* GetLogFile() const { return fLogFile; }
    void SetLogFile(const char* path);
    // The file the log really goes to.
    static const char* DefaultLogFile();

private:
    char* fLogFile = nullptr;
};
