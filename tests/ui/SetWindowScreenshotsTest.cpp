// Renders the event set window with a realistic sample set and the
// settings window with a few remembered sets. With CALVORIN_SCREENSHOT_DIR
// set the pictures are written there (scripts/screenshots); in every case
// the test checks that what a user reads is whole: every shown column is
// wide enough for its title, and no control of the settings window is cut
// off or covers another.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <cstdlib>
#include <ctime>

#include "UiTestSupport.h"
#include "calvorin/EventAddOnData.h"
#include "core/TimeText.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/MessageDataHandler.h"
#include "ui/EventListHeader.h"
#include "ui/EventListModel.h"
#include "ui/EventListView.h"
#include "ui/EventSetWindow.h"
#include "ui/SelectedSetsView.h"
#include "ui/SettingsWindow.h"
#include "ui/StandardIconArt.h"

namespace {

// A local time; month 1..12.
int32_t At(int year, int month, int day, int hour = 0, int minute = 0)
{
    struct tm cal = {};
    cal.tm_year = year - 1900;
    cal.tm_mon = month - 1;
    cal.tm_mday = day;
    cal.tm_hour = hour;
    cal.tm_min = minute;
    cal.tm_isdst = -1;
    return int32_t(mktime(&cal));
}

struct SampleEvent {
    const char* name;
    int icon;
    int32_t handler;
    PeriodicityType period;
    int32_t when;
    bool timeOfDay;
    bool active;
};

// A week in May of someone's calendar.
void FillSampleSet(EventSet* set)
{
    const SampleEvent samples[] = {
        {"Dentist check-up", 6, kMessageHandler, Once, At(2024, 5, 14, 9, 30), true, true},
        {"Pay the rent", 9, kMessageHandler, Monthly, At(2024, 6, 1, 8, 0), true, true},
        {"Mum's birthday", 2, kMessageHandler, Annually, At(2024, 6, 2), false, true},
        {"Back up the laptop", 10, kCommandHandler, Weekly, At(2024, 5, 12, 20, 0), true, true},
        {"Team stand-up", 5, kDoNothingHandler, Weekdays, At(2024, 5, 7, 9, 15), true, true},
        {"Call the garage", 3, kMessageHandler, Once, At(2024, 5, 8, 11, 0), true, true},
        {"Read the tax return draft", 4, kActOnFileHandler, Once, At(2024, 5, 10, 17, 30), true, true},
        {"Water the plants", 1, kMessageHandler, Daily, At(2024, 5, 6, 18, 0), true, true},
        {"Renew the passport", 7, kMessageHandler, Once, At(2024, 7, 1, 10, 0), true, false},
    };
    Autolock lock(set);
    for (const SampleEvent& sample : samples) {
        auto* event = new Event(set);
        event->RawFields().ShouldWindowOpen() = false;
        event->SetName(sample.name);
        event->SetIcon(sample.icon, nullptr, nullptr);
        event->SetSelectedHandler(sample.handler);
        event->SetPeriodType(sample.period);
        event->SetEventTime(sample.when, sample.timeOfDay);
        if (sample.handler == kCommandHandler)
            static_cast<CommandDataHandler*>(event->GetAddOnData())->SetCommand("rsync -a ~/ /media/backup/");
        if (sample.handler == kMessageHandler)
            static_cast<MessageDataHandler*>(event->GetAddOnData())->SetMessage(sample.name);
        if (sample.period == Once && sample.handler == kMessageHandler) {
            event->SetApplyPrewarn(true);
            event->SetPrewarnTime(1);
            event->SetPrewarnType(Days);
        }
        event->SetActive(sample.active);
        set->AddEvent(event);
    }
    set->ClearModified();
}

QString Folder(const QTemporaryDir& scratch)
{
    return qEnvironmentVariableIsSet("CALVORIN_SCREENSHOT_DIR") ? qEnvironmentVariable("CALVORIN_SCREENSHOT_DIR")
                                                                 : scratch.path();
}

// The controls a user reads or uses, in the window's coordinates.
QList<QRect> ControlRects(QWidget* window)
{
    QList<QRect> rects;
    for (QWidget* child : window->findChildren<QWidget*>()) {
        if (!child->isVisible() || child->parentWidget() != window)
            continue;
        if (qobject_cast<QCheckBox*>(child) || qobject_cast<QComboBox*>(child) ||
            qobject_cast<QLabel*>(child) || qobject_cast<QPushButton*>(child) ||
            qobject_cast<SelectedSetsView*>(child))
            rects << child->geometry();
    }
    return rects;
}

}  // namespace

class SetWindowScreenshotsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        setenv("TZ", "UTC", 1);
        tzset();
        InitSafeTime();
        QApplication::setStyle(QStringLiteral("Fusion"));
        InstallEventSetWindowFactory();
        StandardIconArt::Install();
    }

    void init() { fEnvironment = std::make_unique<UiTestEnvironment>(); }

    void cleanup()
    {
        for (QWidget* widget : QApplication::topLevelWidgets())
            widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        UnloadSetsWithoutWindows();
        fEnvironment.reset();
    }

    void EventSetWindow()
    {
        ScopedClock clock(At(2024, 5, 6, 10, 15));
        QTemporaryDir scratch;
        QVERIFY(QDir().mkpath(Folder(scratch)));

        {
            // The sample set shows every column and sorts by event time.
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::ColumnShown[kNextMessageTimeColumn] = true;
            CalvorinSettings::SetWindowPosition.SetCurrentDefault(Rect{40, 40, 879, 319});
        }
        EventSet* set = NewLoadedSet(false);
        FillSampleSet(set);
        {
            Autolock lock(set);
            set->SetFileName(fEnvironment->Path("Home and work.calvorin").c_str());
            set->SetWindowFrame(Rect{40, 40, 879, 319});
            set->OpenWindow();
        }
        auto* window = dynamic_cast<::EventSetWindow*>(set->GetWindow());
        QVERIFY(window != nullptr);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        EventListView* list = window->GetListView();
        list->SelectEvent(list->Model()->EventAt(2));
        Settle();

        // Every shown column shows its whole title.
        QHeaderView* header = list->header();
        for (int column = kNameColumn; column < kNumberOfColumns; ++column) {
            if (header->isSectionHidden(column))
                continue;
            QVERIFY2(header->sectionSize(column) >= list->Header()->TitleWidth(column),
                     EventListModel::ColumnTitle(column));
        }
        // The columns fit the window without a sideways scroll bar.
        QVERIFY2(header->length() <= list->viewport()->width(),
                 qPrintable(QString("%1 > %2").arg(header->length()).arg(list->viewport()->width())));
        QCOMPARE(list->Model()->rowCount(), 9);

        const QImage picture = window->grab().toImage();
        QCOMPARE(picture.size(), window->size() * picture.devicePixelRatio());
        QVERIFY(picture.save(QDir(Folder(scratch)).filePath("event-set-window.png")));
    }

    void SettingsWindow()
    {
        QTemporaryDir scratch;
        QVERIFY(QDir().mkpath(Folder(scratch)));
        {
            Autolock lock(CalvorinSettings::Protect);
            CalvorinSettings::RememberSet("/home/ann/Documents/Home and work.calvorin");
            CalvorinSettings::RememberSet("/home/ann/Documents/Birthdays.calvorin");
            CalvorinSettings::RememberSet("/home/ann/Projects/Garden club/Meetings 2024.calvorin");
        }
        ::SettingsWindow* window = ::SettingsWindow::Open();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->SetsView()->item(1)->setSelected(true);
        Settle();

        // At the size it opens with, nothing is cut off and nothing overlaps.
        const QList<QRect> rects = ControlRects(window);
        QCOMPARE(rects.size(), 9);
        for (int i = 0; i < rects.size(); ++i) {
            QVERIFY(window->rect().contains(rects[i]));
            for (int j = i + 1; j < rects.size(); ++j)
                QVERIFY(!rects[i].intersects(rects[j]));
        }
        QVERIFY(window->DeliveryMenu()->width() >= window->DeliveryMenu()->sizeHint().width());

        const QImage picture = window->grab().toImage();
        QVERIFY(picture.save(QDir(Folder(scratch)).filePath("settings-window.png")));
    }

private:
    std::unique_ptr<UiTestEnvironment> fEnvironment;
};

QTEST_MAIN(SetWindowScreenshotsTest)
#include "SetWindowScreenshotsTest.moc"
