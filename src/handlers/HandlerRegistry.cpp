#include "handlers/HandlerRegistry.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/DoNothingDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

int8_t NumberOfEventHandlers = 0;
const char** AddOnNames = nullptr;
NewAddOnDataFunction* Function_NewAddOnData = nullptr;
void** AddOnImages = nullptr;

namespace {

std::string gApplicationFolder;
bool gApplicationFolderKnown = false;

// The folder that holds the running executable, or "" when it cannot be read.
std::string ExecutableFolder()
{
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return std::string();
    return self.parent_path().string();
}

std::string HomeFolder()
{
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/')
        return home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return std::string();
}

}  // namespace

void SetApplicationFolder(const std::string& folder)
{
    gApplicationFolder = folder;
    gApplicationFolderKnown = true;
}

const std::string& GetApplicationFolder()
{
    if (!gApplicationFolderKnown) {
        gApplicationFolder = ExecutableFolder();
        gApplicationFolderKnown = true;
    }
    return gApplicationFolder;
}

std::string UserAddOnFolder()
{
    // $XDG_DATA_HOME counts only when it is an absolute path.
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    std::string base = dataHome != nullptr && dataHome[0] == '/'
                           ? std::string(dataHome)
                           : HomeFolder() + "/.local/share";
    return base + "/calvorin/add-ons";
}

std::vector<std::string> AddOnFolders()
{
    return {GetApplicationFolder() + "/add-ons", UserAddOnFolder()};
}

void LoadBuiltInHandlers()
{
    UnloadEventHandlers();

    // The tables are made for the most handlers the 8-bit count can name, so
    // that add-ons can be appended without growing them.
    Function_NewAddOnData = new NewAddOnDataFunction[kMaxEventHandlers]();
    AddOnNames = new const char*[kMaxEventHandlers]();
    AddOnImages = new void*[kMaxEventHandlers - kFirstAddOnHandler]();

    AddOnNames[kUnknownHandler] = DefHandUnknownName;
    Function_NewAddOnData[kUnknownHandler] = DefHandUnknown_NewAddOnData;
    AddOnNames[kDoNothingHandler] = DefHandDoNothingName;
    Function_NewAddOnData[kDoNothingHandler] = DefHandDoNothing_NewAddOnData;
    AddOnNames[kMessageHandler] = DefHandMessageName;
    Function_NewAddOnData[kMessageHandler] = DefHandMessage_NewAddOnData;
    AddOnNames[kCommandHandler] = DefHandCommandName;
    Function_NewAddOnData[kCommandHandler] = DefHandCommand_NewAddOnData;
    AddOnNames[kActOnFileHandler] = DefHandActOnFileName;
    Function_NewAddOnData[kActOnFileHandler] = DefHandActOnFile_NewAddOnData;
    NumberOfEventHandlers = kFirstAddOnHandler;
}

void UnloadEventHandlers()
{
    if (AddOnImages != nullptr) {
        for (int32_t index = kFirstAddOnHandler; index < NumberOfEventHandlers; index++) {
            void* image = AddOnImages[index - kFirstAddOnHandler];
            if (image == nullptr)
                continue;
            if (auto cleanUp = reinterpret_cast<CleanUpAddOnFunction>(dlsym(image, "CleanUpAddOn")))
                cleanUp();
            dlclose(image);
        }
    }
    delete[] Function_NewAddOnData;
    delete[] AddOnNames;
    delete[] AddOnImages;
    Function_NewAddOnData = nullptr;
    AddOnNames = nullptr;
    AddOnImages = nullptr;
    NumberOfEventHandlers = 0;
}

int32_t FindHandlerByName(const char* name)
{
    if (name == nullptr || AddOnNames == nullptr)
        return kUnknownHandler;
    for (int32_t index = 0; index < NumberOfEventHandlers; index++) {
        if (AddOnNames[index] != nullptr && std::strcmp(AddOnNames[index], name) == 0)
            return index;
    }
    return kUnknownHandler;
}
