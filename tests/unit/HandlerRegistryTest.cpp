// The handler registry: the built-ins at their fixed places, add-ons loaded
// from the two add-on folders, every way an add-on can fail to load, and
// lookup by name. The add-ons are the ones built under tests/addons and the
// example add-on, copied into scratch folders.
#include "handlers/HandlerRegistry.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "PlatformTestSupport.h"
#include "StorageTestSupport.h"
#include "TestOwner.h"
#include "core/AlertPort.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/DoNothingDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

std::mutex gAddOnEventsLock;
std::vector<std::string> gAddOnEvents;

bool Happened(const std::string& what)
{
    std::lock_guard<std::mutex> lock(gAddOnEventsLock);
    return std::find(gAddOnEvents.begin(), gAddOnEvents.end(), what) != gAddOnEvents.end();
}

}  // namespace

// The test add-ons tell what they were asked to do through this function,
// which the test program exports to them.
extern "C" void CalvorinTestAddOnEvent(const char* what)
{
    std::lock_guard<std::mutex> lock(gAddOnEventsLock);
    gAddOnEvents.push_back(what);
}

namespace {

namespace fs = std::filesystem;

std::string BuiltTestAddOn(const std::string& id)
{
    return std::string(CALVORIN_BINARY_DIR) + "/test-addons/" + id + ".so";
}

std::string BuiltExampleAddOn()
{
    return std::string(CALVORIN_BINARY_DIR) + "/bin/add-ons/LogToFile.so";
}

// True while the library at path is loaded in this process.
bool IsLoaded(const std::string& path)
{
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr)
        return false;
    dlclose(handle);
    return true;
}

class HandlerRegistryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(fApp.Valid());
        ASSERT_TRUE(fData.Valid());
        SetApplicationFolder(fApp.Path());
        std::lock_guard<std::mutex> lock(gAddOnEventsLock);
        gAddOnEvents.clear();
    }
    void TearDown() override
    {
        // Unloads whatever the test loaded and leaves the built-ins in place.
        LoadBuiltInHandlers();
        SetApplicationFolder(fSavedFolder);
    }

    std::string AppAddOns() const { return fApp.Path() + "/add-ons"; }
    std::string UserAddOns() const { return fData.Path() + "/calvorin/add-ons"; }

    // Copies a built library into folder under the name leaf; its new path.
    std::string Install(const std::string& built, const std::string& folder, const std::string& leaf)
    {
        fs::create_directories(folder);
        std::string path = folder + "/" + leaf;
        fs::copy_file(built, path, fs::copy_options::overwrite_existing);
        return path;
    }

    std::vector<std::string> Reports() const
    {
        std::vector<std::string> texts;
        for (const AlertRequest& alert : fPort.Shown()) {
            EXPECT_EQ(alert.title, "Calvorin recoverable error");
            texts.push_back(alert.text);
        }
        return texts;
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (int32_t i = 0; i < NumberOfEventHandlers; i++)
            names.push_back(AddOnNames[i]);
        return names;
    }

    ScratchDir fApp;
    ScratchDir fData;
    ScopedEnvironment fDataHome{"XDG_DATA_HOME", fData.Path().c_str()};
    ScriptedAlertPort fPort;
    ScopedAlertPort fScope{&fPort};
    const std::string fSavedFolder = GetApplicationFolder();
};

TEST_F(HandlerRegistryTest, WithoutAddOnFoldersOnlyTheBuiltInsAreThere)
{
    LoadEventHandlers();
    EXPECT_EQ(Names(), (std::vector<std::string>{"Unknown", "Do nothing", "Message", "Command",
                                                 "Act on file"}));
    const NewAddOnDataFunction factories[] = {DefHandUnknown_NewAddOnData, DefHandDoNothing_NewAddOnData,
                                              DefHandMessage_NewAddOnData, DefHandCommand_NewAddOnData,
                                              DefHandActOnFile_NewAddOnData};
    for (int32_t i = 0; i < kFirstAddOnHandler; i++)
        EXPECT_EQ(Function_NewAddOnData[i], factories[i]) << AddOnNames[i];
    EXPECT_TRUE(Reports().empty());

    // Lookup by name is exact and case-sensitive; no match is the Unknown handler.
    const std::pair<const char*, int32_t> lookups[] = {
        {"Unknown", kUnknownHandler}, {"Do nothing", kDoNothingHandler}, {"Message", kMessageHandler},
        {"Command", kCommandHandler}, {"Act on file", kActOnFileHandler}, {"message", kUnknownHandler},
        {"Message ", kUnknownHandler}, {"Spoken reminder", kUnknownHandler}, {"", kUnknownHandler},
        {nullptr, kUnknownHandler}};
    for (const auto& [name, index] : lookups)
        EXPECT_EQ(FindHandlerByName(name), index) << (name ? name : "null");
}

TEST_F(HandlerRegistryTest, AddOnFoldersAreTheApplicationsThenTheUsers)
{
    EXPECT_EQ(AddOnFolders(), (std::vector<std::string>{AppAddOns(), UserAddOns()}));
    // Without $XDG_DATA_HOME (or with a relative one) the user's folder is
    // under ~/.local/share.
    ScopedEnvironment home("HOME", "/home/somebody");
    for (const char* dataHome : {"relative/data", static_cast<const char*>(nullptr)}) {
        ScopedEnvironment data("XDG_DATA_HOME", dataHome);
        EXPECT_EQ(UserAddOnFolder(), "/home/somebody/.local/share/calvorin/add-ons");
    }
}

TEST_F(HandlerRegistryTest, AddOnsFollowTheBuiltInsApplicationFolderFirst)
{
    // The user's add-on sorts first by name, but its folder comes second.
    Install(BuiltTestAddOn("good"), AppAddOns(), "zz-test.so");
    Install(BuiltExampleAddOn(), UserAddOns(), "aa-log.so");
    Install(BuiltTestAddOn("no_cleanup"), AppAddOns(), "mm-test.so");
    LoadEventHandlers();

    EXPECT_TRUE(Reports().empty());
    std::vector<std::string> names = Names();
    ASSERT_EQ(names.size(), 8u);
    EXPECT_EQ(names[5], "No clean-up handler");
    EXPECT_EQ(names[6], "Test handler");
    EXPECT_EQ(names[7], "Log to file");
    EXPECT_EQ(FindHandlerByName("Log to file"), 7);
}

TEST_F(HandlerRegistryTest, ATextFileIsReportedWithItsPathAndSkipped)
{
    fs::create_directories(AppAddOns());
    std::string notes = AppAddOns() + "/notes.txt";
    WriteWholeFile(notes, std::string("not an add-on\n"));
    Install(BuiltTestAddOn("good"), AppAddOns(), "test.so");
    LoadEventHandlers();

    std::vector<std::string> reports = Reports();
    ASSERT_EQ(reports.size(), 1u);
    std::string opening = "LoadEventHandlers: load_add_on failed for " + notes;
    EXPECT_EQ(reports[0].substr(0, opening.size()), opening);
    // The add-on after it takes the first add-on place.
    EXPECT_EQ(NumberOfEventHandlers, 6);
    EXPECT_STREQ(AddOnNames[5], "Test handler");
}

TEST_F(HandlerRegistryTest, BrokenAddOnsAreReportedUnloadedAndSkipped)
{
    std::string noFactory = Install(BuiltTestAddOn("no_factory"), UserAddOns(), "a.so");
    std::string noInit = Install(BuiltTestAddOn("no_init"), UserAddOns(), "b.so");
    std::string nullName = Install(BuiltTestAddOn("null_name"), UserAddOns(), "c.so");
    fs::create_directories(UserAddOns() + "/d-folder");
    LoadEventHandlers();

    std::vector<std::string> reports = Reports();
    ASSERT_EQ(reports.size(), 4u);
    EXPECT_EQ(reports[0], "LoadEventHandlers:  couldn't find NewAddOnData for " + noFactory);
    EXPECT_EQ(reports[1], "LoadEventHandlers:  couldn't find InitializeAddOn for " + noInit);
    EXPECT_EQ(reports[2], "LoadEventHandlers:  InitializeAddOn failed for " + nullName);
    std::string folder = "LoadEventHandlers: load_add_on failed for " + UserAddOns() + "/d-folder";
    EXPECT_EQ(reports[3].substr(0, folder.size()), folder);

    EXPECT_EQ(NumberOfEventHandlers, kFirstAddOnHandler);
    EXPECT_FALSE(Happened("factory:no_init"));
    EXPECT_TRUE(Happened("initialize:null_name"));
    for (const std::string& path : {noFactory, noInit, nullName})
        EXPECT_FALSE(IsLoaded(path)) << path;
}

TEST_F(HandlerRegistryTest, UnloadingCallsCleanUpWhereThereIsOne)
{
    std::string withCleanUp = Install(BuiltTestAddOn("good"), AppAddOns(), "a.so");
    std::string without = Install(BuiltTestAddOn("no_cleanup"), AppAddOns(), "b.so");
    LoadEventHandlers();
    ASSERT_EQ(NumberOfEventHandlers, 7);
    EXPECT_TRUE(IsLoaded(withCleanUp));
    EXPECT_TRUE(IsLoaded(without));
    EXPECT_FALSE(Happened("cleanup:good"));

    UnloadEventHandlers();
    EXPECT_TRUE(Happened("cleanup:good"));
    EXPECT_FALSE(IsLoaded(withCleanUp));
    EXPECT_FALSE(IsLoaded(without));
    EXPECT_EQ(NumberOfEventHandlers, 0);
    EXPECT_EQ(AddOnNames, nullptr);
    EXPECT_EQ(Function_NewAddOnData, nullptr);
    EXPECT_EQ(AddOnImages, nullptr);
    EXPECT_TRUE(Reports().empty());
}

TEST_F(HandlerRegistryTest, OfTwoHandlersWithOneNameTheLowerIndexWins)
{
    Install(BuiltTestAddOn("duplicate_first"), AppAddOns(), "z.so");
    Install(BuiltTestAddOn("duplicate_second"), UserAddOns(), "a.so");
    Install(BuiltTestAddOn("shadows_message"), UserAddOns(), "b.so");
    LoadEventHandlers();

    EXPECT_EQ(Names(), (std::vector<std::string>{"Unknown", "Do nothing", "Message", "Command",
                                                 "Act on file", "Duplicate", "Duplicate",
                                                 "Message"}));
    int32_t index = FindHandlerByName("Duplicate");
    EXPECT_EQ(index, 5);
    bool ok = false;
    std::unique_ptr<EventAddOnData> data(Function_NewAddOnData[index](nullptr, nullptr, &ok));
    EXPECT_TRUE(ok);
    EXPECT_TRUE(Happened("factory:duplicate_first"));
    EXPECT_FALSE(Happened("factory:duplicate_second"));
    // An add-on named like a built-in is listed but never found by name.
    EXPECT_EQ(FindHandlerByName("Message"), kMessageHandler);
}

TEST_F(HandlerRegistryTest, NoMoreThan127HandlersAreRegistered)
{
    // Links to one add-on: every one registers the same handler again.
    fs::create_directories(AppAddOns());
    std::string built = BuiltTestAddOn("good");
    for (int i = 0; i < 125; i++) {
        char leaf[32];
        std::snprintf(leaf, sizeof leaf, "link-%03d.so", i);
        fs::create_symlink(built, AppAddOns() + "/" + leaf);
    }
    LoadEventHandlers();

    EXPECT_EQ(NumberOfEventHandlers, kMaxEventHandlers);
    std::vector<std::string> reports = Reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find(AppAddOns() + "/link-122.so"), std::string::npos) << reports[0];
    EXPECT_EQ(FindHandlerByName("Test handler"), kFirstAddOnHandler);
}

using HandlerRegistryDeathTest = HandlerRegistryTest;

TEST_F(HandlerRegistryDeathTest, AnApplicationFolderThatIsNotThereEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SetApplicationFolder(fApp.Path() + "/missing");
    SetAlertPort(nullptr);  // the console port writes the alert to stderr
    EXPECT_EXIT(LoadEventHandlers(), ::testing::ExitedWithCode(1),
                "Calvorin error: LoadEventHandlers: Getting BEntry for be_app AppInfo failed");

    std::string file = fApp.File("plain-file");
    WriteWholeFile(file, std::string("x"));
    SetApplicationFolder(file);
    EXPECT_EXIT(LoadEventHandlers(), ::testing::ExitedWithCode(1),
                "Calvorin error: LoadEventHandlers: Getting BDirectory for App directory failed");

    SetApplicationFolder("");
    EXPECT_EXIT(LoadEventHandlers(), ::testing::ExitedWithCode(1),
                "Calvorin error: LoadEventHandlers: GetAppInfo failed");
}

// The example add-on, driven through the registry like any handler: its
// record carries its own version, and it acts through Calvorin's exports.
class ExampleAddOnTest : public HandlerRegistryTest {
protected:
    void SetUp() override
    {
        HandlerRegistryTest::SetUp();
        Install(BuiltExampleAddOn(), UserAddOns(), "LogToFile.so");
        LoadEventHandlers();
        fIndex = FindHandlerByName("Log to file");
    }

    std::unique_ptr<EventAddOnData> ReadRecord(const std::vector<uint8_t>& record, bool* ok,
                                               Event* event = nullptr)
    {
        std::string path = fApp.File("record");
        std::vector<uint8_t> bytes = {0x00};
        bytes.insert(bytes.end(), record.begin(), record.end());
        bytes.insert(bytes.end(), {0x0D, 0xF0, 0xFE, 0xCA});
        WriteWholeFile(path, bytes);
        EndianIndependentFile file(path.c_str(), B_READ_ONLY, 64);
        std::unique_ptr<EventAddOnData> data(Function_NewAddOnData[fIndex](event, &file, ok));
        uint32_t next = 0;
        EXPECT_TRUE(file.ReadValue(&next));
        EXPECT_EQ(next, 0xCAFEF00Du) << "the add-on did not read exactly its record";
        return data;
    }

    int32_t fIndex = 0;
};

TEST_F(ExampleAddOnTest, RecordStartsWithItsCountAndVersion)
{
    ASSERT_EQ(fIndex, kFirstAddOnHandler);
    bool ok = false;
    std::unique_ptr<EventAddOnData> fresh(Function_NewAddOnData[fIndex](nullptr, nullptr, &ok));
    ASSERT_NE(fresh, nullptr);
    EXPECT_TRUE(ok);
    std::string path = fApp.File("saved");
    {
        EndianIndependentFile file(path.c_str(), B_WRITE_ONLY | B_CREATE_FILE, 64);
        ASSERT_TRUE(fresh->SaveData(&file));
        ASSERT_EQ(file.FlushBuffer(), B_OK);
    }
    EXPECT_EQ(ReadWholeFile(path), (std::vector<uint8_t>{0x00, 2, 0, 0, 0, 1, 0}));

    std::unique_ptr<EventAddOnData> read = ReadRecord({2, 0, 0, 0, 1, 0}, &ok);
    EXPECT_TRUE(ok);
    // A later version is refused, but the record is still read whole.
    read = ReadRecord({4, 0, 0, 0, 2, 'a', 'b', 0}, &ok);
    EXPECT_FALSE(ok);
}

TEST_F(ExampleAddOnTest, DeliveryAppendsTheEventToItsLog)
{
    ASSERT_EQ(fIndex, kFirstAddOnHandler);
    TestOwner owner;
    Event event(&owner);
    event.SetName("Dentist");
    std::string log = fApp.File("events.log");
    std::vector<uint8_t> record = {0, 0, 0, 0, 1};
    record.insert(record.end(), log.begin(), log.end());
    record.push_back(0);
    record[0] = uint8_t(record.size() - 4);
    bool ok = false;
    std::unique_ptr<EventAddOnData> data = ReadRecord(record, &ok, &event);
    ASSERT_TRUE(ok);

    data->DealWithEvent(false);
    data->DealWithEvent(true);
    std::vector<uint8_t> bytes = ReadWholeFile(log);
    std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find("  Dentist\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Dentist  (missed)\n"), std::string::npos) << text;
    EXPECT_TRUE(fPort.Shown().empty());
}

}  // namespace
