#include "handlers/CommandRunner.h"

#include <atomic>

#include "handlers/ShellCommand.h"

namespace {

std::atomic<CommandRunner*> sInstalledRunner{nullptr};

}  // namespace

CommandRunner& GetCommandRunner()
{
    static ShellCommand sShell;
    CommandRunner* runner = sInstalledRunner.load();
    return runner != nullptr ? *runner : sShell;
}

void SetCommandRunner(CommandRunner* runner)
{
    sInstalledRunner.store(runner);
}
