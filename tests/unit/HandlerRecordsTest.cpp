// The built-in handlers' records in event set files: each is written and
// read back byte for byte, and each reader takes exactly its own record.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
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

const Bytes kSentinelBytes = {0x0D, 0xF0, 0xFE, 0xCA};

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

    // Reads a record (given after a byte-order flag) through a factory and
    // checks that the sentinel behind it is where the reader stopped.
    std::unique_ptr<EventAddOnData> Read(NewAddOnDataFunction factory, const Bytes& record,
                                         bool* ok, bool expectSentinel = true,
                                         uint8_t flag = 0x00)
    {
        std::string path = fDir.File("record");
        WriteWholeFile(path, Concat({{flag}, record, expectSentinel ? kSentinelBytes : Bytes{}}));
        EndianIndependentFile file(path.c_str(), B_READ_ONLY, 16);
        EXPECT_EQ(file.InitCheck(), B_OK);
        std::unique_ptr<EventAddOnData> data(factory(nullptr, &file, ok));
        if (expectSentinel && *ok) {
            uint32_t next = 0;
            EXPECT_TRUE(file.ReadValue(&next));
            EXPECT_EQ(next, flag == 0x00 ? kSentinel : 0x0DF0FECAu) << "the reader stopped elsewhere";
        }
        return data;
    }

    // Reads the record and writes it again; the bytes must not change.
    template <typename Data>
    std::unique_ptr<Data> RoundTrip(NewAddOnDataFunction factory, const Bytes& record)
    {
        bool ok = false;
        std::unique_ptr<EventAddOnData> data = Read(factory, record, &ok);
        EXPECT_TRUE(ok);
        EXPECT_NE(data, nullptr);
        if (data == nullptr)
            return nullptr;
        EXPECT_EQ(Saved(data.get()), record);
        return std::unique_ptr<Data>(static_cast<Data*>(data.release()));
    }

    ScratchDir fDir;
};

TEST_F(HandlerRecordsTest, MessageRecordCountsTheTextAndItsZero)
{
    Bytes record = Concat({{3, 0, 0, 0}, Text("Hi")});
    auto data = RoundTrip<MessageDataHandler>(DefHandMessage_NewAddOnData, record);
    ASSERT_NE(data, nullptr);
    EXPECT_STREQ(data->GetMessage(), "Hi");
}

TEST_F(HandlerRecordsTest, MessageKeepsNullAndEmptyApart)
{
    auto none = RoundTrip<MessageDataHandler>(DefHandMessage_NewAddOnData, {0, 0, 0, 0});
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none->GetMessage(), nullptr);

    auto empty = RoundTrip<MessageDataHandler>(DefHandMessage_NewAddOnData, {1, 0, 0, 0, 0});
    ASSERT_NE(empty, nullptr);
    ASSERT_NE(empty->GetMessage(), nullptr);
    EXPECT_STREQ(empty->GetMessage(), "");
}

TEST_F(HandlerRecordsTest, NewMessageSavesWhatItWasGiven)
{
    bool ok = false;
    std::unique_ptr<EventAddOnData> data(DefHandMessage_NewAddOnData(nullptr, nullptr, &ok));
    ASSERT_NE(data, nullptr);
    EXPECT_TRUE(ok);
    auto* message = static_cast<MessageDataHandler*>(data.get());
    EXPECT_EQ(message->GetMessage(), nullptr);
    EXPECT_EQ(Saved(message), (Bytes{0, 0, 0, 0}));

    message->SetMessage("Bring the forms");
    EXPECT_EQ(Saved(message), Concat({{16, 0, 0, 0}, Text("Bring the forms")}));
    message->SetMessage("");
    EXPECT_EQ(message->GetMessage(), nullptr);
}

TEST_F(HandlerRecordsTest, MessageReadsABigEndianCount)
{
    bool ok = false;
    std::unique_ptr<EventAddOnData> data =
        Read(DefHandMessage_NewAddOnData, Concat({{0, 0, 0, 3}, Text("Hi")}), &ok, true, 0x01);
    EXPECT_TRUE(ok);
    ASSERT_NE(data, nullptr);
    EXPECT_STREQ(static_cast<MessageDataHandler*>(data.get())->GetMessage(), "Hi");
}

TEST_F(HandlerRecordsTest, DoNothingWritesAZeroCountAndIgnoresAnyOther)
{
    bool ok = false;
    std::unique_ptr<EventAddOnData> fresh(DefHandDoNothing_NewAddOnData(nullptr, nullptr, &ok));
    ASSERT_NE(fresh, nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Saved(fresh.get()), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(fresh->CreateEditView(Rect{0, 0, 100, 100}), nullptr);

    // A count that is not 0 is read and nothing after it: the sentinel
    // must follow the four bytes directly.
    std::unique_ptr<EventAddOnData> read = Read(DefHandDoNothing_NewAddOnData, {7, 0, 0, 0}, &ok);
    EXPECT_TRUE(ok);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(Saved(read.get()), (Bytes{0, 0, 0, 0}));
}

TEST_F(HandlerRecordsTest, UnknownKeepsTheMissingHandlersBytes)
{
    Bytes body = {'a', 0, 0xFF, 0x7F, 0x80, 0, 'z'};
    Bytes record = Concat({{7, 0, 0, 0}, body});
    auto data = RoundTrip<UnknownDataHandler>(DefHandUnknown_NewAddOnData, record);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->GetDataLength(), 7u);
    ASSERT_NE(data->GetData(), nullptr);
    EXPECT_EQ(std::memcmp(data->GetData(), body.data(), body.size()), 0);

    // The name starts as "Unknown" until the set's reader hands over the
    // name the file gave.
    EXPECT_STREQ(data->GetOriginalHandler(), "Unknown");
    data->SetOriginalHandler("Spoken reminder");
    EXPECT_STREQ(data->GetOriginalHandler(), "Spoken reminder");
    EXPECT_EQ(Saved(data.get()), record);
}

TEST_F(HandlerRecordsTest, UnknownWithAnEmptyRecordWritesALoneZeroCount)
{
    auto data = RoundTrip<UnknownDataHandler>(DefHandUnknown_NewAddOnData, {0, 0, 0, 0});
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->GetDataLength(), 0u);
    EXPECT_EQ(data->GetData(), nullptr);
}

TEST_F(HandlerRecordsTest, UnknownCannotBeMadeWithoutAFile)
{
    bool ok = false;
    EXPECT_EQ(DefHandUnknown_NewAddOnData(nullptr, nullptr, &ok), nullptr);
}

// Command and Act on file share one layout, with the null-text exception:
// count 0, then the verify byte anyway.
struct VerifiedTextHandler {
    const char* name;
    NewAddOnDataFunction factory;
    std::function<const char*(EventAddOnData*)> text;
    std::function<bool(EventAddOnData*)> verify;
    std::function<void(EventAddOnData*, bool)> setVerify;
};

class VerifiedTextRecordTest : public HandlerRecordsTest,
                               public ::testing::WithParamInterface<VerifiedTextHandler> {};

TEST_P(VerifiedTextRecordTest, TextRecordCountsVerifyByteAndZero)
{
    const VerifiedTextHandler& handler = GetParam();
    Bytes record = Concat({{4, 0, 0, 0}, {1}, Text("ls")});
    bool ok = false;
    std::unique_ptr<EventAddOnData> data = Read(handler.factory, record, &ok);
    EXPECT_TRUE(ok);
    ASSERT_NE(data, nullptr);
    EXPECT_STREQ(handler.text(data.get()), "ls");
    EXPECT_TRUE(handler.verify(data.get()));
    EXPECT_EQ(Saved(data.get()), record);
}

TEST_P(VerifiedTextRecordTest, NullTextIsCountZeroFollowedByTheVerifyByte)
{
    const VerifiedTextHandler& handler = GetParam();
    for (uint8_t verify : {0, 1}) {
        Bytes record = {0, 0, 0, 0, verify};
        bool ok = false;
        std::unique_ptr<EventAddOnData> data = Read(handler.factory, record, &ok);
        EXPECT_TRUE(ok);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(handler.text(data.get()), nullptr);
        EXPECT_EQ(handler.verify(data.get()), verify == 1);
        EXPECT_EQ(Saved(data.get()), record);
    }
}

TEST_P(VerifiedTextRecordTest, NewDataWritesTheFiveByteNullRecord)
{
    const VerifiedTextHandler& handler = GetParam();
    bool ok = false;
    std::unique_ptr<EventAddOnData> data(handler.factory(nullptr, nullptr, &ok));
    ASSERT_NE(data, nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(handler.text(data.get()), nullptr);
    EXPECT_FALSE(handler.verify(data.get()));
    EXPECT_EQ(Saved(data.get()), (Bytes{0, 0, 0, 0, 0}));
    handler.setVerify(data.get(), true);
    EXPECT_EQ(Saved(data.get()), (Bytes{0, 0, 0, 0, 1}));
}

TEST_P(VerifiedTextRecordTest, CountOfOneCarriesOnlyTheVerifyByte)
{
    const VerifiedTextHandler& handler = GetParam();
    bool ok = false;
    std::unique_ptr<EventAddOnData> data = Read(handler.factory, {1, 0, 0, 0, 1}, &ok);
    EXPECT_TRUE(ok);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(handler.text(data.get()), nullptr);
    EXPECT_TRUE(handler.verify(data.get()));
}

TEST_P(VerifiedTextRecordTest, ShortRecordsAreRefused)
{
    const VerifiedTextHandler& handler = GetParam();
    const Bytes cases[] = {
        {4, 0},                          // the count itself cut short
        {0, 0, 0, 0},                    // no verify byte after a zero count
        {4, 0, 0, 0, 1, 'l'},            // text cut short
        {0xF0, 0xFF, 0xFF, 0xFF, 0, 'x'},  // a corrupt count far beyond the file
    };
    for (const Bytes& record : cases) {
        bool ok = true;
        std::unique_ptr<EventAddOnData> data = Read(handler.factory, record, &ok, false);
        EXPECT_FALSE(ok) << "record of " << record.size() << " bytes";
        EXPECT_NE(data, nullptr) << "the data is returned for the caller to delete";
    }
}

INSTANTIATE_TEST_SUITE_P(
    BuiltIn, VerifiedTextRecordTest,
    ::testing::Values(
        VerifiedTextHandler{
            "Command", DefHandCommand_NewAddOnData,
            [](EventAddOnData* d) { return static_cast<CommandDataHandler*>(d)->GetCommand(); },
            [](EventAddOnData* d) { return static_cast<CommandDataHandler*>(d)->GetVerify(); },
            [](EventAddOnData* d, bool v) { static_cast<CommandDataHandler*>(d)->SetVerify(v); }},
        VerifiedTextHandler{
            "ActOnFile", DefHandActOnFile_NewAddOnData,
            [](EventAddOnData* d) { return static_cast<ActOnFileDataHandler*>(d)->GetFileName(); },
            [](EventAddOnData* d) { return static_cast<ActOnFileDataHandler*>(d)->GetVerify(); },
            [](EventAddOnData* d, bool v) { static_cast<ActOnFileDataHandler*>(d)->SetVerify(v); }}),
    [](const ::testing::TestParamInfo<VerifiedTextHandler>& info) { return info.param.name; });

TEST_F(HandlerRecordsTest, TruncatedRecordsSetOkFalse)
{
    struct Case {
        const char* handler;
        NewAddOnDataFunction factory;
        Bytes record;
    };
    const Case cases[] = {
        {"Message", DefHandMessage_NewAddOnData, {3, 0}},
        {"Message", DefHandMessage_NewAddOnData, {10, 0, 0, 0, 'a', 'b', 'c'}},
        {"Message", DefHandMessage_NewAddOnData, {0xFF, 0xFF, 0xFF, 0xFF, 'a'}},
        {"Do nothing", DefHandDoNothing_NewAddOnData, {0, 0}},
        {"Unknown", DefHandUnknown_NewAddOnData, {}},
        {"Unknown", DefHandUnknown_NewAddOnData, {100, 0, 0, 0, 1, 2}},
    };
    for (const Case& c : cases) {
        bool ok = true;
        std::unique_ptr<EventAddOnData> data = Read(c.factory, c.record, &ok, false);
        EXPECT_FALSE(ok) << c.handler << ", record of " << c.record.size() << " bytes";
        EXPECT_NE(data, nullptr) << c.handler;
    }
}

TEST_F(HandlerRecordsTest, SaveFailsWhenTheFileTakesNothing)
{
    std::string path = fDir.File("read-only");
    WriteWholeFile(path, Bytes{0x00});
    EndianIndependentFile file(path.c_str(), B_READ_ONLY, 64);
    ASSERT_EQ(file.InitCheck(), B_OK);

    bool ok = false;
    NewAddOnDataFunction factories[] = {DefHandDoNothing_NewAddOnData, DefHandMessage_NewAddOnData,
                                        DefHandCommand_NewAddOnData, DefHandActOnFile_NewAddOnData};
    for (NewAddOnDataFunction factory : factories) {
        std::unique_ptr<EventAddOnData> data(factory(nullptr, nullptr, &ok));
        ASSERT_NE(data, nullptr);
        EXPECT_FALSE(data->SaveData(&file));
    }
}

}  // namespace
