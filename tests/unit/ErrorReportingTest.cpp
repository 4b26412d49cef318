#include "core/ErrorReporting.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "core/AlertPort.h"

namespace {

class ErrorReportingTest : public ::testing::Test {
protected:
    const AlertRequest& OnlyAlert()
    {
        fShown = fPort.Shown();
        EXPECT_EQ(fShown.size(), 1u);
        if (fShown.empty())
            fShown.push_back(AlertRequest());
        return fShown.front();
    }

    ScriptedAlertPort fPort;
    ScopedAlertPort fScope{&fPort};
    std::vector<AlertRequest> fShown;
};

TEST_F(ErrorReportingTest, RecoverableErrorHasOneContinueButton)
{
    ReportError("The file could not be read.");
    const AlertRequest& alert = OnlyAlert();
    EXPECT_EQ(alert.title, "Calvorin recoverable error");
    EXPECT_EQ(alert.text, "The file could not be read.");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"Continue"});
    EXPECT_EQ(alert.kind, AlertKind::Warning);
}

TEST_F(ErrorReportingTest, CompoundErrorJoinsItsThreeParts)
{
    ReportCompoundError("Calvorin was unable to save the event set ", "Work", ".");
    ReportCompoundError("first", "", "third");
    std::vector<AlertRequest> shown = fPort.Shown();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].text, "Calvorin was unable to save the event set Work.");
    EXPECT_EQ(shown[1].text, "firstthird");
    for (const AlertRequest& alert : shown) {
        EXPECT_EQ(alert.title, "Calvorin recoverable error");
        EXPECT_EQ(alert.buttons, std::vector<std::string>{"Continue"});
        EXPECT_EQ(alert.kind, AlertKind::Warning);
    }
}

TEST_F(ErrorReportingTest, InformUserIsInformation)
{
    InformUser("Line one\nLine two");
    const AlertRequest& alert = OnlyAlert();
    EXPECT_EQ(alert.title, "Calvorin");
    EXPECT_EQ(alert.text, "Line one\nLine two");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(alert.kind, AlertKind::Information);
}

TEST_F(ErrorReportingTest, AlertsFromManyThreadsAreAllShown)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([] {
            for (int i = 0; i < 50; i++)
                ReportError("busy");
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(fPort.CountShown(), 200u);
}

TEST(ErrorReportingDeathTest, FatalErrorShowsQuitAlertAndExitsWithOne)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The console port, in use when no other is installed, writes the alert
    // to stderr as "Title: text".
    EXPECT_EXIT(HandleErrorAndExit("The settings store could not be opened."),
                ::testing::ExitedWithCode(1),
                "^Calvorin error: The settings store could not be opened\\.\n$");

    // Behind a dialog the text still reaches stderr, once.
    EXPECT_EXIT(
        {
            ScriptedAlertPort port;
            SetAlertPort(&port);
            HandleErrorAndExit("gone");
        },
        ::testing::ExitedWithCode(1), "^Calvorin error: gone\n$");
}

TEST(OwnedStringTest, CopiesAreNewAndEmptyMeansNull)
{
    EXPECT_EQ(GetCopyString(nullptr), nullptr);
    EXPECT_EQ(GetCopyString(""), nullptr);

    const char* source = "Dentist";
    char* copy = GetCopyString(source);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, source);
    EXPECT_STREQ(copy, "Dentist");
    delete[] copy;
}

TEST(OwnedStringTest, SetNewStringReplacesAndReleases)
{
    // Run under the sanitizers, a leak or a second release of the old string
    // fails this test.
    char* target = nullptr;
    SetNewString("first", &target);
    ASSERT_NE(target, nullptr);
    EXPECT_STREQ(target, "first");

    char* old = target;
    SetNewString("second", &target);
    EXPECT_STREQ(target, "second");
    EXPECT_NE(target, old);

    SetNewString(target, &target);
    EXPECT_STREQ(target, "second");

    SetNewString("", &target);
    EXPECT_EQ(target, nullptr);
    SetNewString("again", &target);
    SetNewString(nullptr, &target);
    EXPECT_EQ(target, nullptr);
}

TEST(AlertPortTest, ConsolePortPrintsOneLineAndAnswersTheLastButton)
{
    SetAlertPort(nullptr);
    EXPECT_NE(dynamic_cast<ConsoleAlertPort*>(&GetAlertPort()), nullptr);

    AlertRequest request;
    request.title = "Calvorin";
    request.text = "Deliver now?\nTwo events are due.";
    request.buttons = {"Later", "Cancel", "Deliver"};
    ::testing::internal::CaptureStderr();
    int answer = GetAlertPort().Go(request);
    std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, 2);
    EXPECT_EQ(printed, "Calvorin: Deliver now?\nTwo events are due.\n");
}

TEST(AlertPortTest, ScriptedPortAnswersInOrderThenWithTheDefault)
{
    ScriptedAlertPort port;
    ScopedAlertPort scope(&port);
    EXPECT_EQ(&GetAlertPort(), &port);

    AlertRequest request;
    request.title = "Question";
    request.buttons = {"No", "Yes"};
    port.Answer(0);
    port.Answer(1);
    EXPECT_EQ(GetAlertPort().Go(request), 0);
    EXPECT_EQ(GetAlertPort().Go(request), 1);
    EXPECT_EQ(GetAlertPort().Go(request), 1);
    EXPECT_EQ(port.CountShown(), 3u);

    port.Answer(0);
    port.Clear();
    EXPECT_EQ(port.CountShown(), 0u);
    EXPECT_EQ(GetAlertPort().Go(request), 1);
}

}  // namespace
