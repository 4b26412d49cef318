// The settings store of one application: finds the store file in the
// user's configuration folder and loads its named sets.
#pragma once

#include <memory>
#include <string>

#include "prefs/PrefsDatabase.h"

class PrefsSet;

class PrefsStore {
public:
    // Opens the store of application in folder (DefaultFolder() when
    // empty). Returns B_OK, B_PREF_STORE_REPLACED (a damaged file was moved
    // aside; *store is usable) or B_PREF_STORE_UNAVAILABLE; *problem gets
    // the user's explanation of the last two.
    static status_t Open(const std::string& application, const std::string& folder,
                         std::unique_ptr<PrefsStore>* store, std::string* problem);

    // $XDG_CONFIG_HOME/calvorin, or ~/.config/calvorin.
    static std::string DefaultFolder();

    // B_NAME_NOT_FOUND when the set was never saved and create is false.
    status_t LoadSet(const std::string& name, bool create, PrefsSet** set);

    const std::string& Application() const { return fApplication; }
    const std::string& Path() const { return fDatabase->Path(); }

private:
    PrefsStore(std::string application, std::shared_ptr<PrefsDatabase> database);

    std::string fApplication;
    std::shared_ptr<PrefsDatabase> fDatabase;
};
