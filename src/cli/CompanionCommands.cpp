// Developer commands that talk to CalvorinBackground directly:
// "companion-set WHEN|none" hands it a wake-up time (seconds since the
// epoch) or takes it away, starting it when it does not run;
// "companion-quit" sends it the quit request.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "cli/CliCommand.h"
#include "companion/CompanionProtocol.h"
#include "core/Message.h"
#include "platform/InstallLayout.h"
#include "platform/Roster.h"

namespace {

bool ParseWhen(const std::string& text, int32_t* when)
{
    size_t start = text[0] == '@' ? 1 : 0;
    size_t digits = start < text.size() && text[start] == '-' ? start + 1 : start;
    if (digits >= text.size() || text.size() - digits > 10)
        return false;
    for (size_t i = digits; i < text.size(); i++) {
        if (text[i] < '0' || text[i] > '9')
            return false;
    }
    errno = 0;
    long long value = std::strtoll(text.c_str() + start, nullptr, 10);
    if (errno != 0 || value < INT32_MIN || value > INT32_MAX)
        return false;
    *when = int32_t(value);
    return true;
}

int RunCompanionSet(const CliOptions&, const std::vector<std::string>& args)
{
    Message message(kNextEventMsg);
    int32_t when = 0;
    if (args.size() != 1 || (args[0] != "none" && !ParseWhen(args[0], &when))) {
        std::fprintf(stderr,
                     "calvorinctl: companion-set needs a time in seconds since the epoch, or "
                     "\"none\" (see calvorinctl --help)\n");
        return 2;
    }
    if (args[0] != "none")
        message.AddInt32(kWhenField, when);

    Roster::RegisterExecutable(kCompanionSignature, InstallLayout::CompanionExecutable());
    status_t result = Roster::Launch(kCompanionSignature, &message);
    if (result == B_OK) {
        std::printf("CalvorinBackground was started with the request.\n");
        return 0;
    }
    if (result == B_ALREADY_RUNNING) {
        std::printf("CalvorinBackground has the request.\n");
        return 0;
    }
    std::fprintf(stderr, "calvorinctl: CalvorinBackground could not be reached or started (%s)\n",
                 result == B_LAUNCH_FAILED_APP_NOT_FOUND
                     ? ("no executable at " + Roster::FindExecutable(kCompanionSignature)).c_str()
                     : "it did not take the request");
    return 1;
}

int RunCompanionQuit(const CliOptions&, const std::vector<std::string>& args)
{
    if (!args.empty()) {
        std::fprintf(stderr, "calvorinctl: companion-quit takes no arguments\n");
        return 2;
    }
    status_t result = Roster::SendMessage(kCompanionSignature, Message(kQuitRequestedMsg));
    if (result == B_NAME_NOT_FOUND) {
        std::printf("CalvorinBackground is not running.\n");
        return 0;
    }
    if (result != B_OK) {
        std::fprintf(stderr, "calvorinctl: CalvorinBackground did not take the quit request\n");
        return 1;
    }
    std::printf("CalvorinBackground was asked to quit.\n");
    return 0;
}

CliCommandRegistrar sCompanionSet({"companion-set", "companion-set WHEN|none",
                                   "(developer) hand CalvorinBackground a wake-up time in "
                                   "seconds since the epoch, or none; starts it if needed",
                                   RunCompanionSet});
CliCommandRegistrar sCompanionQuit({"companion-quit", "companion-quit",
                                    "(developer) ask CalvorinBackground to quit",
                                    RunCompanionQuit});

}  // namespace
