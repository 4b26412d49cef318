#include "platform/DefaultApplication.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/XdgDirectories.h"

namespace {

std::vector<std::string> MimeappsLists()
{
    std::vector<std::string> folders = {XdgDirectories::ConfigHome()};
    for (const std::string& dir : XdgDirectories::ConfigDirs())
        folders.push_back(dir);
    folders.push_back(XdgDirectories::DataHome() + "/applications");
    for (const std::string& dir : XdgDirectories::DataDirs())
        folders.push_back(dir + "/applications");

    std::vector<std::string> lists;
    const std::vector<std::string> desktops = XdgDirectories::CurrentDesktops();
    for (const std::string& folder : folders) {
        for (const std::string& desktop : desktops)
            lists.push_back(folder + "/" + desktop + "-mimeapps.list");
        lists.push_back(folder + "/mimeapps.list");
    }
    return lists;
}

std::vector<std::string> ApplicationFolders()
{
    std::vector<std::string> folders = {XdgDirectories::DataHome() + "/applications"};
    for (const std::string& dir : XdgDirectories::DataDirs())
        folders.push_back(dir + "/applications");
    return folders;
}

std::vector<std::string> SplitIds(const std::string& value)
{
    std::vector<std::string> ids;
    std::stringstream stream(value);
    std::string id;
    while (std::getline(stream, id, ';')) {
        id = DesktopEntry::Trim(id);
        if (!id.empty())
            ids.push_back(id);
    }
    return ids;
}

bool Contains(const std::vector<std::string>& list, const std::string& item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

}  // namespace

DefaultApplication::DefaultApplication()
    : DefaultApplication(MimeappsLists(), ApplicationFolders(), MimeDatabase::ForUser())
{
}

DefaultApplication::DefaultApplication(std::vector<std::string> mimeappsLists,
                                       std::vector<std::string> applicationFolders,
                                       MimeDatabase mime)
    : fApplicationFolders(std::move(applicationFolders)), fMime(std::move(mime))
{
    for (const std::string& path : mimeappsLists) {
        std::ifstream in(path);
        if (!in)
            continue;
        ListFile list;
        std::map<std::string, std::vector<std::string>>* group = nullptr;
        std::string line;
        while (std::getline(in, line)) {
            line = DesktopEntry::Trim(line);
            if (line.empty() || line[0] == '#')
                continue;
            if (line[0] == '[') {
                group = line == "[Default Applications]"    ? &list.defaults
                        : line == "[Added Associations]"   ? &list.added
                        : line == "[Removed Associations]" ? &list.removed
                                                           : nullptr;
                continue;
            }
            size_t equals = line.find('=');
            if (group == nullptr || equals == std::string::npos)
                continue;
            std::vector<std::string>& ids = (*group)[DesktopEntry::Trim(line.substr(0, equals))];
            for (const std::string& id : SplitIds(line.substr(equals + 1)))
                ids.push_back(id);
        }
        fLists.push_back(std::move(list));
    }
}

void DefaultApplication::IndexApplications()
{
    if (fIndexed)
        return;
    fIndexed = true;
    namespace fs = std::filesystem;
    for (const std::string& folder : fApplicationFolders) {
        std::error_code error;
        std::vector<std::string> ids;
        for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
             it.increment(error)) {
            const fs::path& path = it->path();
            if (path.extension() != ".desktop" || !it->is_regular_file(error))
                continue;
            std::string id = path.lexically_relative(folder).string();
            std::replace(id.begin(), id.end(), '/', '-');
            if (fPaths.emplace(id, path.string()).second)
                ids.push_back(id);
        }
        // Within a folder the order of the files is that of their ids.
        std::sort(ids.begin(), ids.end());
        fIds.insert(fIds.end(), ids.begin(), ids.end());
    }
}

bool DefaultApplication::LoadLaunchable(const std::string& id, DesktopEntry* entry)
{
    IndexApplications();
    auto path = fPaths.find(id);
    if (path == fPaths.end())
        return false;
    auto loaded = fLoaded.find(id);
    if (loaded == fLoaded.end()) {
        DesktopEntry read;
        if (!read.Load(path->second))
            read = DesktopEntry();
        loaded = fLoaded.emplace(id, read).first;
    }
    if (!loaded->second.IsLaunchable())
        return false;
    *entry = loaded->second;
    return true;
}

bool DefaultApplication::FindForOneType(const std::string& type, DesktopEntry* entry)
{
    for (const ListFile& list : fLists) {
        auto defaults = list.defaults.find(type);
        if (defaults == list.defaults.end())
            continue;
        for (const std::string& id : defaults->second) {
            if (LoadLaunchable(id, entry))
                return true;
        }
    }

    // A removal applies to the associations of the less important files
    // and to the desktop files, not to those of its own file.
    std::vector<std::string> removed;
    for (const ListFile& list : fLists) {
        auto added = list.added.find(type);
        if (added != list.added.end()) {
            for (const std::string& id : added->second) {
                if (!Contains(removed, id) && LoadLaunchable(id, entry))
                    return true;
            }
        }
        auto gone = list.removed.find(type);
        if (gone != list.removed.end())
            removed.insert(removed.end(), gone->second.begin(), gone->second.end());
    }

    IndexApplications();
    for (const std::string& id : fIds) {
        if (!Contains(removed, id) && LoadLaunchable(id, entry) && entry->HandlesType(type))
            return true;
    }
    return false;
}

bool DefaultApplication::FindForType(const std::string& type, DesktopEntry* entry)
{
    if (FindForOneType(type, entry))
        return true;
    for (const std::string& parent : fMime.ParentsOf(type)) {
        if (FindForOneType(parent, entry))
            return true;
    }
    return false;
}

bool DefaultApplication::FindForFile(const std::string& path, DesktopEntry* entry)
{
    return FindForType(fMime.TypeOfFile(path), entry);
}
