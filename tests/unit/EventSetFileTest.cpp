// Reading and writing event set files, against files built byte by byte.
#include <dirent.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include "EventSetBytes.h"
#include "EventSetTestSupport.h"
#include "StorageTestSupport.h"
#include "calvorin/Event.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Names = std::vector<std::string>;

Names FolderEntries(const std::string& folder)
{
    Names names;
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

// A text as the reader keeps it: an empty one is absent.
std::string Kept(const std::string& text)
{
    return text.empty() ? "<null>" : text;
}

// A record's numbers and texts as EventNumbers and EventTexts give them.
std::vector<int64_t> Numbers(const EventRecord& r)
{
    return {r.nextEventTime, r.actualEventTime, r.active != 0, r.status, r.deletable != 0,
            r.periodType, r.multiple, r.timeType, r.rememberType, r.selectEventTime, r.dayOfMonth,
            r.weekOfMonth, r.dayOfWeek, r.month, r.multiStartTime, r.applyTime != 0, r.secondsIntoDay,
            r.subIntType, r.applyStop != 0, r.stopTime, r.applyPrewarn != 0, r.prewarnTime,
            r.prewarnType, r.applyPrewarnRepeat != 0, r.prewarnRepeatTime, r.prewarnRepeatType,
            r.applyNag != 0, r.nagRepeatTime, r.nagRepeatType, r.deliverIfMissed != 0,
            r.deleteOnceDelivered != 0, r.iconNumber, int64_t(r.frame[0]), int64_t(r.frame[1]),
            int64_t(r.frame[2]), int64_t(r.frame[3]), r.windowOpen != 0, r.shownTab};
}

void ExpectFields(const Event* event, const EventRecord& e)
{
    EXPECT_EQ(EventNumbers(event), Numbers(e)) << e.name;
    EXPECT_EQ(EventTexts(event),
              (Names{Kept(e.name), Kept(e.prewarnMessage), Kept(e.nagMessage), Kept(e.comment)}));
}

EventRecord SecondRecord()
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
EventRecord ThirdRecord()
{
    EventRecord e;
    e.name = "Quiet";
    e.handlerName = "Do nothing";
    e.periodType = e.timeType = e.active = e.nextEventTime = 0;
    e.status = 3;
    e.prewarnMessage = e.nagMessage = "";
    return e;
}
LayoutRecord CustomLayout()
{
    LayoutRecord l;
    const float frame[4] = {40, 50, 640, 450};
    const int32_t order[6] = {1, 0, 2, 5, 4, 3};
    std::copy(frame, frame + 4, l.frame);
    std::copy(order, order + 6, l.order);
    l.shown[3] = 1;
    l.shown[4] = 0;
    l.widths[1] = 222.5f;
    l.numberOfKeys = 2;
    l.keys[0] = 1;
    l.keys[1] = 5;
    l.modes[0] = 1;
    return l;
}

// A set of three events with different handlers, as the writer of this
// version writes it (each event's window is closed, so its open byte is 0).
// Empty texts (the second's comment, the third's messages) are single zero
// bytes and read as absent; the handler records themselves are tested on
// their own.
SetBytes ThreeEvents(bool bigEndian, const std::string& version = "1.2")
{
    int versionIndex = version == "1.0" ? 0 : version == "1.1" ? 1 : 2;
    SetBytes out(bigEndian);
    AppendHeader(out, version, 3);
    AppendEvent(out, EventRecord(), versionIndex);
    AppendMessageBlock(out, "Bring the forms");
    AppendEvent(out, SecondRecord(), versionIndex);
    AppendVerifiedText(out, 1, "ls -l");
    AppendEvent(out, ThirdRecord(), versionIndex);
    AppendBlock(out, 0, {});
    AppendLayout(out, CustomLayout());
    return out;
}

// A set of one event with the Message handler and the shipped layout.
SetBytes OneEvent(const EventRecord& e = EventRecord())
{
    SetBytes out;
    AppendHeader(out, "1.2", 1);
    AppendEvent(out, e);
    AppendMessageBlock(out, "x");
    AppendLayout(out);
    return out;
}

void ExpectThreeEvents(EventSet* set)
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

    // What reading the file reports; ok must stay true unless expected.
    ConstructorResult ResultOf(const std::string& path, bool expectOk = true)
    {
        ConstructorResult result = kReadComplete;
        bool ok = true;
        SetPointer set = Read(path, &result, &ok);
        EXPECT_EQ(ok, expectOk);
        EXPECT_EQ(set->GetWindow(), nullptr);
        return result;
    }

    bool Save(EventSet* set, const std::string& path)
    {
        Autolock lock(set);
        set->SetFileName(path.c_str());
        return set->SaveData();
    }

    // The bytes of the set saved to a new file.
    Bytes SavedCopy(EventSet* set)
    {
        std::string copy = fDir.File("copy " + std::to_string(++fCopies));
        EXPECT_TRUE(Save(set, copy));
        return ReadWholeFile(copy);
    }

    ScratchDir fDir;
    int fCopies = 0;
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    ScopedClock fClock{1700000000};
};

TEST_F(EventSetFileTest, EmptySetIsExactly127Bytes)
{
    SetPointer set = NewSet();
    {
        Autolock lock(set.get());
        set->SetWindowFrame(Rect{16, 33, 569, 357});
    }
    SetBytes expected;
    AppendHeader(expected, "1.2", 0);
    AppendLayout(expected);
    ASSERT_EQ(expected.Size(), 127u);
    std::string path = fDir.File("Empty");
    ASSERT_TRUE(Save(set.get(), path));
    EXPECT_EQ(ReadWholeFile(path), expected.Bytes());

    SetPointer again = ReadGood(path);
    EXPECT_EQ(again->CountEvents(), 0);
    EXPECT_EQ(again->GetNextEventTime(nullptr), 0);
    EXPECT_STREQ(again->GetReadVersion(), "1.2");
}

TEST_F(EventSetFileTest, EveryVersionAndByteOrderReadsEveryFieldAndSavesAsCurrent)
{
    // In "1.0" the deletable byte (0 in the second event) comes later; a
    // big-endian file differs only in its flag and its numbers' order.
    EXPECT_NE(ThreeEvents(false, "1.0").Bytes(), ThreeEvents(false, "1.1").Bytes());
    EXPECT_EQ(ThreeEvents(true).Size(), ThreeEvents(false).Size());
    const Bytes current = ThreeEvents(false).Bytes();
    for (const char* version : {"1.0", "1.1", "1.2"}) {
        for (bool big : {false, true}) {
            SCOPED_TRACE(std::string(version) + (big ? " big-endian" : " little-endian"));
            SetPointer set = ReadGood(Write(std::string("v") + version, ThreeEvents(big, version)));
            ExpectThreeEvents(set.get());
            EXPECT_STREQ(set->GetReadVersion(), version);
            EXPECT_EQ(set->WasReadBigEndian(), big);
            EXPECT_EQ(SavedCopy(set.get()), current);
        }
    }
}

TEST_F(EventSetFileTest, UnknownVersionIsRefusedWithTheMessage)
{
    SetBytes file;
    AppendHeader(file, "1.3", 0);
    AppendLayout(file);
    std::string path = Write("Future", file);
    EXPECT_EQ(ResultOf(path, false), kReadComplete);
    std::vector<AlertRequest> shown = fAlerts.Shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].title, "Calvorin recoverable error");
    EXPECT_EQ(shown[0].text,
              "The EventSet file " + path +
                  " was written by an unknown version of Calvorin.  It was written by version "
                  "1.3, and the current version is 1.2.  The set will not be able to be opened "
                  "until you get a newer version of Calvorin.");
}

TEST_F(EventSetFileTest, MissingOverlongOrShortFilesAreFileErrorsWithoutAlerts)
{
    EXPECT_EQ(ResultOf(fDir.File("nothing here")), kFileNotOpened);
    SetBytes overlong;
    overlong.Text(std::string(30, '1')).Int32(0);
    AppendLayout(overlong);
    EXPECT_EQ(ResultOf(Write("Long", overlong)), kReadFailed);

    const Bytes whole = ThreeEvents(false).Bytes();
    std::string path = fDir.File("Cut");
    for (size_t length = 1; length < whole.size(); ++length) {
        // A fresh file each time: rewriting a truncated one makes some file
        // systems flush it to disk on close.
        unlink(path.c_str());
        WriteWholeFile(path, Bytes(whole.begin(), whole.begin() + long(length)));
        ASSERT_EQ(ResultOf(path), kReadFailed) << "cut after " << length << " bytes";
    }
    EXPECT_EQ(fAlerts.CountShown(), 0u);
    // An empty file has no byte-order flag: it cannot be opened.
    WriteWholeFile(path, Bytes());
    EXPECT_EQ(ResultOf(path), kFileNotOpened);
}

TEST_F(EventSetFileTest, OutOfRangeNumbersAreCorruption)
{
    const struct {
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
    for (const auto& c : cases) {
        EventRecord e;
        c.spoil(e);
        EXPECT_EQ(ResultOf(Write("Spoilt", OneEvent(e))), kReadFailed) << c.what;
    }
}

TEST_F(EventSetFileTest, UnknownHandlerSurvivesByteForByte)
{
    // The names of missing handlers; lookup is case-sensitive.
    const char* originals[] = {"Greeting card", "message", "Unknown"};
    const Bytes blocks[] = {{0x00, 0xff, 0x10, 'h', 'i', 0x00}, {}, {7, 8}};
    SetBytes file;
    AppendHeader(file, "1.2", 3);
    for (int i = 0; i < 3; ++i) {
        EventRecord e;
        e.handlerName = originals[i];
        AppendEvent(file, e);
        AppendBlock(file, uint32_t(blocks[i].size()), blocks[i]);
    }
    AppendLayout(file);
    SetPointer set = ReadGood(Write("Cards", file));
    ASSERT_EQ(set->CountEvents(), 3);
    for (int i = 0; i < 3; ++i) {
        Event* event = set->EventAt(i);
        EXPECT_EQ(event->GetSelectedHandler(), kUnknownHandler);
        auto* unknown = dynamic_cast<UnknownDataHandler*>(event->GetAddOnData());
        ASSERT_NE(unknown, nullptr);
        EXPECT_STREQ(unknown->GetOriginalHandler(), originals[i]);
        EXPECT_EQ(unknown->GetDataLength(), blocks[i].size());
        EXPECT_STREQ(event->GetColumnText(kHandlerColumn), "Unknown");
    }
    EXPECT_EQ(SavedCopy(set.get()), file.Bytes());
}

TEST_F(EventSetFileTest, CustomIconCarries1280Bytes)
{
    EventRecord custom;
    custom.iconNumber = -2;
    for (int i = 0; i < 1024; ++i)
        custom.largeIcon.push_back(uint8_t(i * 7));
    for (int i = 0; i < 256; ++i)
        custom.miniIcon.push_back(uint8_t(255 - i));
    const SetBytes file = OneEvent(custom);
    EXPECT_EQ(file.Size() - OneEvent().Size(), 1280u);

    SetPointer set = ReadGood(Write("Icon", file));
    ASSERT_EQ(set->CountEvents(), 1);
    const IconBitmap* large = nullptr;
    const IconBitmap* mini = nullptr;
    EXPECT_EQ(set->EventAt(0)->GetIcon(&large, &mini), -2);
    ASSERT_TRUE(large && mini);
    EXPECT_EQ(Bytes(large->Bits(), large->Bits() + large->BitsLength()), custom.largeIcon);
    EXPECT_EQ(Bytes(mini->Bits(), mini->Bits() + mini->BitsLength()), custom.miniIcon);
    EXPECT_EQ(SavedCopy(set.get()), file.Bytes());
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
    SetPointer set = ReadGood(Write("Work", OneEvent()));
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

// --- Saving ----------------------------------------------------------------------

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
    EXPECT_EQ(FolderEntries(fDir.Path()), Names{"Long"});

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
    EXPECT_EQ(ReadGood(real)->CountEvents(), 2);
}

// A save that fails leaves the old file as it was and no temporary file.
class FailedSaveTest : public EventSetFileTest {
protected:
    SetPointer Prepare(const std::string& folder, const std::string& leaf)
    {
        fFolder = folder;
        fLeaf = leaf;
        WriteWholeFile(folder + "/" + leaf, fOriginal.Bytes());
        return ReadGood(folder + "/" + leaf);
    }
    // Adds events and saves, then undoes what made the save fail.
    void ExpectSaveFails(EventSet* set, int events, const std::function<void()>& undo = {})
    {
        bool saved;
        {
            Autolock lock(set);
            for (int i = 0; i < events; ++i)
                set->AddEvent(nullptr);
            saved = set->SaveData();
        }
        if (undo)
            undo();
        EXPECT_FALSE(saved);
        EXPECT_TRUE(set->HasBeenModified());
        EXPECT_EQ(ReadWholeFile(fFolder + "/" + fLeaf), fOriginal.Bytes());
        EXPECT_EQ(FolderEntries(fFolder), Names{fLeaf});
    }

    const SetBytes fOriginal = ThreeEvents(false);
    std::string fFolder, fLeaf;
};

TEST_F(FailedSaveTest, WhenTheFileSystemTakesNoMoreBytes)
{
    SetPointer set = Prepare(fDir.Path(), "Keep");
    // The file system takes no more than a few hundred bytes, so the save
    // breaks off in the middle of writing.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &ignore, &previous);
    struct rlimit limit, small;
    getrlimit(RLIMIT_FSIZE, &limit);
    small = limit;
    small.rlim_cur = 600;
    setrlimit(RLIMIT_FSIZE, &small);
    ExpectSaveFails(set.get(), 50, [&] {
        setrlimit(RLIMIT_FSIZE, &limit);
        sigaction(SIGXFSZ, &previous, nullptr);
    });
}

TEST_F(FailedSaveTest, IntoAnUnwritableFolder)
{
    std::string folder = fDir.File("locked");
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    SetPointer set = Prepare(folder, "Set");
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    if (access(folder.c_str(), W_OK) == 0) {
        chmod(folder.c_str(), 0755);
        GTEST_SKIP() << "running with rights that ignore folder permissions";
    }
    ExpectSaveFails(set.get(), 1, [&] { chmod(folder.c_str(), 0755); });
}

TEST_F(FailedSaveTest, OverAReadOnlyFile)
{
    SetPointer set = Prepare(fDir.Path(), "ReadOnly");
    ASSERT_EQ(chmod(fDir.File("ReadOnly").c_str(), 0444), 0);
    if (access(fDir.File("ReadOnly").c_str(), W_OK) == 0)
        GTEST_SKIP() << "running with rights that ignore file permissions";
    ExpectSaveFails(set.get(), 1);
}

TEST_F(EventSetFileTest, SaveIntoMissingFolderFails)
{
    SetPointer set = NewSet();
    EXPECT_FALSE(Save(set.get(), fDir.File("no such folder/Set")));
    EXPECT_EQ(FolderEntries(fDir.Path()), Names{});
}

}  // namespace
