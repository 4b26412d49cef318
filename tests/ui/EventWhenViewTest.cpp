// The "When" tab: each combination of period type and timing type shows
// just the fields it uses, each field writes just its own event fields, and
// the preview lists the occurrences the core computes at a fixed "now".
#include <QCalendarWidget>
#include <QLabel>
#include <QRadioButton>
#include <QTest>
#include <QTimeEdit>

#include <vector>

#include "EditorTestSupport.h"
#include "core/Clock.h"
#include "ui/DateField.h"
#include "ui/EventWhenView.h"

namespace {

// One letter per row of the tab, with a control that lives in that row.
struct RowControl {
    char letter;
    const char* control;
};
const RowControl kRows[] = {
    {'T', "ByDate"},         {'D', "EventDate"},     {'M', "MonthMenu"},
    {'N', "DayOfMonthMenu"}, {'W', "WeekOfMonthMenu"}, {'O', "WeeklyDayMenu"},
    {'E', "MultipleField"},  {'S', "StartDate"},     {'H', "TimeOfDay"},
    {'X', "StopTime"},       {'L', "MultipleUnit"},  {'U', "SubIntervalMenu"},
};

// The timing fields an edit may change, by name.
const char* const kFieldNames[] = {"PeriodType", "TimingType", "EventTime", "DayOfMonth",
                                   "WeekOfMonth", "DayOfWeek", "Month", "Multiple",
                                   "MultiStartTime", "ApplyTime", "TimeToApply", "SubIntType",
                                   "ApplyStop", "StopTime"};

std::vector<int64_t> TimingFields(const Event* e)
{
    return {e->GetPeriodType(), e->GetTimingType(), e->GetEventTime(), e->GetDayOfMonth(),
            e->GetWeekOfMonth(), e->GetDayOfWeek(), e->GetMonth(), e->GetMultiple(),
            e->GetMultiStartTime(), e->GetApplyTime(), e->GetTimeToApply(), e->GetSubIntType(),
            e->GetApplyStop(), e->GetStopTime()};
}

QStringList Changed(const std::vector<int64_t>& before, const std::vector<int64_t>& after)
{
    QStringList names;
    for (size_t i = 0; i < before.size(); ++i) {
        if (before[i] != after[i])
            names << kFieldNames[i];
    }
    return names;
}

void SetCombination(EditorSetup& s, int period, int timing)
{
    {
        Autolock lock(s.set);
        s.event->SetPeriodType(PeriodicityType(period));
        s.event->SetTimingType(TimingType(timing));
    }
    s.window->RefreshAll();
}

}  // namespace

class EventWhenViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitEditorTests(); }

    void combinationsShowJustTheirFields_data()
    {
        QTest::addColumn<int>("period");
        QTest::addColumn<int>("timing");
        QTest::addColumn<QString>("rows");
        struct Row {
            PeriodicityType period;
            TimingType timing;
            const char* rows;
        };
        const Row rows[] = {
            {Once, ByDate, "TDH"},
            {Annually, ByDate, "TDH"},        {Annually, ByDayOfMonth, "TMNH"},
            {Annually, ByDayOfWeek, "TMWH"},  {Monthly, ByDayOfMonth, "TNH"},
            {Monthly, ByDayOfWeek, "TWH"},    {Weekly, ByDayOfWeek, "TOH"},
            {Daily, ByDate, "H"},             {Weekdays, ByDate, "H"},
            {Weekends, ByDate, "H"},          {MultiAnnually, ByDate, "TDELSH"},
            {MultiAnnually, ByDayOfMonth, "TMNELSH"}, {MultiAnnually, ByDayOfWeek, "TMWELSH"},
            {MultiMonthly, ByDayOfMonth, "TNELSH"},   {MultiMonthly, ByDayOfWeek, "TWELSH"},
            {MultiWeekly, ByDayOfWeek, "TOELSH"},     {MultiDaily, ByDate, "ELSH"},
            {SubDaily, ByDate, "EUSX"},
        };
        for (const Row& row : rows) {
            QTest::addRow("%s %d", PeriodTypeNames[row.period], int(row.timing))
                << int(row.period) << int(row.timing) << row.rows;
        }
    }
    void combinationsShowJustTheirFields()
    {
        QFETCH(int, period);
        QFETCH(int, timing);
        QFETCH(QString, rows);
        EditorSetup s;
        EventWhenView* when = s.window->WhenView();
        Choose(s.Find<QComboBox>("PeriodMenu"), period);
        static const char* const kRadios[] = {"ByDate", "ByDayOfMonth", "ByDayOfWeek"};
        // Only the timing types the period type admits can be chosen.
        for (int t = 0; t < kNumberOfTimingTypes; ++t) {
            QCOMPARE(s.Find<QRadioButton>(kRadios[t])->isEnabled(),
                     AllowableTypeCombination[period * 3 + t] == 1);
        }
        if (rows.contains('T'))
            s.Find<QRadioButton>(kRadios[timing])->click();
        QCOMPARE(int(s.event->GetPeriodType()), period);
        if (rows.contains('T'))
            QCOMPARE(int(s.event->GetTimingType()), timing);
        QVERIFY(AllowableTypeCombination[period * 3 + s.event->GetTimingType()] == 1);
        for (const RowControl& row : kRows) {
            QCOMPARE(s.Find<QWidget>(row.control)->isVisibleTo(when), rows.contains(row.letter));
        }
    }

    void eachFieldWritesItsOwnEventFields_data()
    {
        QTest::addColumn<int>("period");
        QTest::addColumn<int>("timing");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QStringList>("changed");
        using L = QStringList;
        QTest::newRow("date typed") << int(Once) << int(ByDate) << "DateText" << "Jan 5 2002"
                                    << L{"EventTime"};
        QTest::newRow("date with a time") << int(Once) << int(ByDate) << "DateText"
                                          << "Jan 5 2002 3:05 pm"
                                          << L{"EventTime", "ApplyTime", "TimeToApply"};
        QTest::newRow("date from the calendar") << int(Annually) << int(ByDate) << "Calendar"
                                                << "2002-02-03" << L{"EventTime"};
        QTest::newRow("month") << int(Annually) << int(ByDayOfMonth) << "MonthMenu" << "7"
                               << L{"Month"};
        QTest::newRow("last day of month") << int(Annually) << int(ByDayOfMonth) << "DayOfMonthMenu"
                                           << "32" << L{"DayOfMonth"};
        QTest::newRow("week of month") << int(Monthly) << int(ByDayOfWeek) << "WeekOfMonthMenu"
                                       << "5" << L{"WeekOfMonth"};
        QTest::newRow("weekday of month") << int(Monthly) << int(ByDayOfWeek) << "WeekdayMenu"
                                          << "1" << L{"DayOfWeek"};
        QTest::newRow("weekly day") << int(Weekly) << int(ByDayOfWeek) << "WeeklyDayMenu" << "2"
                                    << L{"DayOfWeek"};
        QTest::newRow("every") << int(MultiWeekly) << int(ByDayOfWeek) << "MultipleField" << "3"
                               << L{"Multiple"};
        QTest::newRow("every zero") << int(MultiWeekly) << int(ByDayOfWeek) << "MultipleField"
                                    << "0" << L{};
        QTest::newRow("starting") << int(MultiDaily) << int(ByDate) << "StartText" << "Mar 3 2001"
                                  << L{"MultiStartTime"};
        QTest::newRow("use time of day") << int(Daily) << int(ByDate) << "ApplyTime" << ""
                                         << L{"ApplyTime"};
        QTest::newRow("sub-daily unit") << int(SubDaily) << int(ByDate) << "SubIntervalMenu"
                                        << QString::number(Minutes) << L{"SubIntType"};
        QTest::newRow("stop at") << int(SubDaily) << int(ByDate) << "ApplyStop" << "" << L{"ApplyStop"};
        QTest::newRow("stop time") << int(SubDaily) << int(ByDate) << "StopTime" << "18:30"
                                   << L{"StopTime"};
    }
    void eachFieldWritesItsOwnEventFields()
    {
        QFETCH(int, period);
        QFETCH(int, timing);
        QFETCH(QString, control);
        QFETCH(QString, input);
        QFETCH(QStringList, changed);
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        SetCombination(s, period, timing);
        const std::vector<int64_t> before = TimingFields(s.event);

        auto* when = s.window->WhenView();
        if (control == "DateText") {
            TypeAndCommit(when->findChild<DateField*>("EventDate")->LineEdit(), input);
        } else if (control == "StartText") {
            TypeAndCommit(when->findChild<DateField*>("StartDate")->LineEdit(), input);
        } else if (control == "Calendar") {
            emit when->findChild<DateField*>("EventDate")->Calendar()->clicked(
                QDate::fromString(input, Qt::ISODate));
        } else if (control == "MultipleField") {
            TypeAndCommit(s.Find<QLineEdit>("MultipleField"), input);
        } else if (control == "ApplyTime" || control == "ApplyStop") {
            s.Find<QCheckBox>(control.toLatin1().constData())->click();
        } else if (control == "StopTime") {
            s.Find<QTimeEdit>("StopTime")->setTime(QTime::fromString(input, "HH:mm"));
        } else {
            Choose(s.Find<QComboBox>(control.toLatin1().constData()), input.toInt());
        }
        QCOMPARE(Changed(before, TimingFields(s.event)), changed);
    }

    void typedDatesAndTimesStoreWhatWasMeant()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        auto* date = s.window->WhenView()->findChild<DateField*>("EventDate");
        TypeAndCommit(date->LineEdit(), "Jan 5 2002 3:05 pm");
        QCOMPARE(s.event->GetEventTime(), At(2002, 1, 5, 15, 5));
        QCOMPARE(s.event->GetTimeToApply(), int32_t(15 * 3600 + 5 * 60));
        QVERIFY(s.Find<QCheckBox>("ApplyTime")->isChecked());
        QCOMPARE(s.Find<QTimeEdit>("TimeOfDay")->time(), QTime(15, 5));
        QCOMPARE(date->LineEdit()->text(), QString("Sat, Jan 05 2002"));

        // A date alone keeps the time of day; the calendar does the same.
        TypeAndCommit(date->LineEdit(), "2002-02-10");
        QCOMPARE(s.event->GetEventTime(), At(2002, 2, 10, 15, 5));
        emit date->Calendar()->clicked(QDate(2002, 2, 14));
        QCOMPARE(s.event->GetEventTime(), At(2002, 2, 14, 15, 5));

        s.Find<QTimeEdit>("TimeOfDay")->setTime(QTime(7, 45));
        QCOMPARE(s.event->GetTimeToApply(), int32_t(7 * 3600 + 45 * 60));
        QCOMPARE(s.event->GetEventTime(), At(2002, 2, 14, 7, 45));
        Settle();
        QCOMPARE(s.Find<QLabel>("EventTimeText")->text(), QString("Thu, Feb 14 2002, 07:45 AM"));
    }

    void textThatIsNotADateChangesNothing()
    {
        ScopedClock clock(At(2001, 3, 1, 12));
        EditorSetup s;
        auto* date = s.window->WhenView()->findChild<DateField*>("EventDate");
        const int32_t before = s.event->GetEventTime();
        TypeAndCommit(date->LineEdit(), "when pigs fly");
        QCOMPARE(s.event->GetEventTime(), before);
        QVERIFY(!date->Feedback().isEmpty());
        QCOMPARE(date->LineEdit()->text(), QString("when pigs fly"));
        TypeAndCommit(date->LineEdit(), "next friday");
        QCOMPARE(s.event->GetEventTime(), At(2001, 3, 9));
        QVERIFY(date->Feedback().isEmpty());
    }

    void periodChangeKeepsTheTimingAllowed()
    {
        EditorSetup s;
        auto* period = s.Find<QComboBox>("PeriodMenu");
        Choose(period, Weekly);
        QCOMPARE(s.event->GetTimingType(), ByDayOfWeek);
        QVERIFY(s.Find<QRadioButton>("ByDayOfWeek")->isChecked());
        QVERIFY(!s.Find<QRadioButton>("ByDate")->isEnabled());
        // A disabled choice cannot sneak in.
        s.Find<QRadioButton>("ByDate")->click();
        QCOMPARE(s.event->GetTimingType(), ByDayOfWeek);
        // "Once" admits dates only: the timing in force before "Weekly" returns.
        Choose(period, Once);
        QCOMPARE(s.event->GetTimingType(), ByDate);
        QVERIFY(s.Find<QRadioButton>("ByDate")->isChecked());
        QVERIFY(!s.Find<QRadioButton>("ByDayOfWeek")->isEnabled());
    }

    void previewShowsTheNextOccurrences_data()
    {
        QTest::addColumn<int>("scenario");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("monthly on the 31st") << 0 << QStringList{
            "Wed, Feb 28 2001", "Sat, Mar 31 2001", "Mon, Apr 30 2001", "Thu, May 31 2001",
            "Sat, Jun 30 2001"};
        QTest::newRow("fourth Thursday of November") << 1 << QStringList{
            "Thu, Nov 28 2002", "Thu, Nov 27 2003", "Thu, Nov 25 2004", "Thu, Nov 24 2005",
            "Thu, Nov 23 2006"};
        QTest::newRow("every two hours until five") << 2 << QStringList{
            "Fri, Mar 02 2001, 09:30 AM", "Fri, Mar 02 2001, 11:30 AM", "Fri, Mar 02 2001, 01:30 PM",
            "Fri, Mar 02 2001, 03:30 PM", "Sat, Mar 03 2001, 09:30 AM"};
        QTest::newRow("weekly on Friday at eight") << 3 << QStringList{
            "Fri, Mar 02 2001, 08:00 AM", "Fri, Mar 09 2001, 08:00 AM", "Fri, Mar 16 2001, 08:00 AM",
            "Fri, Mar 23 2001, 08:00 AM", "Fri, Mar 30 2001, 08:00 AM"};
        QTest::newRow("once, already past") << 4 << QStringList{};
    }
    void previewShowsTheNextOccurrences()
    {
        QFETCH(int, scenario);
        QFETCH(QStringList, lines);
        const int32_t nows[] = {At(2001, 2, 10, 9), At(2001, 12, 1), At(2001, 3, 1, 16, 45),
                                At(2001, 3, 1, 12), At(2001, 3, 1, 12)};
        ScopedClock clock(nows[scenario]);
        EditorSetup s;
        {
            Autolock lock(s.set);
            Event* e = s.event;
            switch (scenario) {
                case 0:
                    e->SetPeriodType(Monthly);
                    e->SetTimingType(ByDayOfMonth);
                    e->SetDayOfMonth(31);
                    break;
                case 1:
                    e->SetPeriodType(Annually);
                    e->SetTimingType(ByDayOfWeek);
                    e->SetMonth(10);
                    e->SetWeekOfMonth(3);
                    e->SetDayOfWeek(4);
                    break;
                case 2:
                    e->SetPeriodType(SubDaily);
                    e->SetMultiple(2);
                    e->SetSubIntType(Hours);
                    e->SetMultiStartTime(At(2001, 3, 1, 9, 30));
                    e->SetApplyStop(true);
                    e->SetStopTime(17 * 3600);
                    break;
                case 3:
                    e->SetPeriodType(Weekly);
                    e->SetDayOfWeek(5);
                    e->SetApplyTime(true);
                    e->SetTimeToApply(8 * 3600);
                    break;
                default:
                    e->SetEventTime(At(2001, 1, 1), false);
                    break;
            }
        }
        s.window->RefreshAll();
        std::vector<int64_t> before = TimingFields(s.event);
        before.push_back(s.event->GetActualEventTime());
        before.push_back(s.event->GetNextEventTime());
        before.push_back(s.event->GetStatus());

        EventWhenView* when = s.window->WhenView();
        when->UpdatePreview();
        QCOMPARE(when->PreviewLines(), lines);
        if (lines.isEmpty())
            QCOMPARE(s.Find<QLabel>("Preview")->text(), QString("None: the event's time has passed."));

        // The preview leaves the event and "now" as they were.
        std::vector<int64_t> after = TimingFields(s.event);
        after.push_back(s.event->GetActualEventTime());
        after.push_back(s.event->GetNextEventTime());
        after.push_back(s.event->GetStatus());
        QCOMPARE(after, before);
        QCOMPARE(CurrentTime(), nows[scenario]);
    }

    void previewFollowsEdits()
    {
        ScopedClock clock(At(2001, 2, 10, 9));
        EditorSetup s;
        SetCombination(s, Monthly, ByDayOfMonth);
        Choose(s.Find<QComboBox>("DayOfMonthMenu"), 33);  // second to last
        QTRY_COMPARE(s.window->WhenView()->PreviewLines().value(0), QString("Tue, Feb 27 2001"));
    }
};

QTEST_MAIN(EventWhenViewTest)
#include "EventWhenViewTest.moc"
