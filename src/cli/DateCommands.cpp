// calvorinctl parse-date: shows what a typed date means.
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/CliCommand.h"
#include "cli/CliInput.h"
#include "core/TimeText.h"

namespace {

constexpr const char* kUsage = "parse-date TEXT";

int RunParseDate(const CliOptions& options, const std::vector<std::string>& args)
{
    // The words may come as separate arguments: parse-date next friday.
    std::string text;
    for (const std::string& arg : args) {
        if (arg == "--" && text.empty())
            continue;
        if (!text.empty())
            text += ' ';
        text += arg;
    }
    if (text.empty())
        return CommandUsageError(kUsage, "no date text given");

    bool hasTime = false;
    const int32_t time = hastimeinfo_parsedate(text.c_str(), &hasTime);
    if (time == -1) {
        std::fprintf(stderr, "calvorinctl: not understood: %s\n", text.c_str());
        return 1;
    }

    struct tm local;
    Safe_localtime(time, &local);
    char when[64];
    std::strftime(when, sizeof(when), "%Y-%m-%d %H:%M:%S", &local);

    if (options.json) {
        nlohmann::json result = {{"Text", text}, {"Time", time}, {"Local", when}, {"HasTime", hasTime}};
        std::printf("%s\n", result.dump(2).c_str());
    } else {
        std::printf("%d %s %s\n", int(time), when, hasTime ? "time" : "date");
    }
    return 0;
}

CliCommandRegistrar sParseDate({"parse-date", kUsage,
                                "show the time a typed date means, and whether it names a time of day",
                                RunParseDate});

}  // namespace
