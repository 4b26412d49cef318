// The freedesktop base directories ($XDG_DATA_HOME, $XDG_DATA_DIRS,
// $XDG_CONFIG_HOME, $XDG_CONFIG_DIRS) with their defaults, and the desktops
// named in $XDG_CURRENT_DESKTOP. Read from the environment on every call.
#pragma once

#include <string>
#include <vector>

class XdgDirectories {
public:
    // $XDG_DATA_HOME when absolute, else ~/.local/share.
    static std::string DataHome();
    // The absolute entries of $XDG_DATA_DIRS, else /usr/local/share and /usr/share.
    static std::vector<std::string> DataDirs();
    // $XDG_CONFIG_HOME when absolute, else ~/.config.
    static std::string ConfigHome();
    // The absolute entries of $XDG_CONFIG_DIRS, else /etc/xdg.
    static std::vector<std::string> ConfigDirs();
    // The entries of $XDG_CURRENT_DESKTOP in lower case ("GNOME:ubuntu" ->
    // "gnome", "ubuntu").
    static std::vector<std::string> CurrentDesktops();
};
