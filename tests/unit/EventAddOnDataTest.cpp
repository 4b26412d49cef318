// What every handler's data gets from its base: the application hold count
// and the removal of its edit view; and the setters of the built-in
// handlers, which mark their event modified (or, for verify, do not).
#include "calvorin/EventAddOnData.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "TestOwner.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/DoNothingDataHandler.h"

namespace {

std::atomic<int> gLastHoldReleased{0};
void CountLastHold()
{
    gLastHoldReleased++;
}

std::vector<QWidget*> gDestroyed;
void RecordDestroyed(QWidget* view)
{
    gDestroyed.push_back(view);
}

class EventAddOnDataTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gLastHoldReleased = 0;
        gDestroyed.clear();
        SetProcessDoneHook(CountLastHold);
        SetEditViewDestroyer(RecordDestroyed);
    }
    void TearDown() override
    {
        SetProcessDoneHook(nullptr);
        SetEditViewDestroyer(nullptr);
    }
    DoNothingDataHandler fData{nullptr};
};

TEST_F(EventAddOnDataTest, OnlyTheLastReleaseLetsTheApplicationGo)
{
    ASSERT_EQ(CurrentProcessHolds(), 0);
    fData.ProcessHold();
    fData.ProcessHold();
    EXPECT_EQ(CurrentProcessHolds(), 2);
    fData.ProcessDone();
    EXPECT_EQ(gLastHoldReleased, 0);
    // Holds from many threads meanwhile are counted exactly.
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++) {
        threads.emplace_back([this] {
            for (int i = 0; i < 2000; i++) {
                fData.ProcessHold();
                fData.ProcessDone();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(gLastHoldReleased, 0);
    fData.ProcessDone();
    EXPECT_EQ(CurrentProcessHolds(), 0);
    EXPECT_EQ(gLastHoldReleased, 1);
}

TEST_F(EventAddOnDataTest, DestroyEditViewHandsTheViewOverOnce)
{
    int token = 0;
    QWidget* view = reinterpret_cast<QWidget*>(&token);
    fData.DestroyEditView();
    EXPECT_TRUE(gDestroyed.empty()) << "nothing recorded, nothing to destroy";

    fData.RecordEditView(view);
    EXPECT_EQ(fData.GetEditView(), view);
    fData.DestroyEditView();
    EXPECT_EQ(gDestroyed, std::vector<QWidget*>{view});
    EXPECT_EQ(fData.GetEditView(), nullptr);
    fData.DestroyEditView();
    EXPECT_EQ(gDestroyed.size(), 1u);
}

TEST(BuiltInHandlerSetters, TextMarksTheEventModifiedButVerifyDoesNot)
{
    EnsureBuiltInHandlers();
    TestOwner owner;
    Event event(&owner);
    CommandDataHandler command(&event);
    ActOnFileDataHandler actOnFile(&event);
    const std::vector<std::pair<std::function<void()>, std::function<void()>>> handlers = {
        {[&] { command.SetVerify(true); }, [&] { command.SetCommand("ls -l"); }},
        {[&] { actOnFile.SetVerify(true); }, [&] { actOnFile.SetFileName("/home/somebody/notes.txt"); }},
    };
    for (const auto& [verify, text] : handlers) {
        owner.ResetCounts();
        verify();
        EXPECT_EQ(owner.setModified, 0);
        text();
        EXPECT_EQ(owner.setModified, 1);
    }
    EXPECT_STREQ(command.GetCommand(), "ls -l");
    EXPECT_STREQ(actOnFile.GetFileName(), "/home/somebody/notes.txt");
    command.SetCommand("");
    EXPECT_EQ(command.GetCommand(), nullptr);
}

}  // namespace
