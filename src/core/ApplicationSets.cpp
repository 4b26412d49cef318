#include "core/ApplicationSets.h"

#include <cstring>
#include <string>

#include "calvorin/Locker.h"
#include "core/CalvorinSettings.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"

namespace {

bool SameName(EventSet* set, const char* path)
{
    Autolock lock(set);
    const char* name = set->GetFileName();
    return name != nullptr && std::strcmp(name, path) == 0;
}

EventSet* FindLoaded(const char* path)
{
    for (EventSet* set : OpenSets::Sets) {
        if (SameName(set, path))
            return set;
    }
    return nullptr;
}

}  // namespace

void ApplicationSets::OpenSet(const char* path, bool showWindow)
{
    if (path == nullptr) {
        ConstructorResult result;
        bool keep;
        OpenSets::Sets.push_back(new EventSet(nullptr, showWindow, &result, &keep));
        return;
    }
    if (EventSet* loaded = FindLoaded(path)) {
        if (showWindow) {
            Autolock lock(loaded);
            loaded->OpenWindow();
        }
        return;
    }

    ConstructorResult result = kReadComplete;
    bool keep = true;
    EventSet* set = new EventSet(path, showWindow, &result, &keep);
    if (result != kReadComplete) {
        if (result == kFileNotOpened)
            ReportCompoundError("Calvorin: Attempt to open event set ", path, " failed.");
        else if (result == kReadFailed)
            ReportCompoundError("Calvorin: Attempt to read event set ", path,
                                " failed because a file error occurred.  The file may be "
                                "corrupted.");
        else
            ReportCompoundError("Calvorin: Attempt to create event set ", path,
                                " failed because of an unknown error.");
        set->Lock();
        delete set;
        return;
    }
    if (!keep) {
        // The set itself declined to load and has told the user why.
        set->Lock();
        delete set;
        return;
    }
    OpenSets::Sets.push_back(set);
}

void ApplicationSets::ReadSelectedSets()
{
    std::vector<std::string>& names = CalvorinSettings::SetFileNames;
    size_t i = 0;
    while (i < names.size()) {
        // OpenSet may report an alert; keep our own copy of the name.
        const std::string name = names[i];
        OpenSet(name.c_str(), false);
        if (FindLoaded(name.c_str()) != nullptr)
            ++i;
        else
            names.erase(names.begin() + long(i));
    }
}

void ApplicationSets::OpenUserInterface()
{
    const int32_t handling = CalvorinSettings::SelectedSetHandling;
    if (handling == kOpenAlways || handling == kOpenIfNoOthers) {
        if (handling == kOpenAlways || !AnySetHasWindow()) {
            const std::vector<std::string> names = CalvorinSettings::SetFileNames;
            for (const std::string& name : names)
                OpenSetWindow(name.c_str());
        }
    }
    if (!AnySetHasWindow())
        OpenSet(nullptr, true);
}

void ApplicationSets::OpenSetWindow(const char* path)
{
    if (path == nullptr)
        return;
    // A copy: opening a window must not change what we walk through.
    const std::vector<EventSet*> sets = OpenSets::Sets;
    for (EventSet* set : sets) {
        Autolock lock(set);
        const char* name = set->GetFileName();
        if (name != nullptr && std::strcmp(name, path) == 0)
            set->OpenWindow();
    }
}

void ApplicationSets::ReloadWithoutWindow(const char* path)
{
    if (path == nullptr)
        return;
    const std::string name = path;  // path may belong to a set that goes
    bool dropped = false;
    for (;;) {
        EventSet* loaded = FindLoaded(name.c_str());
        if (loaded == nullptr)
            break;
        // The set stays locked while it is destroyed; it leaves the list
        // (one being delivered is destroyed when its delivery step ends).
        loaded->Lock();
        loaded->Discard();
        dropped = true;
    }
    if (dropped)
        OpenSet(name.c_str(), false);
}

bool ApplicationSets::AnySetHasWindow()
{
    Autolock setsLock(OpenSets::Protect);
    for (EventSet* set : OpenSets::Sets) {
        Autolock lock(set);
        if (set->GetWindow() != nullptr)
            return true;
    }
    return false;
}

void ApplicationSets::SaveAndUnloadAll()
{
    Autolock setsLock(OpenSets::Protect);
    while (!OpenSets::Sets.empty()) {
        EventSet* set = OpenSets::Sets.front();
        set->Lock();
        if (set->HasBeenModified() && !set->SaveData()) {
            const char* name = set->GetFileName();
            ReportCompoundError("Calvorin was unable to save the event set ",
                                name != nullptr ? name : "", ".");
        }
        delete set;
    }
}
