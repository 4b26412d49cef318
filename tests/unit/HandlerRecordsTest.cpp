// The built-in handlers' records in event set files: each is written and
// read back byte for byte, and each reader takes exactly its own record.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "StorageTestSupport.h"
#include "calvorin/AddOn.h"
#include "calvorin/EndianIndependentFile.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/DoNothingDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Written behind every record, so that a reader that takes too much or too
// little shows up in the next number read.
constexpr uint32_t kSentinel = 0xCAFEF00D;

Bytes Concat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes Text(const std::string& text)  // with its terminating zero
{
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

std::string Str(const char* text)
{
    return text ? text : "<null>";
}

// What a handler's data holds of its record: its text, its verify flag.
std::string Shown(EventAddOnData* d)
{
    if (auto* m = dynamic_cast<MessageDataHandler*>(d))
        return Str(m->GetMessage());
    if (auto* c = dynamic_cast<CommandDataHandler*>(d))
        return Str(c->GetCommand()) + (c->GetVerify() ? " +verify" : "");
    if (auto* a = dynamic_cast<ActOnFileDataHandler*>(d))
        return Str(a->GetFileName()) + (a->GetVerify() ? " +verify" : "");
    if (auto* u = dynamic_cast<UnknownDataHandler*>(d))
        return u->GetData() ? std::string(u->GetData(), u->GetDataLength()) : "<null>";
    return "";
}

class HandlerRecordsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(fDir.Valid()); }

    // The record the data writes (without the file's byte-order flag).
    Bytes Saved(EventAddOnData* data)
    {
        std::string path = fDir.File("written");
        {
            EndianIndependentFile file(path.c_str(), B_WRITE_ONLY | B_CREATE_FILE | B_ERASE_FILE, 64);
            EXPECT_EQ(file.InitCheck(), B_OK);
            EXPECT_TRUE(data->SaveData(&file));
            EXPECT_EQ(file.FlushBuffer(), B_OK);
        }
        Bytes bytes = ReadWholeFile(path);
        EXPECT_FALSE(bytes.empty());
        if (!bytes.empty())
            bytes.erase(bytes.begin());
        return bytes;
    }

    // Reads a record (given after a byte-order flag) through a factory and,
    // with a sentinel behind the record, checks that the reader stopped
    // there. The data comes back even when the read fails, for the caller to
    // delete.
    std::unique_ptr<EventAddOnData> Read(NewAddOnDataFunction factory, const Bytes& record,
                                         bool* ok, uint8_t flag = 0x00, bool sentinel = true)
    {
        std::string path = fDir.File("record");
        WriteWholeFile(path, Concat({{flag}, record, sentinel ? Bytes{0x0D, 0xF0, 0xFE, 0xCA} : Bytes{}}));
        EndianIndependentFile file(path.c_str(), B_READ_ONLY, 16);
        EXPECT_EQ(file.InitCheck(), B_OK);
        std::unique_ptr<EventAddOnData> data(factory(nullptr, &file, ok));
        EXPECT_NE(data, nullptr) << "the data is returned for the caller to delete";
        if (sentinel && *ok) {
            uint32_t next = 0;
            EXPECT_TRUE(file.ReadValue(&next));
            EXPECT_EQ(next, flag == 0x00 ? kSentinel : 0x0DF0FECAu) << "the reader stopped elsewhere";
        }
        return data;
    }

    ScratchDir fDir;
};

TEST_F(HandlerRecordsTest, RecordsReadAndWriteBackByteForByte)
{
    // Command and Act on file share one layout: a count of the text, its zero
    // and the verify byte; a null text is count 0, then the verify byte anyway.
    const struct {
        const char* handler;
        NewAddOnDataFunction factory;
        Bytes record;
        std::string shown;
        Bytes saved = {};  // empty: the record itself
        uint8_t flag = 0x00;
    } cases[] = {
        {"Message", DefHandMessage_NewAddOnData, Concat({{3, 0, 0, 0}, Text("Hi")}), "Hi"},
        {"Message", DefHandMessage_NewAddOnData, {0, 0, 0, 0}, "<null>"},
        {"Message", DefHandMessage_NewAddOnData, {1, 0, 0, 0, 0}, ""},  // empty is not null
        {"Message", DefHandMessage_NewAddOnData, Concat({{0, 0, 0, 3}, Text("Hi")}), "Hi",
         Concat({{3, 0, 0, 0}, Text("Hi")}), 0x01},  // a big-endian count
        // A count that is not 0 is read and nothing after it.
        {"Do nothing", DefHandDoNothing_NewAddOnData, {7, 0, 0, 0}, "", {0, 0, 0, 0}},
        {"Unknown", DefHandUnknown_NewAddOnData, {7, 0, 0, 0, 'a', 0, 0xFF, 0x7F, 0x80, 0, 'z'},
         std::string("a\0\xFF\x7F\x80\0z", 7)},
        {"Unknown", DefHandUnknown_NewAddOnData, {0, 0, 0, 0}, "<null>"},
        {"Command", DefHandCommand_NewAddOnData, Concat({{4, 0, 0, 0}, {1}, Text("ls")}), "ls +verify"},
        {"Command", DefHandCommand_NewAddOnData, {0, 0, 0, 0, 0}, "<null>"},
        {"Command", DefHandCommand_NewAddOnData, {0, 0, 0, 0, 1}, "<null> +verify"},
        {"Command", DefHandCommand_NewAddOnData, {1, 0, 0, 0, 1}, "<null> +verify", {0, 0, 0, 0, 1}},
        {"Act on file", DefHandActOnFile_NewAddOnData, Concat({{4, 0, 0, 0}, {1}, Text("ls")}), "ls +verify"},
        {"Act on file", DefHandActOnFile_NewAddOnData, {0, 0, 0, 0, 0}, "<null>"},
        {"Act on file", DefHandActOnFile_NewAddOnData, {0, 0, 0, 0, 1}, "<null> +verify"},
        {"Act on file", DefHandActOnFile_NewAddOnData, {1, 0, 0, 0, 1}, "<null> +verify", {0, 0, 0, 0, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.handler) + ", record of " + std::to_string(c.record.size()) + " bytes");
        bool ok = false;
        std::unique_ptr<EventAddOnData> data = Read(c.factory, c.record, &ok, c.flag);
        ASSERT_TRUE(ok);
        EXPECT_EQ(Shown(data.get()), c.shown);
        EXPECT_EQ(Saved(data.get()), c.saved.empty() ? c.record : c.saved);
    }
}

TEST_F(HandlerRecordsTest, ShortRecordsSetOkFalse)
{
    const struct {
        const char* handler;
        NewAddOnDataFunction factory;
        Bytes record;
    } cases[] = {
        {"Message", DefHandMessage_NewAddOnData, {3, 0}},
        {"Message", DefHandMessage_NewAddOnData, {10, 0, 0, 0, 'a', 'b', 'c'}},
        {"Message", DefHandMessage_NewAddOnData, {0xFF, 0xFF, 0xFF, 0xFF, 'a'}},
        {"Do nothing", DefHandDoNothing_NewAddOnData, {0, 0}},
        {"Unknown", DefHandUnknown_NewAddOnData, {}},
        {"Unknown", DefHandUnknown_NewAddOnData, {100, 0, 0, 0, 1, 2}},
        // The count cut short, no verify byte after a zero count, the text
        // cut short, a corrupt count far beyond the file.
        {"Command", DefHandCommand_NewAddOnData, {4, 0}},
        {"Command", DefHandCommand_NewAddOnData, {0, 0, 0, 0}},
        {"Command", DefHandCommand_NewAddOnData, {4, 0, 0, 0, 1, 'l'}},
        {"Command", DefHandCommand_NewAddOnData, {0xF0, 0xFF, 0xFF, 0xFF, 0, 'x'}},
        {"Act on file", DefHandActOnFile_NewAddOnData, {4, 0}},
        {"Act on file", DefHandActOnFile_NewAddOnData, {0, 0, 0, 0}},
        {"Act on file", DefHandActOnFile_NewAddOnData, {4, 0, 0, 0, 1, 'l'}},
        {"Act on file", DefHandActOnFile_NewAddOnData, {0xF0, 0xFF, 0xFF, 0xFF, 0, 'x'}},
    };
    for (const auto& c : cases) {
        bool ok = true;
        std::unique_ptr<EventAddOnData> data = Read(c.factory, c.record, &ok, 0x00, false);
        EXPECT_FALSE(ok) << c.handler << ", record of " << c.record.size() << " bytes";
    }
}

TEST_F(HandlerRecordsTest, NewDataSavesWhatItWasGiven)
{
    const struct {
        NewAddOnDataFunction factory;
        std::string shown;
        Bytes saved;
    } cases[] = {
        {DefHandMessage_NewAddOnData, "<null>", {0, 0, 0, 0}},
        {DefHandDoNothing_NewAddOnData, "", {0, 0, 0, 0}},
        {DefHandCommand_NewAddOnData, "<null>", {0, 0, 0, 0, 0}},
        {DefHandActOnFile_NewAddOnData, "<null>", {0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        bool ok = false;
        std::unique_ptr<EventAddOnData> data(c.factory(nullptr, nullptr, &ok));
        ASSERT_NE(data, nullptr);
        EXPECT_TRUE(ok);
        EXPECT_EQ(Shown(data.get()), c.shown);
        EXPECT_EQ(Saved(data.get()), c.saved);
    }
    EXPECT_EQ(DoNothingDataHandler(nullptr).CreateEditView(Rect{0, 0, 100, 100}), nullptr);
    // An Unknown handler cannot be made without a file.
    bool ok = false;
    EXPECT_EQ(DefHandUnknown_NewAddOnData(nullptr, nullptr, &ok), nullptr);

    MessageDataHandler message(nullptr);
    message.SetMessage("Bring the forms");
    EXPECT_EQ(Saved(&message), Concat({{16, 0, 0, 0}, Text("Bring the forms")}));
    message.SetMessage("");
    EXPECT_EQ(message.GetMessage(), nullptr);
    CommandDataHandler command(nullptr);
    command.SetVerify(true);
    EXPECT_EQ(Saved(&command), (Bytes{0, 0, 0, 0, 1}));
    ActOnFileDataHandler actOnFile(nullptr);
    actOnFile.SetVerify(true);
    EXPECT_EQ(Saved(&actOnFile), (Bytes{0, 0, 0, 0, 1}));
}

TEST_F(HandlerRecordsTest, UnknownKeepsTheNameTheSetReaderHandsOver)
{
    // The name starts as "Unknown"; the bytes are written as they were read.
    const Bytes record = {2, 0, 0, 0, 'o', 'k'};
    bool ok = false;
    std::unique_ptr<EventAddOnData> data = Read(DefHandUnknown_NewAddOnData, record, &ok);
    auto* unknown = dynamic_cast<UnknownDataHandler*>(data.get());
    ASSERT_NE(unknown, nullptr);
    EXPECT_STREQ(unknown->GetOriginalHandler(), "Unknown");
    unknown->SetOriginalHandler("Spoken reminder");
    EXPECT_STREQ(unknown->GetOriginalHandler(), "Spoken reminder");
    EXPECT_EQ(Saved(unknown), record);
}

TEST_F(HandlerRecordsTest, SaveFailsWhenTheFileTakesNothing)
{
    std::string path = fDir.File("read-only");
    WriteWholeFile(path, Bytes{0x00});
    EndianIndependentFile file(path.c_str(), B_READ_ONLY, 64);
    ASSERT_EQ(file.InitCheck(), B_OK);
    for (NewAddOnDataFunction factory : {DefHandDoNothing_NewAddOnData, DefHandMessage_NewAddOnData,
                                         DefHandCommand_NewAddOnData, DefHandActOnFile_NewAddOnData}) {
        bool ok = false;
        std::unique_ptr<EventAddOnData> data(factory(nullptr, nullptr, &ok));
        ASSERT_NE(data, nullptr);
        EXPECT_FALSE(data->SaveData(&file));
    }
}

}  // namespace
