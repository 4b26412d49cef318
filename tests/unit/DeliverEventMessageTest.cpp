// The delivery alert and the handlers that show it: the composed text, the
// missed-time note, the buttons, "Don't nag", and the set's lock being free
// while the user answers.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/AddOn.h"
#include "core/AlertPort.h"
#include "handlers/DoNothingDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

namespace {

// Records each alert together with whether the event's set was locked by
// the showing thread at that moment.
class LockWatchingPort : public ScriptedAlertPort {
public:
    explicit LockWatchingPort(Locker* lock) : fLock(lock) {}
    int Go(const AlertRequest& request) override
    {
        lockedDuringAlert.push_back(fLock->IsLocked());
        return ScriptedAlertPort::Go(request);
    }
    std::vector<bool> lockedDuringAlert;

private:
    Locker* fLock;
};

class DeliverEventMessageTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        fEvent = std::make_unique<Event>(&fOwner);
        fEvent->SetName("Dentist");
    }

    MessageDataHandler* MessageData()
    {
        return static_cast<MessageDataHandler*>(fEvent->GetAddOnData(kMessageHandler));
    }

    ScopedTimeZone fZone{"UTC"};
    TestOwner fOwner;
    std::unique_ptr<Event> fEvent;
    LockWatchingPort fPort{&fOwner};
    ScopedAlertPort fScope{&fPort};
    std::vector<AlertRequest> fShown;
};

TEST_F(DeliverEventMessageTest, TextRunsFromTheNameStraightIntoTheCallersPieces)
{
    EXPECT_EQ(DeliverEventMessage(fEvent.get(), false, "\n\n", "Bring ", nullptr, "the forms",
                                  nullptr, "OK", nullptr),
              0);
    fEvent->SetName("");  // without a name, only the prefix
    fPort.Answer(1);
    EXPECT_EQ(DeliverEventMessage(fEvent.get(), false, "\n\nx", nullptr, nullptr, nullptr, nullptr,
                                  "Cancel", "OK"),
              1);
    fShown = fPort.Shown();
    ASSERT_EQ(fShown.size(), 2u);
    EXPECT_EQ(fShown[0].text, "Calvorin event:  Dentist\n\nBring the forms");
    EXPECT_EQ(fShown[0].title, "");
    EXPECT_EQ(fShown[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(fShown[0].kind, AlertKind::Information);
    // Two buttons in order; the answer is the index of the one pressed.
    EXPECT_EQ(fShown[1].text, "Calvorin event:  \n\nx");
    EXPECT_EQ(fShown[1].buttons, (std::vector<std::string>{"Cancel", "OK"}));
    EXPECT_EQ(fPort.lockedDuringAlert, (std::vector<bool>{false, false}));
}

TEST_F(DeliverEventMessageTest, MissedNoteUsesTheTwelveHourClock)
{
    struct Case {
        int32_t time;
        const char* shown;
    };
    const Case cases[] = {
        {915496200, "Tue, Jan 05 1999, 12:30 AM"},  // half past midnight
        {915539400, "Tue, Jan 05 1999, 12:30 PM"},  // half past noon
        {915527100, "Tue, Jan 05 1999, 09:05 AM"},
        {920384100, "Tue, Mar 02 1999, 02:15 PM"},
    };
    for (const Case& c : cases) {
        fEvent->RawFields().ActualEventTime() = c.time;
        DeliverEventMessage(fEvent.get(), true, "\n\nBring the forms", nullptr, nullptr, nullptr,
                            nullptr, "OK", nullptr);
        EXPECT_EQ(fPort.Shown().back().text,
                  std::string("Calvorin event:  Dentist\nThe event was missed.  It occurred ") +
                      c.shown + "\n\nBring the forms");
    }
}

TEST_F(DeliverEventMessageTest, MessageOffersDontNagOnlyWhileNagging)
{
    MessageData()->SetMessage("Bring the forms");
    MessageData()->DealWithEvent(false);
    EXPECT_FALSE(fEvent->GetSkipNag());
    MessageData()->SetMessage(nullptr);  // a null message still leaves the blank line after the name
    fEvent->SetApplyNag(true);
    fPort.Answer(1);
    MessageData()->DealWithEvent(false);
    EXPECT_FALSE(fEvent->GetSkipNag()) << "OK leaves the nagging on";
    fPort.Answer(0);
    MessageData()->DealWithEvent(false);
    EXPECT_TRUE(fEvent->GetSkipNag());

    std::vector<AlertRequest> shown = fPort.Shown();
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[0].text, "Calvorin event:  Dentist\n\nBring the forms");
    EXPECT_EQ(shown[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(shown[1].buttons, (std::vector<std::string>{"Don't nag", "OK"}));
    EXPECT_EQ(shown[1].text, "Calvorin event:  Dentist\n\n");
    EXPECT_EQ(fPort.lockedDuringAlert, (std::vector<bool>{false, false, false}));
}

TEST_F(DeliverEventMessageTest, UnknownNamesTheMissingHandlerAndItsFolder)
{
    UnknownDataHandler data(fEvent.get());
    data.SetOriginalHandler("Spoken reminder");
    fEvent->SetApplyNag(true);
    fPort.Answer(0);
    data.DealWithEvent(false);

    fShown = fPort.Shown();
    ASSERT_EQ(fShown.size(), 1u);
    const AlertRequest& alert = fShown[0];
    EXPECT_EQ(alert.text,
              "Calvorin event:  Dentist\n\nThe event occurred, but the add-on event handler which "
              "owns it is not loaded.  The handler is called \"Spoken reminder\".  Add-on event "
              "handlers should be stored in \"" +
                  UserAddOnFolder() +
                  "\" or in the add-ons folder in the Calvorin application folder.");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Don't nag", "OK"}));
    EXPECT_TRUE(fEvent->GetSkipNag());
    EXPECT_EQ(fPort.lockedDuringAlert, std::vector<bool>{false});
}

TEST_F(DeliverEventMessageTest, DoNothingShowsNothing)
{
    DoNothingDataHandler data(fEvent.get());
    data.DealWithEvent(true);
    EXPECT_EQ(fPort.CountShown(), 0u);
}

}  // namespace
