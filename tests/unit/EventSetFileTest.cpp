// Reading and writing event set files, against files built byte by byte.
#include <dirent.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "EventSetBytes.h"
#include "StorageTestSupport.h"
#include "calvorin/Event.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

struct SetDeleter {
    void operator()(EventSet* set) const
    {
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }
};
using SetPointer = std::unique_ptr<EventSet, SetDeleter>;

std::vector<std::string> FolderEntries(const std::string& folder)
{
    std::vector<std::string> names;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* entry = readdir(dir)) {
            std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        closedir(dir);
    }
    return names;
}

std::string Str(const char* text)
{
    return text != nullptr ? text : "<null>";
}

// A text as the reader keeps it: an empty one is absent.
std::string Kept(const std::string& text)
{
    return text.empty() ? "<null>" : text;
}

class EventSetFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(fDir.Valid());
        CalvorinSettings::ResetToDefaults();
        LoadBuiltInHandlers();
    }
    void TearDown() override { CalvorinSettings::ResetToDefaults(); }

    std::string Write(const std::string& leaf, const SetBytes& bytes)
    {
        std::string path = fDir.File(leaf);
        WriteWholeFile(path, bytes.Bytes());
        return path;
    }

    SetPointer Read(const std::string& path, ConstructorResult* result, bool* ok)
    {
        return SetPointer(new EventSet(path.c_str(), false, result, ok));
    }

    // Reads a file that must read completely.
    SetPointer ReadGood(const std::string& path)
    {
        ConstructorResult result = kFileNotOpened;
        bool ok = false;
        SetPointer set = Read(path, &result, &ok);
        EXPECT_EQ(result, kReadComplete);
        EXPECT_TRUE(ok);
        return set;
    }

    bool Save(EventSet* set, const std::string& path)
    {
        Autolock lock(set);
        set->SetFileName(path.c_str());
        return set->SaveData();
    }

    static void ExpectFields(const Event* event, const EventRecord& e)
    {
        EXPECT_EQ(Str(event->GetName()), Kept(e.name));
        EXPECT_EQ(event->GetNextEventTime(), e.nextEventTime);
        EXPECT_EQ(event->GetActualEventTime(), e.actualEventTime);
        EXPECT_EQ(event->GetActive(), e.active != 0);
        EXPECT_EQ(event->GetStatus(), e.status);
        EXPECT_EQ(event->GetDeletable(), e.deletable != 0);
        EXPECT_EQ(event->GetPeriodType(), e.periodType);
        EXPECT_EQ(event->GetMultiple(), uint32_t(e.multiple));
        EXPECT_EQ(event->GetTimingType(), e.timeType);
        EXPECT_EQ(event->GetSavedTimingType(), e.rememberType);
        EXPECT_EQ(event->GetEventTime(), e.selectEventTime);
        EXPECT_EQ(event->GetDayOfMonth(), e.dayOfMonth);
        EXPECT_EQ(event->GetWeekOfMonth(), e.weekOfMonth);
        EXPECT_EQ(event->GetDayOfWeek(), e.dayOfWeek);
        EXPECT_EQ(event->GetMonth(), e.month);
        EXPECT_EQ(event->GetMultiStartTime(), e.multiStartTime);
        EXPECT_EQ(event->GetApplyTime(), e.applyTime != 0);
        EXPECT_EQ(event->GetTimeToApply(), e.secondsIntoDay);
        EXPECT_EQ(event->GetSubIntType(), e.subIntType);
        EXPECT_EQ(event->GetApplyStop(), e.applyStop != 0);
        EXPECT_EQ(event->GetStopTime(), e.stopTime);
        EXPECT_EQ(event->GetApplyPrewarn(), e.applyPrewarn != 0);
        EXPECT_EQ(event->GetPrewarnTime(), uint32_t(e.prewarnTime));
        EXPECT_EQ(event->GetPrewarnType(), e.prewarnType);
        EXPECT_EQ(event->GetApplyPrewarnRepeat(), e.applyPrewarnRepeat != 0);
        EXPECT_EQ(event->GetPrewarnRepeatTime(), uint32_t(e.prewarnRepeatTime));
        EXPECT_EQ(event->GetPrewarnRepeatType(), e.prewarnRepeatType);
        EXPECT_EQ(Str(event->GetPrewarnMessage()), Kept(e.prewarnMessage));
        EXPECT_EQ(event->GetApplyNag(), e.applyNag != 0);
        EXPECT_EQ(event->GetNagRepeatTime(), uint32_t(e.nagRepeatTime));
        EXPECT_EQ(event->GetNagRepeatType(), e.nagRepeatType);
        EXPECT_EQ(Str(event->GetNagMessage()), Kept(e.nagMessage));
        EXPECT_EQ(event->GetDeliverIfMissed(), e.deliverIfMissed != 0);
        EXPECT_EQ(event->GetDeleteOnceDelivered(), e.deleteOnceDelivered != 0);
        EXPECT_EQ(Str(event->GetComment()), Kept(e.comment));
        EXPECT_EQ(event->GetIconNumber(), e.iconNumber);
        EXPECT_EQ(event->GetWindowFrame(), (Rect{e.frame[0], e.frame[1], e.frame[2], e.frame[3]}));
        EXPECT_EQ(event->GetShouldWindowOpen(), e.windowOpen != 0);
        EXPECT_EQ(event->GetTabShown(), e.shownTab);
    }

    // A set of three events with different handlers, as the writer of this
    // version writes it (each event's window is closed, so its open byte is 0).
    static SetBytes ThreeEvents(bool bigEndian, const std::string& version = "1.2")
    {
        int versionIndex = version == "1.0" ? 0 : version == "1.1" ? 1 : 2;
        SetBytes out(bigEndian);
        AppendHeader(out, version, 3);
        EventRecord first;
        AppendEvent(out, first, versionIndex);
        AppendMessageBlock(out, "Bring the forms");
        EventRecord second = SecondRecord();
        AppendEvent(out, second, versionIndex);
        AppendVerifiedText(out, 1, "ls -l");
        EventRecord third = ThirdRecord();
        AppendEvent(out, third, versionIndex);
        AppendBlock(out, 0, {});
        AppendLayout(out, CustomLayout());
        return out;
    }
    static EventRecord SecondRecord()
    {
        EventRecord e;
        e.name = "Backup";
        e.handlerName = "Command";
        e.periodType = 11;
        e.deletable = 0;
        e.status = 0;
        e.comment = "";
        e.nextEventTime = 1700100000;
        return e;
    }
    static EventRecord ThirdRecord()
    {
        EventRecord e;
        e.name = "Quiet";
        e.handlerName = "Do nothing";
        e.periodType = 0;
        e.timeType = 0;
        e.active = 0;
        e.status = 3;
        e.nextEventTime = 0;
        e.prewarnMessage = "";
        e.nagMessage = "";
        return e;
    }
    static LayoutRecord CustomLayout()
    {
        LayoutRecord l;
        l.frame[0] = 40;
        l.frame[1] = 50;
        l.frame[2] = 640;
        l.frame[3] = 450;
        int32_t order[6] = {1, 0, 2, 5, 4, 3};
        std::copy(order, order + 6, l.order);
        l.shown[3] = 1;
        l.shown[4] = 0;
        l.widths[1] = 222.5f;
        l.numberOfKeys = 2;
        l.keys[0] = 1;
        l.keys[1] = 5;
        l.modes[0] = 1;
        l.modes[1] = 0;
        l.viewMode = 0;
        return l;
    }

    static void ExpectThreeEvents(EventSet* set)
    {
        ASSERT_EQ(set->CountEvents(), 3);
        ExpectFields(set->EventAt(0), EventRecord());
        ExpectFields(set->EventAt(1), SecondRecord());
        ExpectFields(set->EventAt(2), ThirdRecord());

        auto* message = dynamic_cast<MessageDataHandler*>(set->EventAt(0)->GetAddOnData());
        ASSERT_NE(message, nullptr);
        EXPECT_STREQ(message->GetMessage(), "Bring the forms");
        auto* command = dynamic_cast<CommandDataHandler*>(set->EventAt(1)->GetAddOnData());
        ASSERT_NE(command, nullptr);
        EXPECT_STREQ(command->GetCommand(), "ls -l");
        EXPECT_TRUE(command->GetVerify());
        EXPECT_EQ(set->EventAt(2)->GetSelectedHandler(), kDoNothingHandler);

        LayoutRecord l = CustomLayout();
        EXPECT_EQ(set->GetWindowFrame(), (Rect{40, 50, 640, 450}));
        for (int c = 0; c < 6; ++c) {
            EXPECT_EQ(set->GetColumnOrder()[c], l.order[c]);
            EXPECT_EQ(set->GetColumnShown(c), l.shown[c] != 0);
            EXPECT_EQ(set->GetColumnWidth(c), l.widths[c]);
        }
        int32_t keys[5];
        CLVSortMode modes[5];
        EXPECT_EQ(set->Sorting(keys, modes), 2);
        EXPECT_EQ(keys[0], 1);
        EXPECT_EQ(keys[1], 5);
        EXPECT_EQ(modes[0], Descending);
        EXPECT_EQ(modes[1], Ascending);
        EXPECT_FALSE(set->HasBeenModified());
        // The earliest non-zero next time is the first event's.
        EXPECT_EQ(set->GetNextEventTime(nullptr), 1700000000);
    }

    ScratchDir fDir;
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    ScopedClock fClock{1700000000};
};

TEST_F(EventSetFileTest, EmptySetIsExactly127Bytes)
{
    SetPointer set(new EventSet(nullptr, false, nullptr, nullptr));
    {
        Autolock lock(set.get());
        set->SetWindowFrame(Rect{16, 33, 569, 357});
    }
    std::string path = fDir.File("Empty");
    ASSERT_TRUE(Save(set.get(), path));

    SetBytes expected;
    AppendHeader(expected, "1.2", 0);
    AppendLayout(expected);
    ASSERT_EQ(expected.Size(), 127u);
    EXPECT_EQ(ReadWholeFile(path), expected.Bytes());

    SetPointer again = ReadGood(path);
    EXPECT_EQ(again->CountEvents(), 0);
    EXPECT_EQ(again->GetNextEventTime(nullptr), 0);
    EXPECT_STREQ(again->GetReadVersion(), "1.2");
}

TEST_F(EventSetFileTest, ReadsEveryFieldAndWritesTheSameBytes)
{
    SetBytes file = ThreeEvents(false);
    std::string path = Write("Three", file);
    SetPointer set = ReadGood(path);
    ExpectThreeEvents(set.get());
    EXPECT_FALSE(set->WasReadBigEndian());

    std::string copy = fDir.File("Copy");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), file.Bytes());
}

TEST_F(EventSetFileTest, BigEndianFileReadsIdentically)
{
    SetBytes big = ThreeEvents(true);
    SetBytes little = ThreeEvents(false);
    // Only the flag and the order of the multi-byte numbers differ.
    ASSERT_EQ(big.Size(), little.Size());
    EXPECT_EQ(big.Bytes()[0], 1);
    EXPECT_NE(big.Bytes(), little.Bytes());

    SetPointer set = ReadGood(Write("Big", big));
    ExpectThreeEvents(set.get());
    EXPECT_TRUE(set->WasReadBigEndian());

    // Saved on this machine, it is written in this machine's order.
    std::string copy = fDir.File("Native");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), little.Bytes());
}

TEST_F(EventSetFileTest, OlderVersionsReadAndSaveAsCurrent)
{
    for (const char* version : {"1.0", "1.1", "1.2"}) {
        SCOPED_TRACE(version);
        SetBytes file = ThreeEvents(false, version);
        SetPointer set = ReadGood(Write(std::string("v") + version, file));
        // The second event is not deletable: in "1.0" that byte comes later.
        ExpectThreeEvents(set.get());
        EXPECT_STREQ(set->GetReadVersion(), version);

        std::string copy = fDir.File(std::string("saved") + version);
        ASSERT_TRUE(Save(set.get(), copy));
        EXPECT_EQ(ReadWholeFile(copy), ThreeEvents(false, "1.2").Bytes());
    }
    // The 1.0 layout really is one where the deletable byte moved.
    EXPECT_EQ(ThreeEvents(false, "1.0").Size(), ThreeEvents(false, "1.2").Size());
    EXPECT_NE(ThreeEvents(false, "1.0").Bytes(), ThreeEvents(false, "1.1").Bytes());
}

TEST_F(EventSetFileTest, UnknownVersionIsRefusedWithTheMessage)
{
    SetBytes file;
    AppendHeader(file, "1.3", 0);
    AppendLayout(file);
    std::string path = Write("Future", file);
    ConstructorResult result = kReadFailed;
    bool ok = true;
    SetPointer set = Read(path, &result, &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(result, kReadComplete);
    std::vector<AlertRequest> shown = fAlerts.Shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].title, "Calvorin recoverable error");
    EXPECT_EQ(shown[0].text,
              "The EventSet file " + path +
                  " was written by an unknown version of Calvorin.  It was written by version "
                  "1.3, and the current version is 1.2.  The set will not be able to be opened "
                  "until you get a newer version of Calvorin.");
}

TEST_F(EventSetFileTest, OverlongVersionIsAFileError)
{
    SetBytes file;
    file.Text(std::string(30, '1')).Int32(0);
    AppendLayout(file);
    ConstructorResult result = kReadComplete;
    bool ok = true;
    SetPointer set = Read(Write("Long", file), &result, &ok);
    EXPECT_EQ(result, kReadFailed);
    EXPECT_EQ(fAlerts.CountShown(), 0u);
}

TEST_F(EventSetFileTest, MissingFileCannotBeOpened)
{
    ConstructorResult result = kReadComplete;
    bool ok = true;
    SetPointer set = Read(fDir.File("nothing here"), &result, &ok);
    EXPECT_EQ(result, kFileNotOpened);
    EXPECT_TRUE(ok);
    EXPECT_EQ(set->GetWindow(), nullptr);
}

TEST_F(EventSetFileTest, UnknownHandlerSurvivesByteForByte)
{
    SetBytes file;
    AppendHeader(file, "1.2", 3);
    EventRecord card;
    card.name = "Birthday";
    card.handlerName = "Greeting card";
    AppendEvent(file, card);
    AppendBlock(file, 6, {0x00, 0xff, 0x10, 'h', 'i', 0x00});
    EventRecord empty;
    empty.name = "Empty block";
    empty.handlerName = "message";  // lookup is case-sensitive
    AppendEvent(file, empty);
    AppendBlock(file, 0, {});
    EventRecord named;
    named.name = "Named unknown";
    named.handlerName = "Unknown";
    AppendEvent(file, named);
    AppendBlock(file, 2, {7, 8});
    AppendLayout(file);
    SetPointer set = ReadGood(Write("Cards", file));
    ASSERT_EQ(set->CountEvents(), 3);

    const char* originals[] = {"Greeting card", "message", "Unknown"};
    for (int i = 0; i < 3; ++i) {
        Event* event = set->EventAt(i);
        EXPECT_EQ(event->GetSelectedHandler(), kUnknownHandler);
        auto* unknown = dynamic_cast<UnknownDataHandler*>(event->GetAddOnData());
        ASSERT_NE(unknown, nullptr);
        EXPECT_STREQ(unknown->GetOriginalHandler(), originals[i]);
        EXPECT_STREQ(event->GetColumnText(kHandlerColumn), "Unknown");
    }
    EXPECT_EQ(dynamic_cast<UnknownDataHandler*>(set->EventAt(0)->GetAddOnData())->GetDataLength(), 6u);

    std::string copy = fDir.File("Cards again");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), file.Bytes());
}

TEST_F(EventSetFileTest, CustomIconCarries1280Bytes)
{
    EventRecord plain;
    EventRecord custom;
    custom.iconNumber = -2;
    for (int i = 0; i < 1024; ++i)
        custom.largeIcon.push_back(uint8_t(i * 7));
    for (int i = 0; i < 256; ++i)
        custom.miniIcon.push_back(uint8_t(255 - i));

    SetBytes withPlain;
    AppendHeader(withPlain, "1.2", 1);
    AppendEvent(withPlain, plain);
    AppendMessageBlock(withPlain, "x");
    AppendLayout(withPlain);
    SetBytes withCustom;
    AppendHeader(withCustom, "1.2", 1);
    AppendEvent(withCustom, custom);
    AppendMessageBlock(withCustom, "x");
    AppendLayout(withCustom);
    EXPECT_EQ(withCustom.Size() - withPlain.Size(), 1280u);

    SetPointer set = ReadGood(Write("Icon", withCustom));
    ASSERT_EQ(set->CountEvents(), 1);
    const IconBitmap* large = nullptr;
    const IconBitmap* mini = nullptr;
    EXPECT_EQ(set->EventAt(0)->GetIcon(&large, &mini), -2);
    ASSERT_NE(large, nullptr);
    ASSERT_NE(mini, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(large->Bits(), large->Bits() + large->BitsLength()), custom.largeIcon);
    EXPECT_EQ(std::vector<uint8_t>(mini->Bits(), mini->Bits() + mini->BitsLength()), custom.miniIcon);

    std::string copy = fDir.File("Icon again");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), withCustom.Bytes());
}

TEST_F(EventSetFileTest, EveryShorterFileIsAFileError)
{
    const std::vector<uint8_t> whole = ThreeEvents(false).Bytes();
    std::string path = fDir.File("Cut");
    // Somewhere in the middle of the third event, then every other length.
    for (size_t length = 1; length < whole.size(); ++length) {
        // A fresh file each time: rewriting a truncated one makes some file
        // systems flush it to disk on close.
        unlink(path.c_str());
        WriteWholeFile(path, std::vector<uint8_t>(whole.begin(), whole.begin() + long(length)));
        ConstructorResult result = kReadComplete;
        bool ok = true;
        SetPointer set = Read(path, &result, &ok);
        ASSERT_EQ(result, kReadFailed) << "cut after " << length << " bytes";
        EXPECT_TRUE(ok);
        EXPECT_EQ(set->GetWindow(), nullptr);
    }
    EXPECT_EQ(fAlerts.CountShown(), 0u);

    // An empty file has no byte-order flag: it cannot be opened.
    WriteWholeFile(path, std::vector<uint8_t>());
    ConstructorResult result = kReadComplete;
    bool ok = true;
    SetPointer set = Read(path, &result, &ok);
    EXPECT_EQ(result, kFileNotOpened);
}

TEST_F(EventSetFileTest, EmptyTextsAreSingleZeroBytesAndReadAsAbsent)
{
    EventRecord e;
    e.comment = "";
    e.prewarnMessage = "";
    e.nagMessage = "";
    SetBytes file;
    AppendHeader(file, "1.2", 1);
    AppendEvent(file, e);
    AppendMessageBlock(file, "x");
    AppendLayout(file);
    SetPointer set = ReadGood(Write("Blank", file));
    ASSERT_EQ(set->CountEvents(), 1);
    EXPECT_EQ(set->EventAt(0)->GetComment(), nullptr);
    EXPECT_EQ(set->EventAt(0)->GetPrewarnMessage(), nullptr);
    EXPECT_EQ(set->EventAt(0)->GetNagMessage(), nullptr);

    std::string copy = fDir.File("Blank again");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), file.Bytes());
}

TEST_F(EventSetFileTest, CommandAndActOnFileRecordsWithAndWithoutText)
{
    SetBytes file;
    AppendHeader(file, "1.2", 4);
    EventRecord e;
    e.handlerName = "Command";
    AppendEvent(file, e);
    AppendVerifiedText(file, 1, nullptr);  // count 0, then the verify byte
    AppendEvent(file, e);
    AppendVerifiedText(file, 0, "ls");  // count 4
    e.handlerName = "Act on file";
    AppendEvent(file, e);
    AppendVerifiedText(file, 0, nullptr);
    AppendEvent(file, e);
    AppendVerifiedText(file, 1, "/home/me/notes.txt");
    AppendLayout(file);
    SetPointer set = ReadGood(Write("Records", file));
    ASSERT_EQ(set->CountEvents(), 4);

    auto* noCommand = dynamic_cast<CommandDataHandler*>(set->EventAt(0)->GetAddOnData());
    auto* ls = dynamic_cast<CommandDataHandler*>(set->EventAt(1)->GetAddOnData());
    auto* noFile = dynamic_cast<ActOnFileDataHandler*>(set->EventAt(2)->GetAddOnData());
    auto* notes = dynamic_cast<ActOnFileDataHandler*>(set->EventAt(3)->GetAddOnData());
    ASSERT_TRUE(noCommand && ls && noFile && notes);
    EXPECT_EQ(noCommand->GetCommand(), nullptr);
    EXPECT_TRUE(noCommand->GetVerify());
    EXPECT_STREQ(ls->GetCommand(), "ls");
    EXPECT_FALSE(ls->GetVerify());
    EXPECT_EQ(noFile->GetFileName(), nullptr);
    EXPECT_FALSE(noFile->GetVerify());
    EXPECT_STREQ(notes->GetFileName(), "/home/me/notes.txt");
    EXPECT_TRUE(notes->GetVerify());

    std::string copy = fDir.File("Records again");
    ASSERT_TRUE(Save(set.get(), copy));
    EXPECT_EQ(ReadWholeFile(copy), file.Bytes());
}

TEST_F(EventSetFileTest, OutOfRangeNumbersAreCorruption)
{
    struct Case {
        const char* what;
        void (*spoil)(EventRecord&);
    } cases[] = {
        {"status", [](EventRecord& e) { e.status = 4; }},
        {"period type", [](EventRecord& e) { e.periodType = 12; }},
        {"timing type", [](EventRecord& e) { e.timeType = -1; }},
        {"interval", [](EventRecord& e) { e.nagRepeatType = 5; }},
        {"day of week", [](EventRecord& e) { e.dayOfWeek = 7; }},
        {"month", [](EventRecord& e) { e.month = 12; }},
        {"icon number", [](EventRecord& e) { e.iconNumber = 11; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EventRecord e;
        c.spoil(e);
        SetBytes file;
        AppendHeader(file, "1.2", 1);
        AppendEvent(file, e);
        AppendMessageBlock(file, "x");
        AppendLayout(file);
        ConstructorResult result = kReadComplete;
        bool ok = true;
        SetPointer set = Read(Write("Spoilt", file), &result, &ok);
        EXPECT_EQ(result, kReadFailed);
    }
}

TEST_F(EventSetFileTest, OddLayoutIsRepairedNotRefused)
{
    LayoutRecord l;
    int32_t order[6] = {0, 0, 1, 2, 3, 4};  // not a permutation
    std::copy(order, order + 6, l.order);
    l.numberOfKeys = 9;
    l.keys[0] = 40;
    l.modes[0] = 7;
    l.viewMode = 99;
    SetBytes file;
    AppendHeader(file, "1.2", 0);
    AppendLayout(file, l);
    SetPointer set = ReadGood(Write("Odd", file));
    for (int c = 0; c < 6; ++c)
        EXPECT_EQ(set->GetColumnOrder()[c], c);
    int32_t keys[5];
    CLVSortMode modes[5];
    int32_t count = set->Sorting(keys, modes);
    EXPECT_GE(count, 0);
    EXPECT_LE(count, 5);
    EXPECT_EQ(keys[0], 0);
    EXPECT_EQ(modes[0], NoSort);
    EXPECT_EQ(set->GetViewMode(), ListViewMode);
}

TEST_F(EventSetFileTest, AddOnVersionReportNamesSetEventAndHandler)
{
    SetBytes file;
    AppendHeader(file, "1.2", 1);
    AppendEvent(file, EventRecord());
    AppendMessageBlock(file, "x");
    AppendLayout(file);
    SetPointer set = ReadGood(Write("Work", file));
    char* text = GetAddOnVersionErrorReportString("/home/me/Work", set->EventAt(0));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text),
              "The EventSet file /home/me/Work contains an event called Dentist, which is handled "
              "by an add-on called Message, and the data was written by a newer version of the "
              "add-on than what is currently installed.  The event could not be handled by the "
              "add-on and is being removed from the set.  Try quitting without saving, and either "
              "installing the newest version of the add-on or removing the current version of the "
              "add-on until you can obtain the current version.  Removing the add-on will "
              "preserve the event in its current form, which will be handled by the \"unknown\" "
              "add-on handler until you can install the current version.");
    delete[] text;
}

TEST_F(EventSetFileTest, SavingReplacesTheWholeFileAndKeepsItsMode)
{
    std::string path = Write("Long", ThreeEvents(false));
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    SetPointer set = ReadGood(path);
    {
        Autolock lock(set.get());
        delete set->EventAt(2);
        delete set->EventAt(1);
        EXPECT_TRUE(set->HasBeenModified());
        ASSERT_TRUE(set->SaveData());
        EXPECT_FALSE(set->HasBeenModified());
    }
    // No old tail stays behind the shorter contents.
    SetBytes expected;
    AppendHeader(expected, "1.2", 1);
    AppendEvent(expected, EventRecord());
    AppendMessageBlock(expected, "Bring the forms");
    AppendLayout(expected, CustomLayout());
    EXPECT_EQ(ReadWholeFile(path), expected.Bytes());

    struct stat info;
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(FolderEntries(fDir.Path()), std::vector<std::string>{"Long"});

    char type[128] = {};
    ssize_t length = getxattr(path.c_str(), "user.mime_type", type, sizeof type - 1);
    if (length < 0 && (errno == ENOTSUP || errno == EOPNOTSUPP))
        GTEST_SKIP() << "no extended attributes on this file system";
    ASSERT_GT(length, 0);
    EXPECT_STREQ(type, "application/x-vnd.QZ-CalvorinEventSet");
}

TEST_F(EventSetFileTest, SavingThroughALinkKeepsTheLink)
{
    std::string real = Write("Real", ThreeEvents(false));
    std::string link = fDir.File("Link");
    ASSERT_EQ(symlink(real.c_str(), link.c_str()), 0);
    SetPointer set = ReadGood(link);
    {
        Autolock lock(set.get());
        delete set->EventAt(0);
        ASSERT_TRUE(set->SaveData());
    }
    struct stat info;
    ASSERT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    SetPointer again = ReadGood(real);
    EXPECT_EQ(again->CountEvents(), 2);
}

TEST_F(EventSetFileTest, FailedSaveLeavesTheOldFileAndNoTemporaryFile)
{
    const SetBytes original = ThreeEvents(false);
    std::string path = Write("Keep", original);
    SetPointer set = ReadGood(path);
    {
        Autolock lock(set.get());
        for (int i = 0; i < 50; ++i)
            set->AddEvent(nullptr);
    }

    // The file system refuses to take more than a few hundred bytes, so the
    // save breaks off in the middle of writing.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &previous);
    struct rlimit limit, small;
    getrlimit(RLIMIT_FSIZE, &limit);
    small = limit;
    small.rlim_cur = 600;
    setrlimit(RLIMIT_FSIZE, &small);
    bool saved;
    {
        Autolock lock(set.get());
        saved = set->SaveData();
    }
    setrlimit(RLIMIT_FSIZE, &limit);
    sigaction(SIGXFSZ, &previous, nullptr);

    EXPECT_FALSE(saved);
    EXPECT_TRUE(set->HasBeenModified());
    EXPECT_EQ(ReadWholeFile(path), original.Bytes());
    EXPECT_EQ(FolderEntries(fDir.Path()), std::vector<std::string>{"Keep"});
}

TEST_F(EventSetFileTest, SaveIntoUnwritableFolderFails)
{
    const SetBytes original = ThreeEvents(false);
    std::string folder = fDir.File("locked");
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    std::string path = folder + "/Set";
    WriteWholeFile(path, original.Bytes());
    SetPointer set = ReadGood(path);
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    if (access(folder.c_str(), W_OK) == 0) {
        chmod(folder.c_str(), 0755);
        GTEST_SKIP() << "running with rights that ignore folder permissions";
    }
    bool saved;
    {
        Autolock lock(set.get());
        set->AddEvent(nullptr);
        saved = set->SaveData();
    }
    chmod(folder.c_str(), 0755);
    EXPECT_FALSE(saved);
    EXPECT_EQ(ReadWholeFile(path), original.Bytes());
    EXPECT_EQ(FolderEntries(folder), std::vector<std::string>{"Set"});
}

TEST_F(EventSetFileTest, ReadOnlyFileIsNotReplaced)
{
    const SetBytes original = ThreeEvents(false);
    std::string path = Write("ReadOnly", original);
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    if (access(path.c_str(), W_OK) == 0)
        GTEST_SKIP() << "running with rights that ignore file permissions";
    SetPointer set = ReadGood(path);
    Autolock lock(set.get());
    set->AddEvent(nullptr);
    EXPECT_FALSE(set->SaveData());
    EXPECT_EQ(ReadWholeFile(path), original.Bytes());
    EXPECT_EQ(FolderEntries(fDir.Path()), std::vector<std::string>{"ReadOnly"});
}

TEST_F(EventSetFileTest, SaveIntoMissingFolderFails)
{
    SetPointer set(new EventSet(nullptr, false, nullptr, nullptr));
    EXPECT_FALSE(Save(set.get(), fDir.File("no such folder/Set")));
    EXPECT_EQ(FolderEntries(fDir.Path()), std::vector<std::string>{});
}

}  // namespace
