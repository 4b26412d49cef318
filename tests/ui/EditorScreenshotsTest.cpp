// Renders the event editor with a realistic sample event, one picture per
// tab and one of the icon panel. With CALVORIN_SCREENSHOT_DIR set the
// pictures are written there (scripts/screenshots-editor); otherwise into
// a temporary folder, and the test checks that every tab draws something
// of its own.
#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include "EditorTestSupport.h"
#include "core/Clock.h"
#include "handlers/MessageDataHandler.h"
#include "ui/EventWhenView.h"
#include "ui/IconPanel.h"

class EditorScreenshotsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitEditorTests(); }

    void everyTabRenders()
    {
        QTemporaryDir scratch;
        const QString folder = qEnvironmentVariableIsSet("CALVORIN_SCREENSHOT_DIR")
                                   ? qEnvironmentVariable("CALVORIN_SCREENSHOT_DIR")
                                   : scratch.path();
        QVERIFY(QDir().mkpath(folder));

        ScopedClock clock(At(2024, 5, 6, 10, 15));
        EditorSetup s;
        {
            Autolock lock(s.set);
            Event* e = s.event;
            e->SetName("Dentist check-up");
            e->SetIcon(6, nullptr, nullptr);
            e->SetPeriodType(MultiMonthly);
            e->SetTimingType(ByDayOfWeek);
            e->SetMultiple(6);
            e->SetWeekOfMonth(1);
            e->SetDayOfWeek(2);
            e->SetMultiStartTime(At(2024, 1, 1));
            e->SetApplyTime(true);
            e->SetTimeToApply(9 * 3600 + 30 * 60);
            e->SetApplyPrewarn(true);
            e->SetPrewarnTime(1);
            e->SetPrewarnType(Days);
            e->SetApplyPrewarnRepeat(true);
            e->SetPrewarnRepeatTime(6);
            e->SetPrewarnRepeatType(Hours);
            e->SetPrewarnMessage("The check-up at Dr. Meyer's is tomorrow. Don't forget the "
                                 "insurance card.");
            e->SetApplyNag(true);
            e->SetNagRepeatTime(2);
            e->SetNagRepeatType(Hours);
            e->SetNagMessage("Did you book the next appointment?");
            e->SetComment("Dr. Meyer, Lindenstraße 12, second floor.\nPhone 0221 555 0192.\n\n"
                          "Ask about the crown on the upper left.");
            static_cast<MessageDataHandler*>(e->GetAddOnData(kMessageHandler))
                ->SetMessage("Dentist check-up at 9:30 with Dr. Meyer.\n\nLeave by 9:00 and take "
                             "the insurance card.");
        }
        // The handler's view shows the message it is made with.
        s.Reopen();
        s.window->resize(s.window->sizeHint().expandedTo(QSize(560, 540)));
        s.window->show();
        QVERIFY(QTest::qWaitForWindowExposed(s.window));

        static const char* const kNames[] = {"action", "when", "prewarning", "nagging", "comment"};
        QList<QImage> pictures;
        for (int tab = 0; tab < EventWindow::kTabCount; ++tab) {
            s.window->Tabs()->setCurrentIndex(tab);
            if (tab == EventWindow::kWhenTab)
                s.window->WhenView()->UpdatePreview();
            Settle();
            const QImage picture = s.window->grab().toImage();
            QCOMPARE(picture.size(), s.window->size() * picture.devicePixelRatio());
            for (const QImage& other : pictures)
                QVERIFY(picture != other);
            pictures << picture;
            QVERIFY(picture.save(QDir(folder).filePath(QStringLiteral("editor-%1.png").arg(kNames[tab]))));
        }
        QCOMPARE(s.window->WhenView()->PreviewLines().value(0), QString("Tue, Jul 09 2024, 09:30 AM"));

        // Several times a day: the interval unit and the daily stop.
        {
            Autolock lock(s.set);
            s.event->SetName("Stretch and drink some water");
            s.event->SetIcon(9, nullptr, nullptr);
            s.event->SetApplyPrewarn(false);
            s.event->SetPeriodType(SubDaily);
            s.event->SetMultiple(90);
            s.event->SetSubIntType(Minutes);
            s.event->SetMultiStartTime(At(2024, 5, 6, 8, 0));
            s.event->SetApplyStop(true);
            s.event->SetStopTime(18 * 3600);
        }
        s.window->Tabs()->setCurrentIndex(EventWindow::kWhenTab);
        s.window->RefreshAll();
        s.window->WhenView()->UpdatePreview();
        Settle();
        Settle();
        QCOMPARE(s.window->WhenView()->PreviewLines().value(0), QString("Mon, May 06 2024, 11:00 AM"));
        QVERIFY(s.window->grab().toImage().save(QDir(folder).filePath("editor-when-subdaily.png")));

        IconPanel* panel = s.window->GetIconPanel();
        panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(panel));
        Settle();
        const QImage picture = panel->grab().toImage();
        QVERIFY(!picture.isNull());
        QVERIFY(picture.save(QDir(folder).filePath("editor-icon-panel.png")));
    }
};

QTEST_MAIN(EditorScreenshotsTest)
#include "EditorScreenshotsTest.moc"
