// calvorinctl eval: computes an event's next occurrence at "now" and prints
// the event, its row texts included, as JSON.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "calvorin/Event.h"
#include "cli/CliCommand.h"
#include "cli/CliInput.h"
#include "cli/EventJson.h"
#include "cli/StandaloneOwner.h"
#include "handlers/HandlerRegistry.h"

namespace {

constexpr const char* kUsage = "eval [FILE|-]";

int RunEval(const CliOptions& /*options*/, const std::vector<std::string>& args)
{
    CommandArguments parsed;
    std::string error;
    if (!SplitArguments(args, {}, parsed, &error))
        return CommandUsageError(kUsage, error);
    if (parsed.operands.size() > 1)
        return CommandUsageError(kUsage, "too many arguments");
    const std::string path = parsed.operands.empty() ? std::string("-") : parsed.operands[0];
    LoadBuiltInHandlers();
    int status = 0;
    {
        StandaloneOwner owner;
        std::unique_ptr<Event> event = ReadEventFromJson(path, &owner, &error);
        if (event == nullptr) {
            std::fprintf(stderr, "calvorinctl: %s\n", error.c_str());
            status = 1;
        } else {
            event->UpdateEventTime();
            std::printf("%s\n", EventToJson(*event).dump(2).c_str());
        }
    }
    UnloadEventHandlers();
    return status;
}

CliCommandRegistrar sEval({"eval", kUsage,
                           "read one event as JSON, compute its next occurrence now and print it",
                           RunEval});

}  // namespace
