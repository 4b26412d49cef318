// The settings store: items survive a reopen with their types and sizes,
// only saved changes persist, a save is all or nothing, and a damaged or
// unusable store is reported instead of crashing or losing the file.
#include <gtest/gtest.h>

#include <sqlite3.h>

#include <atomic>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "PlatformTestSupport.h"
#include "StorageTestSupport.h"
#include "prefs/Prefs.h"

namespace {

constexpr const char* kApplication = "x-vnd.QZ-Calvorin";
constexpr const char* kSetName = "CalvorinSettings";

bool Exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

class PrefsStoreTest : public ::testing::Test {
protected:
    PrefsStoreTest() : fConfig("XDG_CONFIG_HOME", fFolder.Path().c_str()) {}

    std::string StorePath() const { return fFolder / "calvorin/settings.sqlite"; }

    // Opens the store and the settings set (created when missing).
    void Open(const char* set = kSetName)
    {
        ASSERT_EQ(PREFInit(kApplication, &fHandle), B_OK);
        ASSERT_NE(fHandle, nullptr);
        ASSERT_EQ(PREFLoadSet(fHandle, set, true, &fSet), B_OK);
        ASSERT_NE(fSet, nullptr);
    }
    void Close()
    {
        if (fSet) {
            EXPECT_EQ(PREFDisposeSet(fSet), B_OK);
        }
        if (fHandle) {
            EXPECT_EQ(PREFShutdown(fHandle), B_OK);
        }
        fSet = nullptr;
        fHandle = nullptr;
    }
    void Reopen(const char* set = kSetName)
    {
        Close();
        Open(set);
    }
    void TearDown() override { Close(); }

    // The item's bytes, or "<missing>".
    std::string Item(const char* key, uint32_t* typeOut = nullptr)
    {
        const void* data = nullptr;
        size_t size = 99;
        uint32_t type = 0;
        if (PREFGetData(fSet, key, &data, &size, &type) != B_OK)
            return "<missing>";
        if (typeOut)
            *typeOut = type;
        return size ? std::string(static_cast<const char*>(data), size) : std::string();
    }
    void Put(const char* key, const std::string& bytes, uint32_t type = B_INT8_TYPE)
    {
        ASSERT_EQ(PREFSetData(fSet, key, bytes.empty() ? nullptr : bytes.data(), bytes.size(), type), B_OK);
    }
    void Save() { ASSERT_EQ(PREFSaveSet(fSet), B_OK); }

    // Opens the store with sqlite itself, runs the statements and closes it.
    void Sql(const char* statements)
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(StorePath().c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, statements, nullptr, nullptr, nullptr), SQLITE_OK) << statements;
        sqlite3_close(db);
    }

    TempFolder fFolder;
    ScopedEnvironment fConfig;
    PREFHandle fHandle = nullptr;
    PREFData fSet = nullptr;
};

template <typename T, size_t N>
std::string BytesOf(const T (&values)[N])
{
    return std::string(reinterpret_cast<const char*>(values), sizeof(values));
}

TEST_F(PrefsStoreTest, ItemsSurviveReopeningWithTypesAndSizes)
{
    const int32_t columnOrder[6] = {5, 4, 3, 2, 1, 0};
    const bool shown[6] = {true, false, true, true, false, true};
    const float frame[4] = {16.0f, 33.0f, 569.0f, 357.5f};
    // A type code that is no standard one is kept as it is.
    const struct {
        const char* key;
        std::string bytes;
        uint32_t type;
    } items[] = {
        {"ColumnOrder", BytesOf(columnOrder), B_INT32_TYPE},
        {"ColumnShown", BytesOf(shown), B_BOOL_TYPE},
        {"SetWindowFrame", BytesOf(frame), B_RECT_TYPE},
        {"SetsToUse", std::string("/home/a/Work.calvorin\0/home/a/Birthdays\0", 39), B_INT8_TYPE},
        {"Empty", "", B_RAW_TYPE},
        {"Odd", "x", 0xfffffffeu},
    };
    Open();
    for (const auto& item : items)
        Put(item.key, item.bytes, item.type);
    Save();
    Close();

    struct stat info;
    ASSERT_EQ(stat((fFolder / "calvorin").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_TRUE(Exists(StorePath()));

    ASSERT_EQ(PREFInit(kApplication, &fHandle), B_OK);
    ASSERT_EQ(PREFLoadSet(fHandle, kSetName, false, &fSet), B_OK);
    for (const auto& item : items) {
        uint32_t type = 0;
        EXPECT_EQ(Item(item.key, &type), item.bytes) << item.key;
        EXPECT_EQ(type, item.type) << item.key;
    }
    EXPECT_EQ(Item("NeverWritten"), "<missing>");
}

TEST_F(PrefsStoreTest, SetThatWasNeverSavedIsFoundOnlyWhenCreated)
{
    ASSERT_EQ(PREFInit(kApplication, &fHandle), B_OK);
    PREFData set = reinterpret_cast<PREFData>(1);
    EXPECT_EQ(PREFLoadSet(fHandle, kSetName, false, &set), B_NAME_NOT_FOUND);
    EXPECT_EQ(set, nullptr);
    ASSERT_EQ(PREFLoadSet(fHandle, kSetName, true, &fSet), B_OK);
    EXPECT_EQ(Item("Time24Hour"), "<missing>");
    // Creating it in memory does not make it exist in the store.
    PREFData again = nullptr;
    EXPECT_EQ(PREFLoadSet(fHandle, kSetName, false, &again), B_NAME_NOT_FOUND);
    // An empty set that was saved exists.
    Save();
    ASSERT_EQ(PREFLoadSet(fHandle, kSetName, false, &again), B_OK);
    PREFDisposeSet(again);
}

TEST_F(PrefsStoreTest, OnlySavedChangesAndDeletionsPersist)
{
    Open();
    Put("Time24Hour", std::string(1, '\1'), B_BOOL_TYPE);
    Put("ViewMode", std::string(4, '\0'), B_INT32_TYPE);
    Put("SetsToUse", "a");
    Put("UserIcons", "b");
    Save();
    Put("Time24Hour", std::string(1, '\0'), B_BOOL_TYPE);
    Put("NumberOfKeys", "abcd", B_INT32_TYPE);
    ASSERT_EQ(PREFDelete(fSet, "ViewMode"), B_OK);
    // The set itself sees its changes at once.
    EXPECT_EQ(Item("Time24Hour"), std::string(1, '\0'));
    EXPECT_EQ(Item("ViewMode"), "<missing>");
    Reopen();
    EXPECT_EQ(Item("Time24Hour"), "\1");
    EXPECT_EQ(Item("ViewMode"), std::string(4, '\0'));
    EXPECT_EQ(Item("NumberOfKeys"), "<missing>");

    EXPECT_EQ(PREFDelete(fSet, "SetsToUse"), B_OK);
    EXPECT_EQ(PREFDelete(fSet, "SetsToUse"), B_NAME_NOT_FOUND);
    EXPECT_EQ(PREFDelete(fSet, "GroupActiveEventsFirst"), B_NAME_NOT_FOUND);
    Save();
    Reopen();
    EXPECT_EQ(Item("SetsToUse"), "<missing>");
    EXPECT_EQ(Item("UserIcons"), "b");
}

TEST_F(PrefsStoreTest, SetsAndApplicationsAreIndependent)
{
    Open("One");
    Put("Key", "one");
    Save();
    PREFData two = nullptr;
    ASSERT_EQ(PREFLoadSet(fHandle, "Two", true, &two), B_OK);
    ASSERT_EQ(PREFSetData(two, "Key", "two", 3, B_INT8_TYPE), B_OK);
    ASSERT_EQ(PREFSaveSet(two), B_OK);
    // Saving "One" again (without the item) leaves "Two" alone.
    ASSERT_EQ(PREFDelete(fSet, "Key"), B_OK);
    Save();
    PREFDisposeSet(two);
    Reopen("Two");
    EXPECT_EQ(Item("Key"), "two");
    Reopen("One");
    EXPECT_EQ(Item("Key"), "<missing>");
    Close();
    // Another application with a set of the same name sees nothing of it.
    ASSERT_EQ(PREFInit("x-vnd.Other", &fHandle), B_OK);
    EXPECT_EQ(PREFLoadSet(fHandle, "Two", false, &fSet), B_NAME_NOT_FOUND);
}

TEST_F(PrefsStoreTest, FailedSaveChangesNothing)
{
    Open();
    Put("A", "old");
    Put("B", "old");
    Save();
    // Make the store refuse one item in the middle of the next save.
    Sql("CREATE TRIGGER refuse BEFORE INSERT ON prefs_items"
        " WHEN NEW.key = 'M' BEGIN SELECT RAISE(ABORT, 'refused'); END;");
    Put("A", "new");
    Put("M", "new");
    Put("Z", "new");
    ASSERT_EQ(PREFDelete(fSet, "B"), B_OK);
    EXPECT_EQ(PREFSaveSet(fSet), B_FILE_ERROR);
    Sql("DROP TRIGGER refuse");
    Reopen();
    EXPECT_EQ(Item("A"), "old");
    EXPECT_EQ(Item("B"), "old");
    EXPECT_EQ(Item("M"), "<missing>");
    EXPECT_EQ(Item("Z"), "<missing>");
}

TEST_F(PrefsStoreTest, SaveWaitsForAnotherWriter)
{
    Open();
    Put("A", "mine");
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(StorePath().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    std::atomic<bool> saving{false};
    std::thread other([&]() {
        while (!saving.load())
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    });
    saving.store(true);
    EXPECT_EQ(PREFSaveSet(fSet), B_OK);
    other.join();
    sqlite3_close(db);
}

TEST_F(PrefsStoreTest, DamagedFileIsKeptAsideAndDefaultsUsed)
{
    Open();
    Put("A", "lost");
    Save();
    Close();
    const std::string garbage = "This is not a database, just some bytes.\n";
    WriteWholeFile(StorePath(), garbage);
    WriteWholeFile(StorePath() + ".damaged", std::string("older"));  // an older damaged copy is kept too

    EXPECT_EQ(PREFInit(kApplication, &fHandle), B_PREF_STORE_REPLACED);
    ASSERT_NE(fHandle, nullptr);
    ASSERT_NE(PREFInitProblemText(), nullptr);
    const std::string problem = PREFInitProblemText();
    EXPECT_NE(problem.find("The settings file " + StorePath() + " is damaged"), std::string::npos)
        << problem;
    EXPECT_NE(problem.find("keeps a copy as settings.sqlite.damaged.2"), std::string::npos)
        << problem;
    EXPECT_EQ(ReadWholeFileText(StorePath() + ".damaged.2"), garbage);
    EXPECT_EQ(ReadWholeFileText(StorePath() + ".damaged"), "older");

    // The fresh store starts empty and works.
    ASSERT_EQ(PREFLoadSet(fHandle, kSetName, true, &fSet), B_OK);
    EXPECT_EQ(Item("A"), "<missing>");
    Put("A", "fresh");
    Save();
    // Told once: the next start finds a good store.
    Reopen();
    EXPECT_EQ(PREFInitProblemText(), nullptr);
    EXPECT_EQ(Item("A"), "fresh");
}

TEST_F(PrefsStoreTest, UnreadableFileOrAnotherLayoutIsKeptAsideAndReplaced)
{
    ASSERT_EQ(mkdir((fFolder / "calvorin").c_str(), 0700), 0);
    Sql("CREATE TABLE prefs_items (name TEXT); PRAGMA user_version = 1;");
    EXPECT_EQ(PREFInit(kApplication, &fHandle), B_PREF_STORE_REPLACED);
    ASSERT_NE(fHandle, nullptr);
    EXPECT_TRUE(Exists(StorePath() + ".damaged"));
    ASSERT_EQ(PREFLoadSet(fHandle, kSetName, true, &fSet), B_OK);
    Put("A", "kept");
    Save();
    Close();

    if (geteuid() == 0)
        GTEST_SKIP() << "permissions do not bind the superuser";
    const std::string saved = ReadWholeFileText(StorePath());
    ASSERT_EQ(chmod(StorePath().c_str(), 0), 0);
    EXPECT_EQ(PREFInit(kApplication, &fHandle), B_PREF_STORE_REPLACED);
    ASSERT_NE(PREFInitProblemText(), nullptr);
    EXPECT_NE(std::string(PREFInitProblemText()).find("cannot be read"), std::string::npos);
    const std::string aside = StorePath() + ".damaged.2";
    ASSERT_EQ(chmod(aside.c_str(), 0600), 0);
    EXPECT_EQ(ReadWholeFileText(aside), saved);
}

TEST_F(PrefsStoreTest, UnusableFolderIsReportedClearly)
{
    // A file where the configuration folder should be.
    WriteWholeFile(fFolder / "file", std::string());
    {
        ScopedEnvironment config("XDG_CONFIG_HOME", (fFolder / "file").c_str());
        fHandle = reinterpret_cast<PREFHandle>(1);
        EXPECT_EQ(PREFInit(kApplication, &fHandle), B_PREF_STORE_UNAVAILABLE);
        EXPECT_EQ(fHandle, nullptr);
        ASSERT_NE(PREFInitProblemText(), nullptr);
        EXPECT_NE(std::string(PREFInitProblemText()).find(fFolder / "file/calvorin"), std::string::npos);
    }
    // A folder without write permission.
    if (geteuid() != 0) {
        ASSERT_EQ(mkdir((fFolder / "locked").c_str(), 0500), 0);
        ScopedEnvironment locked("XDG_CONFIG_HOME", (fFolder / "locked").c_str());
        EXPECT_EQ(PREFInit(kApplication, &fHandle), B_PREF_STORE_UNAVAILABLE);
        EXPECT_EQ(fHandle, nullptr);
    }
}

TEST_F(PrefsStoreTest, RelativeConfigFolderFallsBackToHome)
{
    ScopedEnvironment config("XDG_CONFIG_HOME", "relative/config");
    ScopedEnvironment home("HOME", fFolder.Path().c_str());
    Open();
    EXPECT_TRUE(Exists(fFolder / ".config/calvorin/settings.sqlite"));
}

TEST_F(PrefsStoreTest, BadArgumentsAreRefused)
{
    EXPECT_EQ(PREFInit(nullptr, &fHandle), B_BAD_VALUE);
    EXPECT_EQ(PREFInit("", &fHandle), B_BAD_VALUE);
    EXPECT_EQ(PREFInit(kApplication, nullptr), B_BAD_VALUE);
    Open();
    PREFData set = nullptr;
    EXPECT_EQ(PREFLoadSet(nullptr, kSetName, true, &set), B_BAD_VALUE);
    EXPECT_EQ(PREFLoadSet(fHandle, "", true, &set), B_BAD_VALUE);
    EXPECT_EQ(PREFSetData(fSet, "A", nullptr, 4, B_INT32_TYPE), B_BAD_VALUE);
    EXPECT_EQ(PREFSetData(fSet, "", "x", 1, B_INT8_TYPE), B_BAD_VALUE);
    EXPECT_EQ(PREFSetData(nullptr, "A", "x", 1, B_INT8_TYPE), B_BAD_VALUE);
    const void* data;
    size_t size;
    EXPECT_EQ(PREFGetData(fSet, "A", &data, &size, nullptr), B_BAD_VALUE);
    EXPECT_EQ(PREFSaveSet(nullptr), B_BAD_VALUE);
    EXPECT_EQ(PREFDisposeSet(nullptr), B_BAD_VALUE);
    EXPECT_EQ(PREFShutdown(nullptr), B_BAD_VALUE);
}

TEST_F(PrefsStoreTest, SetOutlivesItsHandle)
{
    Open();
    ASSERT_EQ(PREFShutdown(fHandle), B_OK);
    fHandle = nullptr;
    Put("A", "still");
    Save();
    Reopen();
    EXPECT_EQ(Item("A"), "still");
}

}  // namespace
