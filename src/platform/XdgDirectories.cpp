#include "platform/XdgDirectories.h"

#include <cstdlib>
#include <sstream>

namespace {

std::vector<std::string> SplitList(const char* value, bool absoluteOnly)
{
    std::vector<std::string> entries;
    if (value == nullptr)
        return entries;
    std::stringstream stream(value);
    std::string entry;
    while (std::getline(stream, entry, ':')) {
        if (entry.empty() || (absoluteOnly && entry[0] != '/'))
            continue;
        entries.push_back(entry);
    }
    return entries;
}

std::string HomeDirectory()
{
    const char* home = std::getenv("HOME");
    return home != nullptr ? home : "";
}

std::string Absolute(const char* variable, const char* fallbackUnderHome)
{
    const char* value = std::getenv(variable);
    if (value != nullptr && value[0] == '/')
        return value;
    return HomeDirectory() + fallbackUnderHome;
}

}  // namespace

std::string XdgDirectories::DataHome()
{
    return Absolute("XDG_DATA_HOME", "/.local/share");
}

std::vector<std::string> XdgDirectories::DataDirs()
{
    std::vector<std::string> dirs = SplitList(std::getenv("XDG_DATA_DIRS"), true);
    if (dirs.empty())
        dirs = {"/usr/local/share", "/usr/share"};
    return dirs;
}

std::string XdgDirectories::ConfigHome()
{
    return Absolute("XDG_CONFIG_HOME", "/.config");
}

std::vector<std::string> XdgDirectories::ConfigDirs()
{
    std::vector<std::string> dirs = SplitList(std::getenv("XDG_CONFIG_DIRS"), true);
    if (dirs.empty())
        dirs = {"/etc/xdg"};
    return dirs;
}

std::vector<std::string> XdgDirectories::CurrentDesktops()
{
    std::vector<std::string> desktops = SplitList(std::getenv("XDG_CURRENT_DESKTOP"), false);
    for (std::string& desktop : desktops) {
        for (char& c : desktop) {
            if (c >= 'A' && c <= 'Z')
                c = char(c - 'A' + 'a');
        }
    }
    return desktops;
}
