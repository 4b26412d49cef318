// The set window while a delivery alert waits for the user: the event
// being delivered cannot be deleted or cut (its menu items are off, the
// commands refuse), other events can; the window may close, and its set
// goes only when the delivery step is over.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QTest>

#include <functional>
#include <memory>

#include "UiTestSupport.h"
#include "../unit/DeliveryTestSupport.h"
#include "core/DeliveryScheduler.h"
#include "ui/EventListModel.h"
#include "ui/EventListView.h"
#include "ui/EventSetWindow.h"

namespace {

constexpr int32_t kNow = 1700000000;

// An event of the "Message" handler that is due now.
Event* AddDueEvent(EventSet* set, const char* name)
{
    Event* event = AddNamedEvent(set, name, kNow + 3600);
    Autolock lock(set);
    auto raw = event->RawFields();
    raw.NextEventTime() = raw.ActualEventTime() = kNow;
    raw.Status() = WaitingForEvent;
    raw.RefreshColumns();
    return event;
}

int CountEvents(EventSet* set)
{
    Autolock lock(set);
    return set->CountEvents();
}

}  // namespace

class DeliveryAlertTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InstallEventSetWindowFactory(); }

    void init()
    {
        fEnvironment = std::make_unique<UiTestEnvironment>();
        SetAlertPort(&fAlerts);
        fAlerts.whileWaiting = nullptr;
        fAlerts.shown = 0;
        fSet = NewLoadedSet(true);
        {
            Autolock lock(fSet);
            fWindow = dynamic_cast<EventSetWindow*>(fSet->GetWindow());
        }
        QVERIFY(fWindow != nullptr);
        QVERIFY(QTest::qWaitForWindowExposed(fWindow));
    }

    void cleanup()
    {
        if (IsLoaded(fSet)) {
            Autolock lock(fSet);
            fSet->ClearModified();
            if (fSet->GetWindow() == nullptr)
                fWindow = nullptr;
        }
        if (fWindow != nullptr && IsLoaded(fSet))
            fWindow->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        UnloadSetsWithoutWindows();
        fEnvironment.reset();
    }

    void TheEventBeingDeliveredCannotBeDeletedOrCutOthersCan()
    {
        Event* due = AddDueEvent(fSet, "Due");
        Event* other = AddNamedEvent(fSet, "Other", kNow + 7200);
        Settle();
        QAction* deleteItem = fWindow->ActionFor(kDeleteEventMsg);
        QAction* cutItem = fWindow->ActionFor(kCutEventMsg);
        QGuiApplication::clipboard()->setText("untouched");

        bool acted = false;
        fAlerts.whileWaiting = [&] {
            Settle();  // the window hears that the delivery began
            fWindow->GetListView()->SelectEvent(due);
            Settle();
            QVERIFY(!deleteItem->isEnabled());
            QVERIFY(!cutItem->isEnabled());
            QVERIFY(fWindow->ActionFor(kCopyEventMsg)->isEnabled());
            fWindow->MessageReceived(Message(kDeleteEventMsg));
            fWindow->MessageReceived(Message(kCutEventMsg));
            fWindow->GetListView()->setFocus();
            QTest::keyClick(fWindow->GetListView(), Qt::Key_Delete);
            Settle();
            QCOMPARE(CountEvents(fSet), 2);
            QCOMPARE(QGuiApplication::clipboard()->text(), QString("untouched"));

            // Another event goes as usual.
            fWindow->GetListView()->SelectEvent(other);
            Settle();
            QVERIFY(deleteItem->isEnabled());
            fWindow->MessageReceived(Message(kDeleteEventMsg));
            QCOMPARE(CountEvents(fSet), 1);
            acted = true;
        };
        QuietLauncher launcher;
        DeliveryScheduler scheduler(launcher);
        scheduler.SetCounterForNextEvent(false);
        QCOMPARE(fAlerts.shown, 1);
        QVERIFY(acted);

        // Once the step is over, the delivered event can go.
        Settle();
        fWindow->GetListView()->SelectEvent(due);
        Settle();
        QVERIFY(deleteItem->isEnabled());
        QVERIFY(cutItem->isEnabled());
        fWindow->MessageReceived(Message(kDeleteEventMsg));
        QCOMPARE(CountEvents(fSet), 0);
    }

    void ClosingTheWindowWhileTheAlertWaitsLetsTheSetGoAfterTheStep()
    {
        AddDueEvent(fSet, "Due");
        {
            Autolock lock(fSet);
            fSet->ClearModified();
        }
        Settle();

        fAlerts.whileWaiting = [&] {
            fWindow->close();
            Settle();
            // Out of the list at once, so that nothing else finds it.
            QVERIFY(!IsLoaded(fSet));
        };
        QuietLauncher launcher;
        DeliveryScheduler scheduler(launcher);
        scheduler.SetCounterForNextEvent(false);
        QCOMPARE(fAlerts.shown, 1);
        Settle();
        QVERIFY(OpenSets::Sets.empty());
    }

private:
    std::unique_ptr<UiTestEnvironment> fEnvironment;
    ActingAlertPort fAlerts;
    EventSet* fSet = nullptr;
    EventSetWindow* fWindow = nullptr;
};

QTEST_MAIN(DeliveryAlertTest)
#include "DeliveryAlertTest.moc"
