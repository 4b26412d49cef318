// calvorinctl eval: computes an event's next occurrence at "now" and prints
// the event, its row texts included, as JSON.
#include <cstdio>
#include <string>
#include <vector>

#include "calvorin/Event.h"
#include "cli/CliCommand.h"
#include "cli/CliInput.h"
#include "cli/EventJson.h"

namespace {

constexpr const char* kUsage = "eval [FILE|-]";

int RunEval(const CliOptions& /*options*/, const std::vector<std::string>& args)
{
    CommandArguments parsed;
    std::string error;
    if (!SplitArguments(args, {}, parsed, &error))
        return CommandUsageError(kUsage, error);
    std::string path;
    if (!SingleInputPath(parsed, path))
        return CommandUsageError(kUsage, "too many arguments");
    return WithEventFromJson(path, [](Event& event) {
        event.UpdateEventTime();
        std::printf("%s\n", EventToJson(event).dump(2).c_str());
    });
}

CliCommandRegistrar sEval({"eval", kUsage,
                           "read one event as JSON, compute its next occurrence now and print it",
                           RunEval});

}  // namespace
