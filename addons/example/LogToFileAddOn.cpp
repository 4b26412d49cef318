// The entry points of the "Log to file" add-on.
#include "calvorin/AddOn.h"
#include "LogToFileData.h"

namespace {

// Calvorin keeps this pointer as the handler's name until CleanUpAddOn.
const char kHandlerName[] = "Log to file";

}  // namespace

extern "C" {

__attribute__((visibility("default"))) const char* InitializeAddOn()
{
    return kHandlerName;
}

__attribute__((visibility("default"))) EventAddOnData* NewAddOnData(Event* event,
                                                                    EndianIndependentFile* file,
                                                                    bool* ok)
{
    LogToFileData* data = new LogToFileData(event);
    *ok = true;
    if (file != nullptr)
        *ok = data->ReadData(file);
    return data;
}

__attribute__((visibility("default"))) void CleanUpAddOn() {}

}  // extern "C"
