#include "cli/CliInput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

#include "calvorin/Event.h"
#include "cli/EventJson.h"
#include "cli/StandaloneOwner.h"
#include "handlers/HandlerRegistry.h"

namespace {

constexpr size_t kMaxInputSize = 16 * 1024 * 1024;

std::string DisplayName(const std::string& path)
{
    return path.empty() || path == "-" ? std::string("standard input") : path;
}

}  // namespace

bool SplitArguments(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                    CommandArguments& out, std::string* error)
{
    out = CommandArguments();
    bool afterSeparator = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (afterSeparator || arg == "-" || arg.empty() || arg[0] != '-') {
            out.operands.push_back(arg);
            continue;
        }
        if (arg == "--") {
            afterSeparator = true;
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(0, equals);
        if (valueOptions.count(name) == 0) {
            if (error != nullptr)
                *error = "unknown option: " + arg;
            return false;
        }
        if (equals != std::string::npos) {
            out.values[name] = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            out.values[name] = args[++i];
        } else {
            if (error != nullptr)
                *error = name + " needs a value";
            return false;
        }
    }
    return true;
}

bool SingleInputPath(const CommandArguments& arguments, std::string& path)
{
    if (arguments.operands.size() > 1)
        return false;
    path = arguments.operands.empty() ? std::string("-") : arguments.operands[0];
    return true;
}

int CommandUsageError(const char* usage, const std::string& problem)
{
    if (problem.empty())
        std::fprintf(stderr, "calvorinctl: usage: calvorinctl %s\n", usage);
    else
        std::fprintf(stderr, "calvorinctl: %s (usage: calvorinctl %s)\n", problem.c_str(), usage);
    return 2;
}

bool ReadInputText(const std::string& path, std::string& text, std::string* error)
{
    const bool useStdin = path.empty() || path == "-";
    FILE* file = useStdin ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        if (error != nullptr)
            *error = DisplayName(path) + ": " + std::strerror(errno);
        return false;
    }
    text.clear();
    char buffer[65536];
    bool ok = true;
    std::string problem;
    for (;;) {
        const size_t got = std::fread(buffer, 1, sizeof(buffer), file);
        text.append(buffer, got);
        if (text.size() > kMaxInputSize) {
            ok = false;
            problem = "the input is larger than 16 MiB";
            break;
        }
        if (got < sizeof(buffer)) {
            if (std::ferror(file)) {
                ok = false;
                problem = std::strerror(errno);
            }
            break;
        }
    }
    if (!useStdin)
        std::fclose(file);
    if (!ok && error != nullptr)
        *error = DisplayName(path) + ": " + problem;
    return ok;
}

std::unique_ptr<Event> ReadEventFromJson(const std::string& path, EventOwner* owner,
                                         std::string* error)
{
    std::string text;
    if (!ReadInputText(path, text, error))
        return nullptr;
    nlohmann::json object;
    std::string problem;
    if (!ParseJsonText(text, object, &problem)) {
        if (error != nullptr)
            *error = DisplayName(path) + ": " + problem;
        return nullptr;
    }
    auto event = std::make_unique<Event>(owner);
    if (!ApplyEventJson(object, *event, &problem)) {
        if (error != nullptr)
            *error = DisplayName(path) + ": " + problem;
        return nullptr;
    }
    return event;
}

int WithEventFromJson(const std::string& path, const std::function<void(Event&)>& act)
{
    LoadBuiltInHandlers();
    int status = 0;
    {
        StandaloneOwner owner;
        std::string error;
        std::unique_ptr<Event> event = ReadEventFromJson(path, &owner, &error);
        if (event == nullptr) {
            std::fprintf(stderr, "calvorinctl: %s\n", error.c_str());
            status = 1;
        } else {
            act(*event);
        }
    }
    UnloadEventHandlers();
    return status;
}
