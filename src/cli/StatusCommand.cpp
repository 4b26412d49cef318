// calvorinctl status: whether CalvorinBackground runs and the wake-up time
// it holds.
#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/CliCommand.h"
#include "companion/CompanionProtocol.h"
#include "core/Message.h"
#include "core/TimeText.h"
#include "platform/Roster.h"

namespace {

int RunStatus(const CliOptions& options, const std::vector<std::string>& args)
{
    if (!args.empty()) {
        std::fprintf(stderr, "calvorinctl: status takes no arguments (see calvorinctl --help)\n");
        return 2;
    }
    Message reply;
    status_t result = Roster::SendMessage(kCompanionSignature, Message(kCompanionStatusMsg), &reply);
    bool running = result == B_OK && reply.what == kCompanionStatusMsg;
    int32_t pid = 0;
    int32_t when = 0;
    bool hasPid = running && reply.FindInt32(kPidField, &pid) == B_OK;
    bool hasWhen = running && reply.FindInt32(kWhenField, &when) == B_OK;
    std::string whenText;
    if (hasWhen) {
        char buffer[kDateTimeStringSize];
        GetDateTimeString(when, true, buffer);
        whenText = buffer;
    }
    // A companion that listens but does not answer (or answers nonsense).
    bool silent = !running && result != B_NAME_NOT_FOUND;

    if (options.json) {
        nlohmann::json out;
        out["running"] = running;
        out["pid"] = hasPid ? nlohmann::json(pid) : nlohmann::json(nullptr);
        out["wakeUpTime"] = hasWhen ? nlohmann::json(when) : nlohmann::json(nullptr);
        out["wakeUpText"] = hasWhen ? nlohmann::json(whenText) : nlohmann::json(nullptr);
        if (silent)
            out["problem"] = "CalvorinBackground does not answer";
        std::printf("%s\n", out.dump(2).c_str());
        return 0;
    }
    // Two lines, always in this form, for people and scripts alike.
    if (silent)
        std::fprintf(stderr, "calvorinctl: CalvorinBackground listens but does not answer\n");
    if (running)
        std::printf("companion: running (pid %d)\n", int(pid));
    else
        std::printf("companion: not running\n");
    if (hasWhen)
        std::printf("next wake-up: %d (%s)\n", int(when), whenText.c_str());
    else
        std::printf("next wake-up: none\n");
    return 0;
}

CliCommandRegistrar sStatus(
    {"status", "status", "tell whether CalvorinBackground runs and when it wakes Calvorin next",
     RunStatus});

}  // namespace
