// How the "Act on file" handler starts programs and opens documents: the
// desktop's default applications in the program (DesktopLauncher, installed
// by the application), a fake in tests. With none installed, nothing can be
// launched and every launch fails.
#pragma once

#include <string>

#include "calvorin/SupportDefs.h"

class FileLauncher {
public:
    virtual ~FileLauncher() = default;
    // The display name of the default application that opens the document
    // at path; false when none is known (the document may still open).
    virtual bool FindApplicationFor(const char* path, std::string* name) = 0;
    // Starts the executable at path, detached from the program. B_OK (or
    // B_ALREADY_RUNNING) once it runs.
    virtual status_t LaunchExecutable(const char* path) = 0;
    // Opens the document at path with its default application, detached
    // from the program. B_OK (or B_ALREADY_RUNNING) once that runs.
    virtual status_t OpenDocument(const char* path) = 0;
};

// The launcher in use; null until one is installed.
FileLauncher* GetFileLauncher();
// Installs a launcher (not owned); nullptr removes it.
void SetFileLauncher(FileLauncher* launcher);
