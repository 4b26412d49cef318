// The settings on their way to and from the settings store: each key with
// its type code and size, items taken only when type and size match, the
// layout kept or dropped by RememberWindowSetupAsDefault, the user icons,
// a damaged or unusable store, and the add-ons' own items.
#include "core/SettingsPersistence.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "PlatformTestSupport.h"
#include "calvorin/AddOn.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"

namespace {

using S = CalvorinSettings;

class SettingsPersistenceTest : public ::testing::Test {
protected:
    SettingsPersistenceTest() : fConfig("XDG_CONFIG_HOME", fFolder.Path().c_str()) {}

    void SetUp() override
    {
        S::ResetToDefaults();
        ASSERT_EQ(SettingsPersistence::OpenStore(), B_OK);
    }
    void TearDown() override
    {
        SettingsPersistence::CloseStore();
        S::ResetToDefaults();
    }

    // Writes the settings (as at quit), then starts again from the
    // defaults and reads them back (as at the next start).
    void QuitAndRestart()
    {
        ASSERT_TRUE(SettingsPersistence::WriteSettings());
        SettingsPersistence::CloseStore();
        S::ResetToDefaults();
        ASSERT_EQ(SettingsPersistence::OpenStore(), B_OK);
        SettingsPersistence::InitSettings();
    }

    // The stored item's bytes, or "<missing>"; *type gets its type code.
    static std::string Stored(const char* key, uint32_t* type = nullptr)
    {
        const void* data = nullptr;
        size_t size = 0;
        uint32_t storedType = 0;
        if (PREFGetData(SettingsPersistence::Set(), key, &data, &size, &storedType) != B_OK)
            return "<missing>";
        if (type != nullptr)
            *type = storedType;
        return std::string(static_cast<const char*>(data), size);
    }
    static void Put(const char* key, const void* data, size_t size, uint32_t type)
    {
        ASSERT_EQ(PREFSetData(SettingsPersistence::Set(), key, data, size, type), B_OK);
    }
    // Stores items the way another run left them, then reads them in.
    static void ReadBack() { SettingsPersistence::ReadSettings(SettingsPersistence::Set()); }

    TempFolder fFolder;
    ScopedEnvironment fConfig;
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
};

TEST_F(SettingsPersistenceTest, EveryKeyIsWrittenWithItsTypeCodeAndSize)
{
    S::SetFileNames = {"/home/a/Work.calvorin", "/home/a/Birthdays"};
    S::NumberOfUserIcons = 2;
    for (int i = 0; i < 2; ++i) {
        S::UserMiniIcons.push_back(new IconBitmap(16, 16));
        S::UserLargeIcons.push_back(new IconBitmap(32, 32));
    }
    ASSERT_TRUE(SettingsPersistence::WriteSettings());

    struct Expected {
        const char* key;
        uint32_t type;
        size_t size;
    };
    const Expected table[] = {
        {"NumberOfSetsToUse", kLongType, 4},
        {"SetsToUse", kByteType, 22 + 18},
        {"SelectedSetHandling", kLongType, 4},
        {"WhichEventsToDeliver", kLongType, 4},
        {"Time24Hour", kBoolType, 1},
        {"RememberWindowSetupAsDefault", kBoolType, 1},
        {"SetWindowFrame", kRectType, 16},
        {"ColumnOrder", kLongType, 24},
        {"ColumnShown", kBoolType, 6},
        {"ColumnWidth", kFloatType, 24},
        {"ViewMode", kLongType, 4},
        {"NumberOfKeys", kLongType, 4},
        {"SortKeys", kLongType, 20},
        {"SortModes", kLongType, 20},
        {"EventWindowFrame", kRectType, 16},
        {"SettingsWindowFrame", kRectType, 16},
        {"IconPanelLocation", kPointType, 8},
        {"NumberOfUserIcons", kLongType, 4},
        {"UserIcons", kByteType, 2 * 1280},
    };
    for (const Expected& item : table) {
        uint32_t type = 0;
        std::string bytes = Stored(item.key, &type);
        ASSERT_NE(bytes, "<missing>") << item.key;
        EXPECT_EQ(type, item.type) << item.key;
        EXPECT_EQ(bytes.size(), item.size) << item.key;
    }
    EXPECT_EQ(Stored("SetsToUse"), std::string("/home/a/Work.calvorin\0/home/a/Birthdays\0", 40));
    EXPECT_EQ(Stored("GroupActiveEventsFirst"), "<missing>");
    EXPECT_EQ(Stored("AscendingOrder"), "<missing>");
    // Writing consumes the remembered names and the icons.
    EXPECT_TRUE(S::SetFileNames.empty());
    EXPECT_TRUE(S::UserMiniIcons.empty());
    EXPECT_TRUE(S::UserLargeIcons.empty());
}

TEST_F(SettingsPersistenceTest, ValuesSurviveQuitAndRestart)
{
    S::SetFileNames = {"/a/one", "/b/two", "/c/three"};
    S::SelectedSetHandling = kDontOpen;
    S::WhichEventsToDeliver = kRememberedUnlessOpen;
    S::Time24Hour = true;
    const int32_t order[6] = {5, 4, 3, 2, 1, 0};
    std::memcpy(S::ColumnOrder, order, sizeof(order));
    S::ColumnShown[3] = true;
    S::ColumnShown[0] = false;
    S::ColumnWidth[1] = 222.5f;
    S::NumberOfKeys = 3;
    S::SortKeys[1] = 4;
    S::SortModes[4] = 1;
    S::ViewMode = 2;
    S::SetWindowPosition.SetCurrentDefault(Rect{1, 2, 301, 402});
    S::EventWindowPosition.SetCurrentDefault(Rect{5, 6, 7, 8});
    S::SettingsWindowFrame = Rect{9, 10, 11, 12};
    S::IconPanelLocation = Point{7.5f, -3};
    S::NumberOfUserIcons = 1;
    IconBitmap* mini = new IconBitmap(16, 16);
    IconBitmap* large = new IconBitmap(32, 32);
    mini->Bits()[0] = 1;
    large->Bits()[1023] = 2;
    S::UserMiniIcons.push_back(mini);
    S::UserLargeIcons.push_back(large);

    QuitAndRestart();

    EXPECT_EQ(S::SetFileNames, (std::vector<std::string>{"/a/one", "/b/two", "/c/three"}));
    EXPECT_EQ(S::SelectedSetHandling, kDontOpen);
    EXPECT_EQ(S::WhichEventsToDeliver, kRememberedUnlessOpen);
    EXPECT_TRUE(S::Time24Hour);
    EXPECT_EQ(std::memcmp(S::ColumnOrder, order, sizeof(order)), 0);
    EXPECT_TRUE(S::ColumnShown[3]);
    EXPECT_FALSE(S::ColumnShown[0]);
    EXPECT_EQ(S::ColumnWidth[1], 222.5f);
    EXPECT_EQ(S::NumberOfKeys, 3);
    EXPECT_EQ(S::SortKeys[1], 4);
    EXPECT_EQ(S::SortModes[4], 1);
    EXPECT_EQ(S::ViewMode, 2);
    EXPECT_EQ(S::SetWindowPosition.GetCurrentDefault(), (Rect{1, 2, 301, 402}));
    EXPECT_EQ(S::EventWindowPosition.GetCurrentDefault(), (Rect{5, 6, 7, 8}));
    EXPECT_EQ(S::SettingsWindowFrame, (Rect{9, 10, 11, 12}));
    EXPECT_EQ(S::IconPanelLocation, (Point{7.5f, -3}));
    ASSERT_EQ(S::NumberOfUserIcons, 1);
    ASSERT_EQ(S::UserMiniIcons.size(), 1u);
    ASSERT_EQ(S::UserLargeIcons.size(), 1u);
    EXPECT_EQ(S::UserMiniIcons[0]->Width(), 16);
    EXPECT_EQ(S::UserMiniIcons[0]->Bits()[0], 1);
    EXPECT_EQ(S::UserLargeIcons[0]->Width(), 32);
    EXPECT_EQ(S::UserLargeIcons[0]->Bits()[1023], 2);
    // The icon read back is the one the user has: it is found again.
    IconBitmap sameMini(16, 16, S::UserMiniIcons[0]->Bits());
    IconBitmap sameLarge(32, 32, S::UserLargeIcons[0]->Bits());
    EXPECT_EQ(S::WhichUserIcon(&sameLarge, &sameMini), 0);
    sameLarge.Bits()[5] = 7;
    EXPECT_EQ(S::WhichUserIcon(&sameLarge, &sameMini), -1);
}

TEST_F(SettingsPersistenceTest, ItemsOfTheWrongTypeOrSizeKeepTheDefaults)
{
    const int32_t three = 3;
    Put("NumberOfSetsToUse", &three, 4, kLongType);
    Put("SetsToUse", "/a\0/b\0/c\0", 9, kLongType);  // not 'BYTE'
    const float widths[5] = {1, 2, 3, 4, 5};
    Put("ColumnWidth", widths, sizeof(widths), kFloatType);  // 20 bytes, not 24
    const int64_t wide = 2;
    Put("ViewMode", &wide, sizeof(wide), kLongType);  // 8 bytes
    const uint8_t yes = 1;
    Put("Time24Hour", &yes, 1, kLongType);  // right size, wrong type
    const int32_t deliver = kOpenSetsOnly;
    Put("WhichEventsToDeliver", &deliver, 4, kLongType);  // the one good item
    ReadBack();

    EXPECT_TRUE(S::SetFileNames.empty());
    EXPECT_EQ(S::ColumnWidth[0], 35.0f);
    EXPECT_EQ(S::ColumnWidth[5], 115.0f);
    EXPECT_EQ(S::ViewMode, 0);
    EXPECT_FALSE(S::Time24Hour);
    EXPECT_EQ(S::WhichEventsToDeliver, kOpenSetsOnly);
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

TEST_F(SettingsPersistenceTest, RememberedNamesAreCutToTheirCountAndBoundedByTheBytes)
{
    const int32_t two = 2;
    Put("NumberOfSetsToUse", &two, 4, kLongType);
    Put("SetsToUse", "/a\0/b\0/c\0", 9, kByteType);
    ReadBack();
    EXPECT_EQ(S::SetFileNames, (std::vector<std::string>{"/a", "/b"}));

    // More names promised than stored, the last one without its zero byte.
    S::SetFileNames.clear();
    const int32_t five = 5;
    Put("NumberOfSetsToUse", &five, 4, kLongType);
    Put("SetsToUse", "/a\0/tail", 8, kByteType);
    ReadBack();
    EXPECT_EQ(S::SetFileNames, (std::vector<std::string>{"/a", "/tail"}));
}

TEST_F(SettingsPersistenceTest, ALayoutThatIsNotRememberedIsNeitherReadNorKept)
{
    const uint8_t no = 0;
    Put("RememberWindowSetupAsDefault", &no, 1, kBoolType);
    const float frame[4] = {100, 100, 500, 500};
    Put("SetWindowFrame", frame, sizeof(frame), kRectType);
    const int32_t keys[5] = {1, 2, 3, 4, 5};
    Put("SortKeys", keys, sizeof(keys), kLongType);
    Put("GroupActiveEventsFirst", &no, 1, kBoolType);
    Put("SettingsWindowFrame", frame, sizeof(frame), kRectType);
    ReadBack();

    EXPECT_FALSE(S::RememberWindowSetupAsDefault);
    EXPECT_EQ(S::SetWindowPosition.GetCurrentDefault(), (Rect{16, 33, 569, 357}));
    EXPECT_EQ(S::SortKeys[0], 2);
    // The settings window's frame is read in any case.
    EXPECT_EQ(S::SettingsWindowFrame, (Rect{100, 100, 500, 500}));

    ASSERT_TRUE(SettingsPersistence::WriteSettings());
    for (const char* key : {"SetWindowFrame", "GroupActiveEventsFirst", "AscendingOrder",
                            "ColumnOrder", "ColumnShown", "ColumnWidth", "ViewMode",
                            "EventWindowFrame", "SettingsWindowFrame"})
        EXPECT_EQ(Stored(key), "<missing>") << key;
    // The sort items stay as they were.
    EXPECT_EQ(Stored("SortKeys"), std::string(reinterpret_cast<const char*>(keys), sizeof(keys)));
    EXPECT_NE(Stored("Time24Hour"), "<missing>");
}

TEST_F(SettingsPersistenceTest, UserIconsAreTakenOnlyWithTheExactSizeAndZeroRemovesThem)
{
    const int32_t two = 2;
    Put("NumberOfUserIcons", &two, 4, kLongType);
    std::string oneIcon(1280, '\x05');
    Put("UserIcons", oneIcon.data(), oneIcon.size(), kByteType);
    ReadBack();
    // The stored count stays although no icon could be made.
    EXPECT_EQ(S::NumberOfUserIcons, 2);
    EXPECT_TRUE(S::UserMiniIcons.empty());

    S::NumberOfUserIcons = 0;
    ASSERT_TRUE(SettingsPersistence::WriteSettings());
    EXPECT_EQ(Stored("UserIcons"), "<missing>");
    EXPECT_EQ(Stored("NumberOfUserIcons"), std::string(4, '\0'));
}

TEST_F(SettingsPersistenceTest, NoRememberedSetsDeletesTheNamesButWritesTheCount)
{
    const char names[] = "/x\0";
    Put("SetsToUse", names, 3, kByteType);
    ASSERT_TRUE(SettingsPersistence::WriteSettings());
    EXPECT_EQ(Stored("SetsToUse"), "<missing>");
    EXPECT_EQ(Stored("NumberOfSetsToUse"), std::string(4, '\0'));
}

TEST_F(SettingsPersistenceTest, ADamagedStoreIsReportedOnceAndTheDefaultsAreUsed)
{
    S::Time24Hour = true;
    QuitAndRestart();
    ASSERT_TRUE(S::Time24Hour);
    SettingsPersistence::CloseStore();
    {
        std::ofstream damage(fFolder / "calvorin/settings.sqlite", std::ios::trunc);
        damage << "this is not a settings store, just some bytes";
    }
    S::ResetToDefaults();
    fAlerts.Clear();

    EXPECT_EQ(SettingsPersistence::OpenStore(), B_PREF_STORE_REPLACED);
    SettingsPersistence::InitSettings();
    ASSERT_EQ(fAlerts.CountShown(), 1u);
    EXPECT_EQ(fAlerts.Shown()[0].text, PREFInitProblemText());
    EXPECT_FALSE(S::Time24Hour);

    // The store works again: what is written now is there next time.
    S::Time24Hour = true;
    QuitAndRestart();
    EXPECT_TRUE(S::Time24Hour);
    EXPECT_EQ(fAlerts.CountShown(), 1u);
}

TEST_F(SettingsPersistenceTest, AFailedSaveIsOneRecoverableAlert)
{
    // Without an open store every write fails; the quit goes on.
    SettingsPersistence::CloseStore();
    S::SetFileNames = {"/a"};
    EXPECT_FALSE(SettingsPersistence::WriteSettings());
    ASSERT_EQ(fAlerts.CountShown(), 1u);
    EXPECT_EQ(fAlerts.Shown()[0].text, "WriteSettings: Failed to save settings");
    EXPECT_EQ(fAlerts.Shown()[0].title, "Calvorin recoverable error");
}

TEST_F(SettingsPersistenceTest, AddOnItemsShareTheSetAndAreSavedWithIt)
{
    const int32_t value = 42;
    ASSERT_EQ(WriteAddOnSetting("LogToFile:Lines", &value, 4, kLongType), B_OK);
    const void* data = nullptr;
    long length = 0;
    unsigned long type = 0;
    ASSERT_EQ(ReadAddOnSetting("LogToFile:Lines", data, length, type), B_OK);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(type, kLongType);
    EXPECT_EQ(*static_cast<const int32_t*>(data), 42);
    EXPECT_EQ(ReadAddOnSetting("LogToFile:Missing", data, length, type), B_NAME_NOT_FOUND);

    QuitAndRestart();
    ASSERT_EQ(ReadAddOnSetting("LogToFile:Lines", data, length, type), B_OK);
    EXPECT_EQ(*static_cast<const int32_t*>(data), 42);
}

using SettingsPersistenceDeathTest = SettingsPersistenceTest;

TEST_F(SettingsPersistenceDeathTest, AStoreThatCannotBeOpenedEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SettingsPersistence::CloseStore();
    // A file where the settings folder should be.
    std::string blocked = fFolder / "blocked";
    std::ofstream(blocked) << "x";
    ScopedEnvironment config("XDG_CONFIG_HOME", blocked.c_str());
    EXPECT_NE(SettingsPersistence::OpenStore(), B_OK);
    EXPECT_EQ(SettingsPersistence::Set(), nullptr);
    SetAlertPort(nullptr);
    EXPECT_EXIT(SettingsPersistence::InitSettings(), ::testing::ExitedWithCode(1),
                "Calvorin error: InitSettings: Libprefs failed to initialize\n");
}

}  // namespace
