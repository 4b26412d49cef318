// Copy and paste of events through the transfer message.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "StorageTestSupport.h"
#include "calvorin/Event.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/EventSet.h"
#include "core/Message.h"
#include "core/OpenSets.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

constexpr uint32_t kIconBitsType = 0x69426974;     // 'iBit'
constexpr uint32_t kHandlerDataType = 0x68446174;  // 'hDat'

struct SetDeleter {
    void operator()(EventSet* set) const
    {
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }
};
using SetPointer = std::unique_ptr<EventSet, SetDeleter>;

std::string Str(const char* text)
{
    return text != nullptr ? text : "<null>";
}

class EventTransferTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(fTemp.Valid());
        CalvorinSettings::ResetToDefaults();
        LoadBuiltInHandlers();
        // Temporary files go to a folder of the test's own, to see that none stays.
        const char* old = std::getenv("TMPDIR");
        fOldTmpDir = old != nullptr ? old : "";
        fHadTmpDir = old != nullptr;
        setenv("TMPDIR", fTemp.Path().c_str(), 1);
        fFrom.reset(new EventSet(nullptr, false, nullptr, nullptr));
        fTo.reset(new EventSet(nullptr, false, nullptr, nullptr));
    }
    void TearDown() override
    {
        fFrom.reset();
        fTo.reset();
        if (fHadTmpDir)
            setenv("TMPDIR", fOldTmpDir.c_str(), 1);
        else
            unsetenv("TMPDIR");
    }

    bool TempFolderIsEmpty() const
    {
        return std::filesystem::is_empty(fTemp.Path());
    }

    // An event whose every field differs from a new event's.
    Event* Unusual()
    {
        Event* e = new Event(fFrom.get());
        Event::Raw r = e->RawFields();
        e->SetName("Dentist");
        r.NextEventTime() = 1700001000;
        r.ActualEventTime() = 1700002000;
        r.Active() = false;
        r.Status() = WaitingToNag;
        r.PeriodType() = MultiWeekly;
        r.Multiple() = 3;
        r.Timing() = ByDayOfWeek;
        r.SavedTimingType() = ByDayOfMonth;
        r.EventTime() = 1699000000;
        r.DayOfMonth() = 33;
        r.WeekOfMonth() = 4;
        r.DayOfWeek() = 6;
        r.Month() = 11;
        r.MultiStartTime() = 1600000000;
        r.ApplyTime() = true;
        r.TimeToApply() = 45000;
        r.SubIntType() = Minutes;
        r.ApplyStop() = true;
        r.StopTime() = 80000;
        r.ApplyPrewarn() = true;
        r.PrewarnTime() = 9;
        r.PrewarnType() = Weeks;
        r.ApplyPrewarnRepeat() = true;
        r.PrewarnRepeatTime() = 11;
        r.PrewarnRepeatType() = Minutes;
        e->SetPrewarnMessage("Soon");
        r.ApplyNag() = true;
        r.NagRepeatTime() = 13;
        r.NagRepeatType() = Months;
        e->SetNagMessage("Now!");
        r.DeliverIfMissed() = false;
        r.DeleteOnceDelivered() = true;
        e->SetComment("Forms");
        r.Deletable() = false;
        r.ShouldWindowOpen() = true;
        r.WindowFrame() = Rect{10, 20, 330, 440};
        r.TabShown() = 3;
        std::vector<uint8_t> large(1024), mini(256);
        for (size_t i = 0; i < large.size(); ++i)
            large[i] = uint8_t(i * 3);
        for (size_t i = 0; i < mini.size(); ++i)
            mini[i] = uint8_t(i);
        e->SetIcon(-2, new IconBitmap(32, 32, large.data()), new IconBitmap(16, 16, mini.data()));
        e->SetSelectedHandler(kCommandHandler);
        auto* command = static_cast<CommandDataHandler*>(e->GetAddOnData());
        command->SetCommand("make backup");
        command->SetVerify(true);
        return e;
    }

    ScratchDir fTemp;
    std::string fOldTmpDir;
    bool fHadTmpDir = false;
    ScopedClock fClock{1700000000};
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    SetPointer fFrom;
    SetPointer fTo;
};

TEST_F(EventTransferTest, PasteKeepsEveryFieldOfTheTable)
{
    Autolock lockFrom(fFrom.get());
    Event* original = Unusual();
    Message message;
    ASSERT_TRUE(original->GenerateMessageForEvent(&message));

    // Through the clipboard's flattened form, as a paste from another window.
    Message pasted;
    std::vector<uint8_t> flat = message.Flatten();
    ASSERT_EQ(pasted.Unflatten(flat.data(), flat.size()), B_OK);

    Autolock lockTo(fTo.get());
    bool ok = false;
    auto* copy = new Event(fTo.get(), &pasted, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(copy->GetOwner(), fTo.get());
    EXPECT_STREQ(copy->GetName(), "Dentist");
    EXPECT_EQ(copy->GetNextEventTime(), 1700001000);
    EXPECT_EQ(copy->GetActualEventTime(), 1700002000);
    EXPECT_FALSE(copy->GetActive());
    EXPECT_EQ(copy->GetStatus(), WaitingToNag);
    EXPECT_EQ(copy->GetPeriodType(), MultiWeekly);
    EXPECT_EQ(copy->GetMultiple(), 3u);
    EXPECT_EQ(copy->GetTimingType(), ByDayOfWeek);
    EXPECT_EQ(copy->GetSavedTimingType(), ByDayOfMonth);
    EXPECT_EQ(copy->GetEventTime(), 1699000000);
    EXPECT_EQ(copy->GetDayOfMonth(), 33);
    EXPECT_EQ(copy->GetWeekOfMonth(), 4);
    EXPECT_EQ(copy->GetDayOfWeek(), 6);
    EXPECT_EQ(copy->GetMonth(), 11);
    EXPECT_EQ(copy->GetMultiStartTime(), 1600000000);
    EXPECT_TRUE(copy->GetApplyTime());
    EXPECT_EQ(copy->GetTimeToApply(), 45000);
    EXPECT_EQ(copy->GetSubIntType(), Minutes);
    EXPECT_TRUE(copy->GetApplyStop());
    EXPECT_EQ(copy->GetStopTime(), 80000);
    EXPECT_TRUE(copy->GetApplyPrewarn());
    EXPECT_EQ(copy->GetPrewarnTime(), 9u);
    EXPECT_EQ(copy->GetPrewarnType(), Weeks);
    EXPECT_TRUE(copy->GetApplyPrewarnRepeat());
    EXPECT_EQ(copy->GetPrewarnRepeatTime(), 11u);
    EXPECT_EQ(copy->GetPrewarnRepeatType(), Minutes);
    EXPECT_STREQ(copy->GetPrewarnMessage(), "Soon");
    EXPECT_TRUE(copy->GetApplyNag());
    EXPECT_EQ(copy->GetNagRepeatTime(), 13u);
    EXPECT_EQ(copy->GetNagRepeatType(), Months);
    EXPECT_STREQ(copy->GetNagMessage(), "Now!");
    EXPECT_FALSE(copy->GetDeliverIfMissed());
    EXPECT_TRUE(copy->GetDeleteOnceDelivered());
    EXPECT_STREQ(copy->GetComment(), "Forms");
    EXPECT_EQ(copy->GetWindowFrame(), (Rect{10, 20, 330, 440}));
    EXPECT_EQ(copy->GetTabShown(), 3);
    // Not carried: a pasted event may always be deleted and opens no editor.
    EXPECT_TRUE(copy->GetDeletable());
    EXPECT_FALSE(copy->GetShouldWindowOpen());
    EXPECT_EQ(copy->GetWindow(), nullptr);

    const IconBitmap *large = nullptr, *mini = nullptr, *origLarge = nullptr, *origMini = nullptr;
    EXPECT_EQ(copy->GetIcon(&large, &mini), -2);
    original->GetIcon(&origLarge, &origMini);
    ASSERT_TRUE(large && mini);
    EXPECT_EQ(*large, *origLarge);
    EXPECT_EQ(*mini, *origMini);

    EXPECT_EQ(copy->GetSelectedHandler(), kCommandHandler);
    auto* command = dynamic_cast<CommandDataHandler*>(copy->GetAddOnData());
    ASSERT_NE(command, nullptr);
    EXPECT_STREQ(command->GetCommand(), "make backup");
    EXPECT_TRUE(command->GetVerify());
    EXPECT_STREQ(copy->GetColumnText(kHandlerColumn), "Command");

    EXPECT_TRUE(TempFolderIsEmpty());
    delete copy;
    delete original;
}

TEST_F(EventTransferTest, FieldsHaveTheirTypesInOrder)
{
    Autolock lock(fFrom.get());
    Event* event = Unusual();
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    struct {
        const char* name;
        uint32_t type;
    } expected[] = {
        {"Name", B_STRING_TYPE},         {"Active", B_BOOL_TYPE},
        {"Multiple", B_INT32_TYPE},      {"DayOfMonth", B_INT8_TYPE},
        {"Month", B_INT8_TYPE},          {"SecondsIntoDay", B_INT32_TYPE},
        {"Comment", B_STRING_TYPE},      {"IconNum", B_INT32_TYPE},
        {"LargeIcon", kIconBitsType},    {"MiniIcon", kIconBitsType},
        {"WindowFrame", B_RECT_TYPE},    {"ShownTab", B_INT32_TYPE},
        {"HandlerName", B_STRING_TYPE},  {"HandlerData", kHandlerDataType},
    };
    for (const auto& field : expected) {
        uint32_t type = 0;
        int32_t count = 0;
        ASSERT_EQ(message.GetInfo(field.name, &type, &count), B_OK) << field.name;
        EXPECT_EQ(type, field.type) << field.name;
        EXPECT_EQ(count, 1) << field.name;
    }
    EXPECT_EQ(message.CountNames(), 41);
    EXPECT_FALSE(message.HasField("Deletable"));

    const void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(message.FindData("LargeIcon", kIconBitsType, &data, &size), B_OK);
    EXPECT_EQ(size, 1024u);
    ASSERT_EQ(message.FindData("MiniIcon", kIconBitsType, &data, &size), B_OK);
    EXPECT_EQ(size, 256u);
    // The handler's whole block: count 13 ("make backup" + 2), verify, text.
    ASSERT_EQ(message.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    ASSERT_EQ(size, 4u + 1u + 12u);
    uint32_t count;
    std::memcpy(&count, data, 4);
    EXPECT_EQ(count, 13u);
    EXPECT_EQ(static_cast<const uint8_t*>(data)[4], 1);
    EXPECT_STREQ(static_cast<const char*>(data) + 5, "make backup");
    delete event;
}

TEST_F(EventTransferTest, StandardIconAddsNoIconFields)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    event->SetIcon(4, nullptr, nullptr);
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    EXPECT_EQ(message.GetInt32("IconNum"), 4);
    EXPECT_FALSE(message.HasField("LargeIcon"));
    EXPECT_FALSE(message.HasField("MiniIcon"));
    EXPECT_EQ(message.CountNames(), 39);
    delete event;
}

TEST_F(EventTransferTest, DoNothingBlockOfCountZeroCopies)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    event->SetSelectedHandler(kDoNothingHandler);
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    const void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(message.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    EXPECT_EQ(size, 4u);

    bool ok = false;
    Event* copy = new Event(fTo.get(), &message, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(copy->GetSelectedHandler(), kDoNothingHandler);
    EXPECT_TRUE(TempFolderIsEmpty());
    delete copy;
    delete event;
}

TEST_F(EventTransferTest, MissingHandlerNameGivesTheUnknownHandler)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    static_cast<MessageDataHandler*>(event->GetAddOnData())->SetMessage("hello");
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    message.RemoveName("HandlerName");

    bool ok = false;
    Event* copy = new Event(fTo.get(), &message, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(copy->GetSelectedHandler(), kUnknownHandler);
    auto* unknown = dynamic_cast<UnknownDataHandler*>(copy->GetAddOnData());
    ASSERT_NE(unknown, nullptr);
    EXPECT_STREQ(unknown->GetOriginalHandler(), "Unknown");
    ASSERT_EQ(unknown->GetDataLength(), 6u);
    EXPECT_STREQ(unknown->GetData(), "hello");
    delete copy;
    delete event;
}

TEST_F(EventTransferTest, UnknownHandlerKeepsItsNameAndBytesThroughCopy)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    message.RemoveName("HandlerName");
    message.AddString("HandlerName", "Greeting card");
    const uint8_t block[] = {3, 0, 0, 0, 'a', 0xff, 0};
    message.RemoveName("HandlerData");
    message.AddData("HandlerData", kHandlerDataType, block, sizeof block);

    bool ok = false;
    Event* unknown = new Event(fTo.get(), &message, &ok);
    ASSERT_TRUE(ok);
    ASSERT_EQ(unknown->GetSelectedHandler(), kUnknownHandler);

    // Copied again, it names the missing handler and carries the same block.
    Message again;
    ASSERT_TRUE(unknown->GenerateMessageForEvent(&again));
    EXPECT_STREQ(again.GetString("HandlerName"), "Greeting card");
    const void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(again.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    EXPECT_EQ(std::vector<uint8_t>(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size),
              std::vector<uint8_t>(block, block + sizeof block));
    delete unknown;
    delete event;
}

TEST_F(EventTransferTest, UnreadableHandlerDataMakesNoEvent)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    static_cast<MessageDataHandler*>(event->GetAddOnData())->SetMessage("a longer message");
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));

    Message missing(message);
    missing.RemoveName("HandlerData");
    bool ok = true;
    Event* copy = new Event(fTo.get(), &missing, &ok);
    EXPECT_FALSE(ok);
    delete copy;

    // The count promises more bytes than the block holds.
    const void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(message.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    std::vector<uint8_t> cut(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size - 5);
    Message shortened(message);
    shortened.RemoveName("HandlerData");
    shortened.AddData("HandlerData", kHandlerDataType, cut.data(), cut.size());
    ok = true;
    copy = new Event(fTo.get(), &shortened, &ok);
    EXPECT_FALSE(ok);
    delete copy;

    EXPECT_TRUE(TempFolderIsEmpty());
    delete event;
}

TEST_F(EventTransferTest, MissingFieldsAreZeroAndOutOfRangeOnesRefused)
{
    Autolock lock(fFrom.get());
    Event* event = new Event(fFrom.get());
    Message message;
    ASSERT_TRUE(event->GenerateMessageForEvent(&message));
    Message sparse;
    sparse.AddString("HandlerName", message.GetString("HandlerName"));
    const void* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(message.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    sparse.AddData("HandlerData", kHandlerDataType, data, size);

    bool ok = false;
    Event* copy = new Event(fTo.get(), &sparse, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Str(copy->GetName()), "<null>");
    EXPECT_EQ(copy->GetNextEventTime(), 0);
    EXPECT_FALSE(copy->GetActive());
    EXPECT_EQ(copy->GetMultiple(), 0u);
    EXPECT_EQ(copy->GetIconNumber(), 0);
    EXPECT_EQ(copy->GetSelectedHandler(), kMessageHandler);
    delete copy;

    Message spoilt(message);
    spoilt.RemoveName("Status");
    spoilt.AddInt32("Status", 9);
    ok = true;
    copy = new Event(fTo.get(), &spoilt, &ok);
    EXPECT_FALSE(ok);
    delete copy;
    delete event;
}

}  // namespace
