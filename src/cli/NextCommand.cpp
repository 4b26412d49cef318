// calvorinctl next: lists an event's coming occurrences, found by moving
// "now" just past each occurrence in turn and computing the next one.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "calvorin/Event.h"
#include "cli/CliCommand.h"
#include "cli/CliInput.h"
#include "core/Clock.h"
#include "core/TimeText.h"

namespace {

constexpr const char* kUsage = "next [FILE|-] [--count N]";
constexpr long kDefaultCount = 5;
constexpr long kMaxCount = 10000;

bool ParseCount(const std::string& text, long& count)
{
    if (text.empty() || text.size() > 6)
        return false;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    count = std::strtol(text.c_str(), nullptr, 10);
    return count >= 1 && count <= kMaxCount;
}

std::string TimeText(int32_t time, bool withTime)
{
    char buffer[kDateTimeStringSize];
    GetDateTimeString(time, withTime, buffer);
    return buffer;
}

// The occurrences from the current time on, at most count of them.
void ListOccurrences(Event& event, long count, bool json)
{
    FixedClock clock(CurrentTime());
    SetClock(&clock);

    nlohmann::json list = nlohmann::json::array();
    if (!json) {
        std::printf("%s (%s)\n", event.GetName() != nullptr ? event.GetName() : "",
                    PeriodTypeNames[event.GetPeriodType()]);
    }
    int32_t previous = 0;
    bool any = false;
    for (long i = 0; i < count; ++i) {
        event.UpdateEventTime();
        const int32_t occurrence = event.GetActualEventTime();
        // A finished event, or one that did not move on, has nothing more.
        if (event.GetStatus() == DoneWithEvent || (any && occurrence <= previous))
            break;
        const bool prewarning = event.GetStatus() == WaitingForPrewarning;
        if (json) {
            nlohmann::json item = {{"ActualEventTime", occurrence},
                                   {"Text", TimeText(occurrence, event.GetApplyTime())},
                                   {"NextEventTime", event.GetNextEventTime()},
                                   {"Status", int32_t(event.GetStatus())}};
            list.push_back(item);
        } else if (prewarning) {
            // A prewarning hours or minutes ahead shows its clock time.
            const bool prewarnClock = event.GetApplyTime() || event.GetPrewarnType() == Hours ||
                                      event.GetPrewarnType() == Minutes;
            std::printf("  %s  (prewarning %s)\n", TimeText(occurrence, event.GetApplyTime()).c_str(),
                        TimeText(event.GetNextEventTime(), prewarnClock).c_str());
        } else {
            std::printf("  %s\n", TimeText(occurrence, event.GetApplyTime()).c_str());
        }
        any = true;
        previous = occurrence;
        clock.Set(int64_t(occurrence) + 1);
    }
    if (json)
        std::printf("%s\n", list.dump(2).c_str());
    else if (!any)
        std::printf("  no further occurrences\n");
    SetClock(nullptr);
}

int RunNext(const CliOptions& options, const std::vector<std::string>& args)
{
    CommandArguments parsed;
    std::string error;
    if (!SplitArguments(args, {"--count"}, parsed, &error))
        return CommandUsageError(kUsage, error);
    std::string path;
    if (!SingleInputPath(parsed, path))
        return CommandUsageError(kUsage, "too many arguments");
    long count = kDefaultCount;
    if (parsed.values.count("--count") != 0 && !ParseCount(parsed.values["--count"], count))
        return CommandUsageError(kUsage, "--count takes a number from 1 to 10000");

    // The clock the run started with (the real one or --now's) comes back
    // after the listing, which steps a clock of its own.
    const Clock* startClock = &CurrentClock();
    const int status = WithEventFromJson(
        path, [&](Event& event) { ListOccurrences(event, count, options.json); });
    SetClock(startClock);
    return status;
}

CliCommandRegistrar sNext({"next", kUsage,
                           "list the next occurrences of one event given as JSON (default 5)",
                           RunNext});

}  // namespace
