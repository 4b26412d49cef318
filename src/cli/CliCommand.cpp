#include "cli/CliCommand.h"

std::vector<CliCommand>& CliCommands()
{
    // Made on first use, so that registrars in any file may run first.
    static std::vector<CliCommand> commands;
    return commands;
}
