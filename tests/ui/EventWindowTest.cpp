// The event editor window: what its header shows and writes, the tab and
// frame it keeps in the event, the codes that refresh it, how it closes,
// and the handler choice with each handler's edit view.
#include <QLabel>
#include <QPlainTextEdit>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <atomic>
#include <thread>

#include "EditorTestSupport.h"
#include "calvorin/EventAddOnData.h"
#include "core/Clock.h"
#include "core/EventSetWindowPort.h"
#include "core/StandardIcons.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"
#include "ui/EventActionView.h"
#include "ui/EventWhenView.h"
#include "ui/IconPalette.h"

namespace {

QString Text(EditorSetup& s, const char* label)
{
    return s.Find<QLabel>(label)->text();
}

// A set window that shows nothing: what the editor needs of one is only
// that it opens.
class QuietSetWindow : public EventSetWindowPort {
public:
    void PostMessage(const Message&) override {}
    void AddEventToView(Event*) override {}
    void SortEvents() override {}
    void RemoveEventFromView(Event*) override {}
    void Activate() override {}
};
QuietSetWindow gQuietSetWindow;
EventSetWindowPort* MakeQuietSetWindow(EventSet*)
{
    return &gQuietSetWindow;
}

QImage ButtonImage(QToolButton* button)
{
    return button->icon().pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

}  // namespace

class EventWindowTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitEditorTests(); }

    void headerShowsAndWritesTheEvent()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        {
            Autolock lock(s.set);
            s.event->SetName("Dentist");
            s.event->SetEventTime(At(2001, 3, 20, 9, 30), true);
        }
        s.window->RefreshAll();
        QCOMPARE(s.window->windowTitle(), QString("Dentist"));
        QCOMPARE(s.Find<QLineEdit>("NameField")->text(), QString("Dentist"));
        QCOMPARE(Text(s, "EventTimeText"), QString("Tue, Mar 20 2001, 09:30 AM"));
        QCOMPARE(Text(s, "NextTimeText"), QString("Tue, Mar 20 2001, 09:30 AM"));
        QCOMPARE(Text(s, "StatusText"), QString("Waiting for event"));

        QStringList tabs;
        for (int i = 0; i < s.window->Tabs()->count(); ++i)
            tabs << s.window->Tabs()->tabText(i);
        QCOMPARE(tabs, QStringList({"Action", "When", "Prewarning", "Nagging", "Comment"}));

        TypeAndCommit(s.Find<QLineEdit>("NameField"), "Dentist at 9:30");
        QCOMPARE(QByteArray(s.event->GetName()), QByteArray("Dentist at 9:30"));
        QCOMPARE(s.window->windowTitle(), QString("Dentist at 9:30"));
        // An event always has a name.
        TypeAndCommit(s.Find<QLineEdit>("NameField"), "");
        QCOMPARE(QByteArray(s.event->GetName()), QByteArray("Dentist at 9:30"));
        QCOMPARE(s.Find<QLineEdit>("NameField")->text(), QString("Dentist at 9:30"));

        s.Find<QCheckBox>("ActiveBox")->click();
        QVERIFY(!s.event->GetActive());
        QCOMPARE(Text(s, "StatusText"), QString("Inactive"));

        s.Find<QCheckBox>("DeliverIfMissed")->click();
        s.Find<QCheckBox>("DeleteOnceDelivered")->click();
        QVERIFY(!s.event->GetDeliverIfMissed());
        QVERIFY(s.event->GetDeleteOnceDelivered());
    }

    void codesFromTheEventRefreshTheWindow()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        // Changes made elsewhere (delivery, another window) reach the window
        // as the codes 45 and 55.
        {
            Autolock lock(s.set);
            s.event->SetEventTime(At(2001, 4, 2), false);
            s.event->SetIcon(3, nullptr, nullptr);
            s.event->SetActive(false);
        }
        QVERIFY(Text(s, "EventTimeText") != QString("Mon, Apr 02 2001"));
        Settle();
        QCOMPARE(Text(s, "EventTimeText"), QString("Mon, Apr 02 2001"));
        QCOMPARE(s.Find<QLineEdit>("DateText")->text(), QString("Mon, Apr 02 2001"));
        QCOMPARE(Text(s, "StatusText"), QString("Inactive"));
        const QImage expected = IconPalette::ToImage(*GetStandardIcon(3, true));
        QCOMPARE(ButtonImage(s.Find<QToolButton>("IconButton")),
                 expected.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }

    void tabAndFrameAreKeptInTheEvent()
    {
        EditorSetup s;
        s.window->Tabs()->setCurrentIndex(EventWindow::kNagTab);
        s.window->setGeometry(130, 140, 620, 560);
        Settle();
        QCOMPARE(s.event->GetTabShown(), int32_t(EventWindow::kNagTab));
        s.event->GetWindow()->Quit();
        QCOMPARE(s.event->GetWindow(), nullptr);
        const Rect frame = s.event->GetWindowFrame();
        QCOMPARE(frame, (Rect{130, 140, 749, 699}));
        QPointer<EventWindow> first = s.window;
        s.Reopen();
        EventWindow* again = s.window;
        QVERIFY(again != nullptr && first.isNull());
        QCOMPARE(again->Tabs()->currentIndex(), int(EventWindow::kNagTab));
        QCOMPARE(again->geometry(), QRect(130, 140, 620, 560));
    }

    void quitClosesTheWindowBeforeReturning()
    {
        EditorSetup s;
        EventAddOnData* data = s.event->GetAddOnData();
        QVERIFY(data->GetEditView() != nullptr);
        QPointer<EventWindow> window = s.window;
        s.event->GetWindow()->Quit();
        QCOMPARE(s.event->GetWindow(), nullptr);
        QCOMPARE(data->GetEditView(), nullptr);
        Settle();
        QVERIFY(window.isNull());
    }

    void quitFromAnotherThreadWaitsForTheWindow()
    {
        EditorSetup s;
        EventWindowPort* port = s.event->GetWindow();
        std::atomic<bool> returned{false};
        std::atomic<bool> closedOnReturn{false};
        std::thread other([&] {
            port->Quit();
            closedOnReturn = s.event->GetWindow() == nullptr;
            returned = true;
        });
        QTRY_VERIFY(returned.load());
        other.join();
        QVERIFY(closedOnReturn.load());
    }

    void closingTheSetClosesEveryEditor()
    {
        auto* set = new EventSet(nullptr, false, nullptr, nullptr);
        QList<QPointer<EventWindow>> windows;
        {
            Autolock lock(set);
            for (int i = 0; i < 3; ++i) {
                set->AddEvent(nullptr);
                set->EventAt(i)->OpenWindow();
                windows << dynamic_cast<EventWindow*>(set->EventAt(i)->GetWindow());
            }
        }
        // The set goes with its window (it is not a remembered set).
        set->WindowClosed();
        Settle();
        for (const QPointer<EventWindow>& window : windows)
            QVERIFY(window.isNull());
    }

    void editorsOpenAgainWithTheirSet()
    {
        QTemporaryDir folder;
        const QByteArray path = folder.filePath("open-editors.calvorin").toUtf8();
        {
            EditorSetup s;
            Autolock lock(s.set);
            s.set->AddEvent(nullptr);  // no set window: its editor stays closed
            s.set->SetFileName(path.constData());
            QVERIFY(s.set->SaveData());
        }
        SetEventSetWindowFactory(&MakeQuietSetWindow);
        InstallEventEditor();
        ConstructorResult result = kReadFailed;
        bool ok = false;
        auto* set = new EventSet(path.constData(), true, &result, &ok);
        SetEventSetWindowFactory(nullptr);
        QVERIFY(ok && result == kReadComplete);
        QCOMPARE(set->GetWindow(), static_cast<EventSetWindowPort*>(&gQuietSetWindow));
        QVERIFY(dynamic_cast<EventWindow*>(set->EventAt(0)->GetWindow()) != nullptr);
        QCOMPARE(set->EventAt(1)->GetWindow(), nullptr);
        set->WindowClosed();
        Settle();
    }

    void switchingHandlersKeepsEachHandlersData()
    {
        EditorSetup s;
        auto* menu = s.Find<QComboBox>("HandlerMenu");
        QCOMPARE(menu->currentText(), QString("Message"));
        QTest::keyClicks(s.Find<QPlainTextEdit>("MessageEditView"), "Take the pills");

        Choose(menu, kCommandHandler);
        QCOMPARE(s.event->GetSelectedHandler(), int32_t(kCommandHandler));
        QVERIFY(s.window->findChild<QPlainTextEdit*>("MessageEditView") == nullptr);
        TypeAndCommit(s.Find<QLineEdit>("CommandField"), "notify-send pills");

        Choose(menu, kDoNothingHandler);
        QCOMPARE(s.window->ActionView()->CurrentEditView(), nullptr);

        Choose(menu, kMessageHandler);
        QCOMPARE(s.Find<QPlainTextEdit>("MessageEditView")->toPlainText(), QString("Take the pills"));
        Choose(menu, kCommandHandler);
        QCOMPARE(s.Find<QLineEdit>("CommandField")->text(), QString("notify-send pills"));

        auto* message = static_cast<MessageDataHandler*>(s.event->GetAddOnData(kMessageHandler));
        auto* command = static_cast<CommandDataHandler*>(s.event->GetAddOnData(kCommandHandler));
        QCOMPARE(QByteArray(message->GetMessage()), QByteArray("Take the pills"));
        QCOMPARE(QByteArray(command->GetCommand()), QByteArray("notify-send pills"));
        // Only the selected handler has a view.
        QCOMPARE(message->GetEditView(), nullptr);
        QCOMPARE(command->GetEditView(), s.window->ActionView()->CurrentEditView());
    }

    void unknownCanBeChosenOnlyWithUnknownData()
    {
        EditorSetup s;
        auto* menu = s.Find<QComboBox>("HandlerMenu");
        auto* model = qobject_cast<QStandardItemModel*>(menu->model());
        QCOMPARE(menu->count(), int(NumberOfEventHandlers));
        QVERIFY(!model->item(kUnknownHandler)->isEnabled());
        emit menu->activated(kUnknownHandler);
        QCOMPARE(s.event->GetSelectedHandler(), int32_t(kMessageHandler));

        auto* unknown = new UnknownDataHandler(s.event);
        unknown->SetOriginalHandler("Weather");
        s.event->RawFields().AddOnData()[kUnknownHandler] = unknown;
        s.window->RefreshAll();
        QVERIFY(model->item(kUnknownHandler)->isEnabled());
        Choose(menu, kUnknownHandler);
        QCOMPARE(s.event->GetSelectedHandler(), int32_t(kUnknownHandler));
    }
};

QTEST_MAIN(EventWindowTest)
#include "EventWindowTest.moc"
