// Loading the add-on event handlers at start-up.
//
// The application's own add-on folder is searched first, then the user's.
// Within a folder the entries are taken in the order of their names (byte
// order), so that the handler indices, and with them which of two add-ons
// of the same name wins, do not depend on how the file system lists them.
// Every entry is tried, whatever it is; each that does not load as an
// add-on is reported and skipped.
#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "core/ErrorReporting.h"
#include "handlers/HandlerRegistry.h"

namespace {

// The entries of a folder sorted by name; none when it cannot be read.
std::vector<std::string> FolderEntries(const std::string& folder)
{
    std::vector<std::string> entries;
    std::error_code error;
    std::filesystem::directory_iterator it(folder, error);
    if (error)
        return entries;
    for (; it != std::filesystem::directory_iterator(); it.increment(error)) {
        entries.push_back(it->path().string());
        if (error)
            break;
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

// The loader's reason for a failed dlopen, without the path it repeats.
std::string LoadFailureReason(const std::string& path)
{
    const char* reason = dlerror();
    if (reason == nullptr)
        return std::string();
    std::string text = reason;
    std::string prefix = path + ": ";
    if (text.compare(0, prefix.size(), prefix) == 0)
        text.erase(0, prefix.size());
    return " (" + text + ")";
}

// Loads one add-on into the next free index; false (after reporting why)
// when it cannot be registered.
bool LoadAddOn(const std::string& path)
{
    dlerror();
    void* image = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (image == nullptr) {
        std::string reason = LoadFailureReason(path);
        ReportCompoundError("LoadEventHandlers: load_add_on failed for ", path.c_str(),
                            reason.c_str());
        return false;
    }
    auto factory = reinterpret_cast<NewAddOnDataFunction>(dlsym(image, "NewAddOnData"));
    if (factory == nullptr) {
        ReportCompoundError("LoadEventHandlers:  couldn't find NewAddOnData for ", path.c_str(), "");
        dlclose(image);
        return false;
    }
    auto initialize = reinterpret_cast<InitializeAddOnFunction>(dlsym(image, "InitializeAddOn"));
    if (initialize == nullptr) {
        ReportCompoundError("LoadEventHandlers:  couldn't find InitializeAddOn for ", path.c_str(),
                            "");
        dlclose(image);
        return false;
    }
    const char* name = initialize();
    if (name == nullptr) {
        ReportCompoundError("LoadEventHandlers:  InitializeAddOn failed for ", path.c_str(), "");
        dlclose(image);
        return false;
    }
    // The name is the add-on's own string, kept alive until it is unloaded.
    int32_t index = NumberOfEventHandlers;
    AddOnImages[index - kFirstAddOnHandler] = image;
    Function_NewAddOnData[index] = factory;
    AddOnNames[index] = name;
    NumberOfEventHandlers = int8_t(index + 1);
    return true;
}

}  // namespace

void LoadEventHandlers()
{
    // The application's folder must be known and be a folder; without it
    // Calvorin cannot go on.
    const std::string& appFolder = GetApplicationFolder();
    if (appFolder.empty())
        HandleErrorAndExit("LoadEventHandlers: GetAppInfo failed");
    struct stat info;
    if (stat(appFolder.c_str(), &info) != 0)
        HandleErrorAndExit("LoadEventHandlers: Getting BEntry for be_app AppInfo failed");
    if (!S_ISDIR(info.st_mode))
        HandleErrorAndExit("LoadEventHandlers: Getting BDirectory for App directory failed");

    LoadBuiltInHandlers();
    for (const std::string& folder : AddOnFolders()) {
        for (const std::string& path : FolderEntries(folder)) {
            if (NumberOfEventHandlers >= kMaxEventHandlers) {
                std::string text = "LoadEventHandlers: Calvorin can use at most " +
                                   std::to_string(kMaxEventHandlers - kFirstAddOnHandler) +
                                   " add-on event handlers.  No more add-ons were loaded, "
                                   "starting with ";
                ReportCompoundError(text.c_str(), path.c_str(), ".");
                return;
            }
            LoadAddOn(path);
        }
    }
}
