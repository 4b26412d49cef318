#include "prefs/PrefsStore.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

#include "prefs/Prefs.h"
#include "prefs/PrefsSet.h"

PrefsStore::PrefsStore(std::string application, std::shared_ptr<PrefsDatabase> database)
    : fApplication(std::move(application)), fDatabase(std::move(database))
{
}

std::string PrefsStore::DefaultFolder()
{
    // Relative values are to be ignored, as the base directory rules say.
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/')
        return std::string(config) + "/calvorin";
    const char* home = std::getenv("HOME");
    std::string homeFolder;
    if (home && home[0] == '/') {
        homeFolder = home;
    } else if (const passwd* entry = getpwuid(getuid())) {
        homeFolder = entry->pw_dir ? entry->pw_dir : "";
    }
    if (homeFolder.empty())
        homeFolder = "/";
    return homeFolder + "/.config/calvorin";
}

status_t PrefsStore::Open(const std::string& application, const std::string& folder,
                          std::unique_ptr<PrefsStore>* store, std::string* problem)
{
    store->reset();
    std::shared_ptr<PrefsDatabase> database;
    status_t result =
        PrefsDatabase::Open(folder.empty() ? DefaultFolder() : folder, &database, problem);
    if (database)
        store->reset(new PrefsStore(application, std::move(database)));
    return result;
}

status_t PrefsStore::LoadSet(const std::string& name, bool create, PrefsSet** set)
{
    *set = nullptr;
    PrefsItems items;
    status_t result = fDatabase->LoadSet(fApplication, name, &items);
    if (result == B_NAME_NOT_FOUND && create)
        result = B_OK;
    if (result != B_OK)
        return result;
    *set = new PrefsSet(fDatabase, fApplication, name, std::move(items));
    return B_OK;
}
