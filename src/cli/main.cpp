// calvorinctl: the command-line tool over Calvorin's core. Reads the global
// options, sets up time (zone and, with --now, a fixed clock) and hands the
// rest of the command line to the subcommand that registered its name.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cli/CliCommand.h"
#include "core/Clock.h"
#include "core/DateParser.h"
#include "core/LocalZone.h"
#include "core/TimeText.h"

namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;
constexpr int kUsageError = 2;

std::vector<CliCommand> SortedCommands()
{
    std::vector<CliCommand> commands = CliCommands();
    std::sort(commands.begin(), commands.end(), [](const CliCommand& a, const CliCommand& b) {
        return std::strcmp(a.name, b.name) < 0;
    });
    return commands;
}

void PrintHelp()
{
    std::printf(
        "Usage: calvorinctl [OPTIONS] COMMAND [ARGUMENTS]\n"
        "\n"
        "Inspect and compute Calvorin events from the command line.\n"
        "\n"
        "Options:\n"
        "  --now TIME   take TIME as the current time: @<seconds since the epoch>\n"
        "               or a date text such as \"Jan 5 2001 3:05 pm\"\n"
        "  --json       print results as JSON\n"
        "  -h, --help   show this help\n"
        "  --version    show the version\n"
        "\n"
        "Commands:\n");
    const std::vector<CliCommand> commands = SortedCommands();
    size_t width = 0;
    for (const CliCommand& command : commands)
        width = std::max(width, std::strlen(command.usage));
    for (const CliCommand& command : commands)
        std::printf("  %-*s  %s\n", int(width), command.usage, command.summary);
}

int UsageError(const std::string& text)
{
    std::fprintf(stderr, "calvorinctl: %s (see calvorinctl --help)\n", text.c_str());
    return kUsageError;
}

// "@<seconds>" or any date text; false when neither.
bool ParseNow(const char* text, int64_t& now)
{
    if (text[0] == '@') {
        const char* digits = text + 1;
        if (*digits == '-')
            ++digits;
        if (*digits == '\0' || std::strlen(digits) > 11)
            return false;
        for (const char* p = digits; *p != '\0'; ++p) {
            if (*p < '0' || *p > '9')
                return false;
        }
        errno = 0;
        const long long value = std::strtoll(text + 1, nullptr, 10);
        if (errno != 0 || value < INT32_MIN || value > INT32_MAX)
            return false;
        now = value;
        return true;
    }
    const int32_t parsed = parsedate(text, -1);
    if (parsed == -1)
        return false;
    now = parsed;
    return true;
}

// Takes a global option at args[i] (advancing i past its value); 0 when it
// was taken, -1 when args[i] is not a global option, otherwise an exit status.
int TakeGlobalOption(const std::vector<std::string>& args, size_t& i, CliOptions& options)
{
    const std::string& arg = args[i];
    if (arg == "--json") {
        options.json = true;
        return 0;
    }
    if (arg == "--now" || arg.rfind("--now=", 0) == 0) {
        std::string value;
        if (arg == "--now") {
            if (i + 1 >= args.size())
                return UsageError("--now needs a time");
            value = args[++i];
        } else {
            value = arg.substr(6);
        }
        if (!ParseNow(value.c_str(), options.now))
            return UsageError("--now: not understood: " + value);
        return 0;
    }
    return -1;
}

}  // namespace

int main(int argc, char** argv)
{
    PinLocalTimeZone();
    if (!InitSafeTime()) {
        std::fprintf(stderr, "calvorinctl: the time functions could not be set up\n");
        return kFailure;
    }

    const std::vector<std::string> all(argv + 1, argv + argc);
    CliOptions options;
    std::string commandName;
    std::vector<std::string> rest;
    bool afterSeparator = false;

    for (size_t i = 0; i < all.size(); ++i) {
        const std::string& arg = all[i];
        if (!afterSeparator) {
            if (arg == "--") {
                afterSeparator = true;
                if (!commandName.empty())
                    rest.push_back(arg);
                continue;
            }
            const int taken = TakeGlobalOption(all, i, options);
            if (taken > 0)
                return taken;
            if (taken == 0)
                continue;
            if (commandName.empty()) {
                if (arg == "-h" || arg == "--help") {
                    PrintHelp();
                    return kSuccess;
                }
                if (arg == "--version") {
                    std::printf("calvorinctl %s\n", CALVORIN_VERSION);
                    return kSuccess;
                }
                if (arg.size() > 1 && arg[0] == '-')
                    return UsageError("unknown option: " + arg);
            }
        }
        if (commandName.empty())
            commandName = arg;
        else
            rest.push_back(arg);
    }

    if (commandName.empty())
        return UsageError("no command given");

    const CliCommand* command = nullptr;
    for (const CliCommand& candidate : CliCommands()) {
        if (commandName == candidate.name)
            command = &candidate;
    }
    if (command == nullptr)
        return UsageError("unknown command: " + commandName);

    for (const std::string& arg : rest) {
        if (arg == "--")
            break;
        if (arg == "-h" || arg == "--help") {
            std::printf("Usage: calvorinctl %s\n%s\n", command->usage, command->summary);
            return kSuccess;
        }
    }

    static FixedClock fixedClock;
    if (options.now != -1) {
        fixedClock.Set(options.now);
        SetClock(&fixedClock);
    }
    return command->run(options, rest);
}
