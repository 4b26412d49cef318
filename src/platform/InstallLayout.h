// Where Calvorin's files are, found from the running executable: beside it
// in a build tree, or in the installed folders relative to it.
#pragma once

#include <string>

class InstallLayout {
public:
    // The folder of the running executable (/proc/self/exe), "" if unknown.
    static std::string ApplicationFolder();

    // Each of these looks beside the executable first, then in the installed
    // place relative to exeFolder (by default the running executable's).
    // CalvorinBackground: beside, else <libexecdir>/calvorin/CalvorinBackground.
    static std::string CompanionExecutable(const std::string& exeFolder = ApplicationFolder());
    // calvorin: beside, else <bindir>/calvorin.
    static std::string ApplicationExecutable(const std::string& exeFolder = ApplicationFolder());
    // The shipped add-ons: <exe dir>/add-ons when it exists, else
    // <libdir>/calvorin/add-ons.
    static std::string BundledAddOnFolder(const std::string& exeFolder = ApplicationFolder());
    // "Calvorin documentation.html": beside, else in <docdir>.
    static std::string HelpDocument(const std::string& exeFolder = ApplicationFolder());
};
