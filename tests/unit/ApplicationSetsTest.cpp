// The application's loaded sets: a file is loaded once (opening it again
// shows the loaded copy), unreadable files are reported and skipped,
// remembered sets that no longer load are forgotten, the windows of a start
// follow SelectedSetHandling, untitled sets are numbered across the run,
// and the end of the run saves what changed.
#include "core/ApplicationSets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "PlatformTestSupport.h"
#include "TestOwner.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventSet.h"
#include "core/EventSetWindowPort.h"
#include "core/OpenSets.h"

namespace {

class CountingWindow : public EventSetWindowPort {
public:
    void PostMessage(const Message&) override {}
    using MessageTarget::PostMessage;
    void AddEventToView(Event*) override {}
    void SortEvents() override {}
    void RemoveEventFromView(Event*) override {}
    void Activate() override { ++activated; }
    int activated = 0;
};

EventSetWindowPort* MakeWindow(EventSet*)
{
    return new CountingWindow;
}

class ApplicationSetsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        CalvorinSettings::ResetToDefaults();
        SetEventSetWindowFactory(MakeWindow);
    }
    void TearDown() override
    {
        {
            Autolock settingsLock(CalvorinSettings::Protect);
            Autolock setsLock(OpenSets::Protect);
            CalvorinSettings::WhichEventsToDeliver = kDoNotDeliver;
            while (!OpenSets::Sets.empty()) {
                EventSet* set = OpenSets::Sets.front();
                set->Lock();
                if (EventSetWindowPort* window = set->GetWindow()) {
                    delete window;
                    set->WindowClosed();  // not kept: the set goes
                } else {
                    delete set;
                }
            }
        }
        SetEventSetWindowFactory(nullptr);
        CalvorinSettings::ResetToDefaults();
    }

    // Saves a set with the named events at leaf in the scratch folder.
    std::string MakeSetFile(const std::string& leaf, std::vector<const char*> events = {"Dentist"})
    {
        std::string path = fFolder / leaf;
        EventSet set(nullptr, false, nullptr, nullptr);
        Autolock lock(&set);
        set.SetFileName(path.c_str());
        for (const char* name : events) {
            Event* event = new Event(&set);
            event->SetName(name);
            event->RawFields().ShouldWindowOpen() = false;
            set.AddEvent(event);
        }
        EXPECT_TRUE(set.SaveData());
        return path;
    }

    static std::vector<EventSet*> Loaded(const std::string& path)
    {
        std::vector<EventSet*> found;
        for (EventSet* set : OpenSets::Sets) {
            if (path == set->GetFileName())
                found.push_back(set);
        }
        return found;
    }
    static bool HasWindow(EventSet* set) { return set->GetWindow() != nullptr; }

    // The locks the application holds around these calls.
    struct BothLocks {
        Autolock settings{CalvorinSettings::Protect};
        Autolock sets{OpenSets::Protect};
    };

    TempFolder fFolder;
    ScopedClock fClock{1700000000};
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
};

TEST_F(ApplicationSetsTest, AFileIsLoadedOnceAndOpeningItAgainShowsTheLoadedCopy)
{
    std::string path = MakeSetFile("work.calvorin", {"one", "two"});
    BothLocks locks;
    ApplicationSets::OpenSet(path.c_str(), false);
    ASSERT_EQ(Loaded(path).size(), 1u);
    EventSet* set = Loaded(path)[0];
    EXPECT_FALSE(HasWindow(set));
    EXPECT_EQ(set->CountEvents(), 2);

    ApplicationSets::OpenSet(path.c_str(), true);
    ASSERT_EQ(OpenSets::Sets.size(), 1u);
    ASSERT_TRUE(HasWindow(set));
    auto* window = static_cast<CountingWindow*>(set->GetWindow());
    ApplicationSets::OpenSet(path.c_str(), true);
    EXPECT_EQ(window->activated, 1);
    EXPECT_EQ(OpenSets::Sets.size(), 1u);

    // The comparison is exact: another spelling is another file name.
    ApplicationSets::OpenSet((fFolder / "./work.calvorin").c_str(), false);
    EXPECT_EQ(OpenSets::Sets.size(), 2u);
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

TEST_F(ApplicationSetsTest, FilesThatCannotBeReadAreReportedAndSkipped)
{
    std::string missing = fFolder / "missing.calvorin";
    std::string cut = MakeSetFile("cut.calvorin");
    std::filesystem::resize_file(cut, 12);
    BothLocks locks;
    ApplicationSets::OpenSet(missing.c_str(), true);
    ApplicationSets::OpenSet(cut.c_str(), true);
    EXPECT_TRUE(OpenSets::Sets.empty());
    ASSERT_EQ(fAlerts.CountShown(), 2u);
    EXPECT_EQ(fAlerts.Shown()[0].text, "Calvorin: Attempt to open event set " + missing + " failed.");
    EXPECT_EQ(fAlerts.Shown()[1].text, "Calvorin: Attempt to read event set " + cut +
                                           " failed because a file error occurred.  The file "
                                           "may be corrupted.");
    EXPECT_EQ(fAlerts.Shown()[1].title, "Calvorin recoverable error");
}

TEST_F(ApplicationSetsTest, RememberedSetsThatNoLongerLoadAreForgottenAfterOneReport)
{
    std::string a = MakeSetFile("a.calvorin");
    std::string gone = fFolder / "gone.calvorin";
    std::string b = MakeSetFile("b.calvorin");
    BothLocks locks;
    CalvorinSettings::SetFileNames = {a, gone, gone, b};
    ApplicationSets::ReadSelectedSets();
    EXPECT_EQ(CalvorinSettings::SetFileNames, (std::vector<std::string>{a, b}));
    ASSERT_EQ(OpenSets::Sets.size(), 2u);
    EXPECT_EQ(OpenSets::Sets[0]->GetFileName(), a);
    EXPECT_EQ(OpenSets::Sets[1]->GetFileName(), b);
    EXPECT_FALSE(HasWindow(OpenSets::Sets[0]));
    // Once per name in the list.
    EXPECT_EQ(fAlerts.CountShown(), 2u);
}

TEST_F(ApplicationSetsTest, StartWindowsFollowSelectedSetHandling)
{
    std::string a = MakeSetFile("a.calvorin");
    std::string b = MakeSetFile("b.calvorin");
    std::string given = MakeSetFile("given.calvorin");
    struct Case {
        int32_t handling;
        bool fileGiven;
        bool rememberedOpen;
    };
    for (Case c : {Case{kOpenAlways, false, true}, Case{kOpenAlways, true, true},
                   Case{kOpenIfNoOthers, false, true}, Case{kOpenIfNoOthers, true, false},
                   Case{kDontOpen, false, false}, Case{kDontOpen, true, false}}) {
        SCOPED_TRACE(testing::Message() << "handling " << c.handling << " file " << c.fileGiven);
        TearDown();
        SetUp();
        BothLocks locks;
        CalvorinSettings::SelectedSetHandling = c.handling;
        CalvorinSettings::SetFileNames = {a, b};
        ApplicationSets::ReadSelectedSets();
        if (c.fileGiven)
            ApplicationSets::OpenSet(given.c_str(), true);
        ApplicationSets::OpenUserInterface();

        EXPECT_EQ(HasWindow(Loaded(a)[0]), c.rememberedOpen);
        EXPECT_EQ(HasWindow(Loaded(b)[0]), c.rememberedOpen);
        // At least one window, made as a new untitled set when none is open.
        const bool untitled = !c.fileGiven && !c.rememberedOpen;
        EXPECT_EQ(OpenSets::Sets.size(), 2u + (c.fileGiven ? 1 : 0) + (untitled ? 1 : 0));
        if (untitled) {
            EventSet* fresh = OpenSets::Sets.back();
            EXPECT_TRUE(HasWindow(fresh));
            EXPECT_EQ(std::strncmp(fresh->GetFileName(), "Untitled event set ", 19), 0);
        }
    }
}

TEST_F(ApplicationSetsTest, UntitledNamesCountUpAcrossTheRunAndAreNeverReused)
{
    char* first = GetNextUntitledWindowName();
    int number = 0;
    ASSERT_EQ(std::sscanf(first, "Untitled event set %d", &number), 1);
    EXPECT_GE(number, 1);
    delete[] first;
    {
        BothLocks locks;
        ApplicationSets::OpenSet(nullptr, false);
    }
    ASSERT_EQ(OpenSets::Sets.size(), 1u);
    EXPECT_EQ(std::string(OpenSets::Sets[0]->GetFileName()),
              "Untitled event set " + std::to_string(number + 1));
    char* third = GetNextUntitledWindowName();
    EXPECT_EQ(std::string(third), "Untitled event set " + std::to_string(number + 2));
    delete[] third;

    // Threads asking at once each get a number of their own.
    std::vector<std::vector<std::string>> names(4);
    std::vector<std::thread> threads;
    for (auto& list : names)
        threads.emplace_back([&list] {
            for (int i = 0; i < 100; ++i) {
                char* name = GetNextUntitledWindowName();
                list.emplace_back(name);
                delete[] name;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> distinct;
    for (const auto& list : names)
        distinct.insert(list.begin(), list.end());
    EXPECT_EQ(distinct.size(), 400u);
}

TEST_F(ApplicationSetsTest, ReloadingDropsUnsavedChangesAndLeavesNoWindow)
{
    std::string path = MakeSetFile("r.calvorin", {"saved"});
    BothLocks locks;
    ApplicationSets::OpenSet(path.c_str(), false);
    EventSet* set = Loaded(path)[0];
    {
        Autolock lock(set);
        set->AddEvent(nullptr);
        ASSERT_EQ(set->CountEvents(), 2);
    }
    ApplicationSets::ReloadWithoutWindow(path.c_str());
    ASSERT_EQ(Loaded(path).size(), 1u);
    EventSet* again = Loaded(path)[0];
    EXPECT_EQ(again->CountEvents(), 1);
    EXPECT_FALSE(again->HasBeenModified());
    EXPECT_FALSE(HasWindow(again));

    // A name that is not loaded is left alone.
    ApplicationSets::ReloadWithoutWindow((fFolder / "other").c_str());
    EXPECT_EQ(OpenSets::Sets.size(), 1u);
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

TEST_F(ApplicationSetsTest, TheEndOfTheRunSavesChangedSetsAndReportsWhatCannotBeSaved)
{
    std::string kept = MakeSetFile("kept.calvorin", {"one"});
    std::string lost = MakeSetFile("lost.calvorin", {"one"});
    {
        BothLocks locks;
        ApplicationSets::OpenSet(kept.c_str(), false);
        ApplicationSets::OpenSet(lost.c_str(), false);
        for (EventSet* set : OpenSets::Sets) {
            Autolock lock(set);
            set->AddEvent(nullptr);
        }
        // The second set's folder goes away: it cannot be saved.
        Autolock lock(Loaded(lost)[0]);
        Loaded(lost)[0]->SetFileName((fFolder / "no-folder/lost.calvorin").c_str());
    }
    ApplicationSets::SaveAndUnloadAll();
    EXPECT_TRUE(OpenSets::Sets.empty());
    ASSERT_EQ(fAlerts.CountShown(), 1u);
    EXPECT_EQ(fAlerts.Shown()[0].text, "Calvorin was unable to save the event set " +
                                           (fFolder / "no-folder/lost.calvorin") + ".");

    BothLocks locks;
    ApplicationSets::OpenSet(kept.c_str(), false);
    ASSERT_EQ(Loaded(kept).size(), 1u);
    EXPECT_EQ(Loaded(kept)[0]->CountEvents(), 2);
}

}  // namespace
