#include "platform/DetachedProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/LaunchMessage.h"

namespace {

// The descriptor the launch message is handed over in.
constexpr int kMessageFd = 3;
// Where the exec error report travels to the launcher.
constexpr int kReportFd = 4;

int MakeMessageFile(const std::vector<uint8_t>& bytes)
{
    int fd = memfd_create("calvorin-launch-message", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0)
        return -1;
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t written = write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            close(fd);
            return -1;
        }
        done += size_t(written);
    }
    fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    // The program may simply read its descriptor from the start.
    if (lseek(fd, 0, SEEK_SET) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// In the new process, between fork and exec: only async-signal-safe calls.
[[noreturn]] void RunChild(const char* path, char* const* argv, int nullFd, int messageFd,
                           int reportFd, const char* folder)
{
    sigset_t all;
    sigemptyset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    for (int sig = 1; sig < NSIG; sig++)
        sigaction(sig, &standard, nullptr);

    // Out of the way of 0 to 4 first, then into place.
    int highNull = fcntl(nullFd, F_DUPFD, 10);
    int highMessage = messageFd >= 0 ? fcntl(messageFd, F_DUPFD, 10) : -1;
    int highReport = fcntl(reportFd, F_DUPFD, 10);
    if (highNull < 0 || highReport < 0 || (messageFd >= 0 && highMessage < 0))
        _exit(127);
    dup2(highNull, 0);
    dup2(highNull, 1);
    dup2(highNull, 2);
    if (highMessage >= 0)
        dup2(highMessage, kMessageFd);
    else
        close(kMessageFd);
    dup2(highReport, kReportFd);
    fcntl(kReportFd, F_SETFD, FD_CLOEXEC);
    if (close_range(kReportFd + 1, ~0u, 0) != 0) {
        for (int fd = kReportFd + 1; fd < 65536; fd++)
            close(fd);
    }
    if (chdir(folder) != 0 && chdir("/") != 0) {
        // Stay where we are.
    }
    execv(path, argv);
    int error = errno;
    ssize_t ignored = write(kReportFd, &error, sizeof(error));
    (void)ignored;
    _exit(127);
}

}  // namespace

status_t DetachedProcess::Start(const std::string& path, const std::vector<uint8_t>* launchMessage)
{
    std::vector<std::string> arguments = {path};
    if (launchMessage)
        arguments.push_back(LaunchMessage::Argument(kMessageFd));
    return Spawn(arguments, launchMessage);
}

status_t DetachedProcess::Start(const std::vector<std::string>& arguments)
{
    return Spawn(arguments, nullptr);
}

status_t DetachedProcess::Spawn(const std::vector<std::string>& arguments,
                                const std::vector<uint8_t>* launchMessage)
{
    if (arguments.empty())
        return B_LAUNCH_FAILED;
    const std::string& path = arguments.front();
    // Everything the child needs is prepared here: after fork only
    // async-signal-safe calls are allowed.
    int messageFd = -1;
    if (launchMessage) {
        messageFd = MakeMessageFile(*launchMessage);
        if (messageFd < 0)
            return B_LAUNCH_FAILED;
    }
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const char* home = std::getenv("HOME");
    std::string folder = home && home[0] == '/' ? home : "/";

    int nullFd = open("/dev/null", O_RDWR | O_CLOEXEC);
    int report[2] = {-1, -1};
    if (nullFd < 0 || pipe2(report, O_CLOEXEC) != 0) {
        if (nullFd >= 0)
            close(nullFd);
        if (messageFd >= 0)
            close(messageFd);
        return B_LAUNCH_FAILED;
    }

    pid_t child = fork();
    if (child == 0) {
        // The middle process: a new session, then the program in a
        // grandchild, so that init adopts it.
        setsid();
        pid_t grandchild = fork();
        if (grandchild == 0)
            RunChild(path.c_str(), argv.data(), nullFd, messageFd, report[1], folder.c_str());
        if (grandchild < 0) {
            int error = errno;
            ssize_t ignored = write(report[1], &error, sizeof(error));
            (void)ignored;
        }
        _exit(0);
    }
    close(report[1]);
    close(nullFd);
    if (messageFd >= 0)
        close(messageFd);
    if (child < 0) {
        close(report[0]);
        return B_LAUNCH_FAILED;
    }
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    // Nothing arrives when exec succeeded (the report end closes on exec).
    int error = 0;
    ssize_t got;
    do {
        got = read(report[0], &error, sizeof(error));
    } while (got < 0 && errno == EINTR);
    close(report[0]);
    return got == 0 ? B_OK : B_LAUNCH_FAILED;
}
