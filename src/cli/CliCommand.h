// The subcommands of calvorinctl. Each command registers itself with a
// static CliCommandRegistrar in its own file; main dispatches by name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct CliOptions {
    int64_t now = -1;   // --now, -1 for the real clock
    bool json = false;  // --json
};

struct CliCommand {
    const char* name;
    const char* usage;    // e.g. "list FILE"
    const char* summary;  // one line for --help
    // Returns the exit status: 0 success, 1 failure (explained on stderr in
    // one line), 2 usage error.
    int (*run)(const CliOptions& options, const std::vector<std::string>& args);
};

// Every registered command, in registration order.
std::vector<CliCommand>& CliCommands();

struct CliCommandRegistrar {
    explicit CliCommandRegistrar(const CliCommand& command) { CliCommands().push_back(command); }
};
