#include "platform/DesktopLauncher.h"

#include <sys/stat.h>

#include "platform/DefaultApplication.h"
#include "platform/DesktopEntry.h"
#include "platform/DetachedProcess.h"

bool DesktopLauncher::FindApplicationFor(const char* path, std::string* name)
{
    DesktopEntry entry;
    if (!DefaultApplication().FindForFile(path, &entry))
        return false;
    if (!entry.Name().empty()) {
        *name = entry.Name();
    } else {
        size_t slash = entry.Location().rfind('/');
        *name = slash == std::string::npos ? entry.Location() : entry.Location().substr(slash + 1);
    }
    return !name->empty();
}

status_t DesktopLauncher::LaunchExecutable(const char* path)
{
    return DetachedProcess::Start(std::vector<std::string>{path});
}

bool DesktopLauncher::CommandFor(const std::string& path, std::vector<std::string>* argv)
{
    argv->clear();
    DesktopEntry entry;
    if (DefaultApplication().FindForFile(path, &entry) && entry.ExpandExec(path, argv)) {
        std::string program = DesktopEntry::FindProgram(argv->front());
        if (!program.empty()) {
            argv->front() = program;
            if (!entry.Terminal())
                return true;
            std::string terminal = DesktopEntry::FindProgram("x-terminal-emulator");
            if (!terminal.empty()) {
                argv->insert(argv->begin(), {terminal, "-e"});
                return true;
            }
        }
    }
    std::string opener = DesktopEntry::FindProgram("xdg-open");
    if (opener.empty()) {
        argv->clear();
        return false;
    }
    *argv = {opener, path};
    return true;
}

status_t DesktopLauncher::OpenDocument(const char* path)
{
    // A document that cannot be reached (a dangling link) opens nowhere.
    struct stat info;
    if (stat(path, &info) != 0)
        return B_LAUNCH_FAILED;
    std::vector<std::string> argv;
    if (!CommandFor(path, &argv))
        return B_LAUNCH_FAILED;
    return DetachedProcess::Start(argv);
}
