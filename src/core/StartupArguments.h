// The command line of calvorin: "-background" (only as a whole argument)
// starts without windows; every other argument names an event set file.
// A few hidden developer options are taken out before that.
#pragma once

#include <string>
#include <vector>

class StartupArguments {
public:
    // True only for exactly "-background".
    static bool IsBackgroundArgument(const char* argument);
    // True when any argument from index 1 on is "-background".
    static bool HasBackgroundArgument(int argc, const char* const* argv);
    // The full, lexically normalised path of a file argument; relative
    // paths are taken from the current folder. False for an empty one.
    static bool NormalisedPath(const std::string& argument, std::string* path);

    // Takes the hidden options out of argv (argc shrinks):
    // "--screenshot PATH", "--full-quit", "--quit". False with *problem set
    // when one is incomplete.
    bool TakeHiddenOptions(int* argc, char** argv, std::string* problem);

    std::string screenshotPath;  // grab the first window into this file, then quit
    bool fullQuit = false;       // ask the running instance for a full quit
    bool quit = false;           // ask the running instance to quit to the background
};
