#include "platform/RosterCompanionLauncher.h"

#include <sys/stat.h>
#include <unistd.h>

#include "companion/CompanionProtocol.h"
#include "platform/Roster.h"

status_t RosterCompanionLauncher::LaunchBySignature(const Message* message)
{
    return Roster::Launch(kCompanionSignature, message);
}

status_t RosterCompanionLauncher::LaunchByFile(const Message* message)
{
    if (fApplicationFolder.empty())
        return B_LAUNCH_FAILED_APP_NOT_FOUND;
    const std::string path = fApplicationFolder + "/" + kCompanionFileName;
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || access(path.c_str(), X_OK) != 0)
        return B_LAUNCH_FAILED_APP_NOT_FOUND;
    // From now on the signature names this file, so that the next launch
    // by signature finds it.
    const std::string previous = Roster::FindExecutable(kCompanionSignature);
    Roster::RegisterExecutable(kCompanionSignature, path);
    status_t result = Roster::Launch(kCompanionSignature, message);
    if (result != B_OK && result != B_ALREADY_RUNNING)
        Roster::RegisterExecutable(kCompanionSignature, previous);
    return result;
}
