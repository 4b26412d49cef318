// Copy and paste of events through the transfer message.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "EventSetTestSupport.h"
#include "PlatformTestSupport.h"
#include "calvorin/Event.h"
#include "core/AlertPort.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/Message.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

using Bytes = std::vector<uint8_t>;
constexpr uint32_t kIconBitsType = 0x69426974;     // 'iBit'
constexpr uint32_t kHandlerDataType = 0x68446174;  // 'hDat'

Bytes HandlerData(const Message& message)
{
    const void* data = nullptr;
    size_t size = 0;
    EXPECT_EQ(message.FindData("HandlerData", kHandlerDataType, &data, &size), B_OK);
    return Bytes(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
}

void ReplaceHandlerData(Message& message, const Bytes& bytes)
{
    message.RemoveName("HandlerData");
    message.AddData("HandlerData", kHandlerDataType, bytes.data(), bytes.size());
}

class EventTransferTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        CalvorinSettings::ResetToDefaults();
        LoadBuiltInHandlers();
        fFrom = NewSet();
        fTo = NewSet();
        fLock.emplace(fFrom.get());
    }
    void TearDown() override
    {
        fLock.reset();
        // Temporary files go to a folder of the test's own, to see that none stays.
        EXPECT_TRUE(std::filesystem::is_empty(fTemp.Path()));
    }

    // The message of an event of the source set (null: a new event).
    Message MessageOf(Event* event)
    {
        Message message;
        EXPECT_TRUE(event->GenerateMessageForEvent(&message));
        return message;
    }
    // Pastes a message into the target set; null when it makes no event.
    std::unique_ptr<Event> Paste(Message* message)
    {
        Autolock lock(fTo.get());
        bool ok = false;
        auto event = std::make_unique<Event>(fTo.get(), message, &ok);
        return ok ? std::move(event) : nullptr;
    }
    std::unique_ptr<Event> NewEvent() { return std::make_unique<Event>(fFrom.get()); }

    // An event whose every field differs from a new event's.
    std::unique_ptr<Event> Unusual()
    {
        auto e = NewEvent();
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
        r.ApplyTime() = r.ApplyStop() = r.ApplyPrewarn() = r.ApplyPrewarnRepeat() = r.ApplyNag() = true;
        r.TimeToApply() = 45000;
        r.SubIntType() = Minutes;
        r.StopTime() = 80000;
        r.PrewarnTime() = 9;
        r.PrewarnType() = Weeks;
        r.PrewarnRepeatTime() = 11;
        r.PrewarnRepeatType() = Minutes;
        e->SetPrewarnMessage("Soon");
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
        Bytes large(1024), mini(256);
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

    TempFolder fTemp;
    ScopedEnvironment fTmpDir{"TMPDIR", fTemp.Path().c_str()};
    ScopedClock fClock{1700000000};
    ScriptedAlertPort fAlerts;
    ScopedAlertPort fAlertScope{&fAlerts};
    SetPointer fFrom, fTo;
    std::optional<Autolock> fLock;
};

TEST_F(EventTransferTest, PasteKeepsEveryFieldOfTheTable)
{
    auto original = Unusual();
    // Through the clipboard's flattened form, as a paste from another window.
    Message pasted;
    const Bytes flat = MessageOf(original.get()).Flatten();
    ASSERT_EQ(pasted.Unflatten(flat.data(), flat.size()), B_OK);
    auto copy = Paste(&pasted);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetOwner(), fTo.get());
    // Not carried: a pasted event may always be deleted and opens no editor.
    original->RawFields().Deletable() = true;
    original->RawFields().ShouldWindowOpen() = false;
    EXPECT_EQ(EventNumbers(copy.get()), EventNumbers(original.get()));
    EXPECT_EQ(EventTexts(copy.get()), EventTexts(original.get()));
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
}

TEST_F(EventTransferTest, FieldsHaveTheirTypesInOrder)
{
    const Message message = MessageOf(Unusual().get());
    const struct {
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
    const std::string text = "make backup";
    Bytes block = {13, 0, 0, 0, 1};
    block.insert(block.end(), text.c_str(), text.c_str() + text.size() + 1);
    EXPECT_EQ(HandlerData(message), block);

    // A standard icon adds no icon fields.
    auto plain = NewEvent();
    plain->SetIcon(4, nullptr, nullptr);
    const Message withStandardIcon = MessageOf(plain.get());
    EXPECT_EQ(withStandardIcon.GetInt32("IconNum"), 4);
    EXPECT_FALSE(withStandardIcon.HasField("LargeIcon"));
    EXPECT_FALSE(withStandardIcon.HasField("MiniIcon"));
    EXPECT_EQ(withStandardIcon.CountNames(), 39);
}

TEST_F(EventTransferTest, DoNothingBlockOfCountZeroCopies)
{
    auto event = NewEvent();
    event->SetSelectedHandler(kDoNothingHandler);
    Message message = MessageOf(event.get());
    EXPECT_EQ(HandlerData(message), (Bytes{0, 0, 0, 0}));
    auto copy = Paste(&message);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetSelectedHandler(), kDoNothingHandler);
}

TEST_F(EventTransferTest, MissingOrUnknownHandlerNamesGiveTheUnknownHandler)
{
    auto event = NewEvent();
    static_cast<MessageDataHandler*>(event->GetAddOnData())->SetMessage("hello");
    Message message = MessageOf(event.get());
    message.RemoveName("HandlerName");
    auto copy = Paste(&message);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetSelectedHandler(), kUnknownHandler);
    auto* unknown = dynamic_cast<UnknownDataHandler*>(copy->GetAddOnData());
    ASSERT_NE(unknown, nullptr);
    EXPECT_STREQ(unknown->GetOriginalHandler(), "Unknown");
    ASSERT_EQ(unknown->GetDataLength(), 6u);
    EXPECT_STREQ(unknown->GetData(), "hello");

    // A handler that is not there keeps its name and bytes through a copy.
    message.AddString("HandlerName", "Greeting card");
    const Bytes block = {3, 0, 0, 0, 'a', 0xff, 0};
    ReplaceHandlerData(message, block);
    auto card = Paste(&message);
    ASSERT_NE(card, nullptr);
    ASSERT_EQ(card->GetSelectedHandler(), kUnknownHandler);
    Message again = MessageOf(card.get());
    EXPECT_STREQ(again.GetString("HandlerName"), "Greeting card");
    EXPECT_EQ(HandlerData(again), block);
}

TEST_F(EventTransferTest, BadMessagesMakeNoEventMissingFieldsAreZero)
{
    auto event = NewEvent();
    static_cast<MessageDataHandler*>(event->GetAddOnData())->SetMessage("a longer message");
    const Message message = MessageOf(event.get());

    Message missing(message);
    missing.RemoveName("HandlerData");
    EXPECT_EQ(Paste(&missing), nullptr);
    // The count promises more bytes than the block holds.
    Message shortened(message);
    const Bytes block = HandlerData(message);
    ReplaceHandlerData(shortened, Bytes(block.begin(), block.end() - 5));
    EXPECT_EQ(Paste(&shortened), nullptr);
    Message spoilt(message);
    spoilt.RemoveName("Status");
    spoilt.AddInt32("Status", 9);
    EXPECT_EQ(Paste(&spoilt), nullptr);

    Message sparse;
    sparse.AddString("HandlerName", message.GetString("HandlerName"));
    ReplaceHandlerData(sparse, block);
    auto copy = Paste(&sparse);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetName(), nullptr);
    EXPECT_EQ(copy->GetNextEventTime(), 0);
    EXPECT_FALSE(copy->GetActive());
    EXPECT_EQ(copy->GetMultiple(), 0u);
    EXPECT_EQ(copy->GetIconNumber(), 0);
    EXPECT_EQ(copy->GetSelectedHandler(), kMessageHandler);
}

}  // namespace
