// The "Command" handler at delivery: the question before running, the
// failure reports, and the shell command really running on its own thread
// without the program's descriptors and without leaving a zombie.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <set>
#include <sys/wait.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "PlatformTestSupport.h"
#include "TestOwner.h"
#include "calvorin/EventAddOnData.h"
#include "core/AlertPort.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/CommandRunner.h"

namespace {

class FakeRunner : public CommandRunner {
public:
    bool Start(const char* command) override
    {
        started.push_back(command);
        return succeeds;
    }
    std::vector<std::string> started;
    bool succeeds = true;
};

// Waits up to ten seconds for a condition that a command brings about.
template <typename Condition>
bool WaitFor(Condition condition)
{
    for (int i = 0; i < 1000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

bool HasThreadNamed(const std::string& name)
{
    std::unique_ptr<DIR, int (*)(DIR*)> tasks(opendir("/proc/self/task"), closedir);
    while (dirent* task = tasks ? readdir(tasks.get()) : nullptr) {
        std::ifstream comm(std::string("/proc/self/task/") + task->d_name + "/comm");
        std::string text;
        if (std::getline(comm, text) && text == name)
            return true;
    }
    return false;
}

class CommandHandlerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        fEvent = std::make_unique<Event>(&fOwner);
        fEvent->SetName("Dentist");
        fEvent->SetSelectedHandler(kCommandHandler);
        fData = static_cast<CommandDataHandler*>(fEvent->GetAddOnData());
    }
    void TearDown() override { SetCommandRunner(nullptr); }

    TestOwner fOwner;
    ScriptedAlertPort fPort;
    ScopedAlertPort fPortScope{&fPort};
    std::unique_ptr<Event> fEvent;
    CommandDataHandler* fData = nullptr;
};

TEST_F(CommandHandlerTest, AskingRunningAndFailing)
{
    struct Case {
        const char* what;
        const char* command;
        bool verify;
        int answer;
        bool starts;
        std::vector<std::string> alerts;  // title | text
        bool runs;
    };
    const std::string ask =
        "|Calvorin event:  Dentist\n\nCalvorin is about to execute a shell command: \"ls -l\".  "
        "Should the command be executed?";
    const Case cases[] = {
        {"no command", nullptr, true, 1, true, {}, false},
        {"verify, Cancel", "ls -l", true, 0, true, {ask}, false},
        {"verify, OK", "ls -l", true, 1, true, {ask}, true},
        {"no verify", "ls -l", false, 1, true, {}, true},
        {"verify, no thread", "ls -l", true, 1, false,
         {ask, "Calvorin recoverable error|Calvorin failed to execute the shell command \"ls -l\"."},
         true},
        {"no verify, no thread", "ls -l", false, 1, false,
         {"|Calvorin event:  Dentist\n\nCalvorin attempted to execute a shell command: \"ls -l\".  "
          "The command failed to execute."},
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeRunner runner;
        runner.succeeds = c.starts;
        SetCommandRunner(&runner);
        fPort.Clear();
        fPort.Answer(c.answer);
        fData->SetCommand(c.command);
        fData->SetVerify(c.verify);
        fData->DealWithEvent(false);

        std::vector<std::string> alerts;
        for (const AlertRequest& alert : fPort.Shown())
            alerts.push_back(alert.title + "|" + alert.text);
        EXPECT_EQ(alerts, c.alerts);
        if (c.verify && c.command != nullptr) {
            EXPECT_EQ(fPort.Shown()[0].buttons, (std::vector<std::string>{"Cancel", "OK"}));
        }
        EXPECT_EQ(runner.started, c.runs ? std::vector<std::string>{"ls -l"} : std::vector<std::string>{});
    }
}

TEST_F(CommandHandlerTest, ShellRunsTheCommandOnItsOwnThreadWithoutOurDescriptors)
{
    TempFolder folder;
    // A descriptor that a careless spawn would pass on (no close-on-exec).
    int leak = open("/dev/null", O_RDONLY);
    ASSERT_GE(leak, 0);
    ASSERT_EQ(dup2(leak, 100), 100);
    const int32_t holdsBefore = CurrentProcessHolds();

    std::string command = "cd '" + folder.Path() +
                          "' && ls /proc/self/fd > fds.tmp && mv fds.tmp fds; "
                          "while [ ! -e go ]; do sleep 0.02; done; exit 3";
    fData->SetCommand(command.c_str());
    fData->DealWithEvent(false);

    ASSERT_TRUE(WaitFor([&] { return access((folder / "fds").c_str(), F_OK) == 0; }));
    EXPECT_TRUE(HasThreadNamed("ExecuteCommand"));
    EXPECT_EQ(CurrentProcessHolds(), holdsBefore + 1);
    std::ifstream listing(folder / "fds");
    std::set<std::string> descriptors;
    for (std::string fd; std::getline(listing, fd);)
        descriptors.insert(fd);
    // The standard three, and the one ls opened to list the folder.
    EXPECT_EQ(descriptors, (std::set<std::string>{"0", "1", "2", "3"}));

    std::ofstream(folder / "go").close();
    EXPECT_TRUE(WaitFor([&] { return CurrentProcessHolds() == holdsBefore; }));
    EXPECT_LE(waitpid(-1, nullptr, WNOHANG), 0) << "no zombie left behind";
    EXPECT_EQ(fPort.CountShown(), 0u) << "a failing exit status is not reported";
    close(100);
    close(leak);
}

}  // namespace
