// Starts CalvorinBackground through the Roster: by its signature (the
// executable registered for it), or as the file beside the application.
#pragma once

#include <string>

#include "core/CompanionLauncher.h"

class RosterCompanionLauncher : public CompanionLauncher {
public:
    // applicationFolder: where the file "CalvorinBackground" is looked for.
    explicit RosterCompanionLauncher(std::string applicationFolder)
        : fApplicationFolder(std::move(applicationFolder)) {}

    status_t LaunchBySignature(const Message* message) override;
    status_t LaunchByFile(const Message* message) override;

private:
    std::string fApplicationFolder;
};
