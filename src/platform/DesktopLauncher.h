// The "Act on file" handler's launcher on the Linux desktop: executables
// are started directly, documents with the default application that the
// freedesktop rules name (DefaultApplication), or with xdg-open when there
// is none but xdg-open exists. Every program is started detached, in its
// own session and without the program's descriptors (DetachedProcess). The
// application installs one with SetFileLauncher.
#pragma once

#include <string>
#include <vector>

#include "handlers/FileLauncher.h"

class DesktopLauncher : public FileLauncher {
public:
    // The entry's Name, or its file's leaf name when it has none.
    bool FindApplicationFor(const char* path, std::string* name) override;
    status_t LaunchExecutable(const char* path) override;
    status_t OpenDocument(const char* path) override;

    // The program and arguments that open the document at path: the
    // default application's expanded Exec line (in a terminal, through
    // x-terminal-emulator -e, when it asks for one), else xdg-open; false
    // when the document cannot be opened at all.
    static bool CommandFor(const std::string& path, std::vector<std::string>* argv);
};
