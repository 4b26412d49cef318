#include "ui/EventWhenView.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTime>
#include <QTimeEdit>
#include <QTimer>
#include <QVBoxLayout>

#include <bit>
#include <iterator>

#include "core/CalendarFunctions.h"
#include "core/CalvorinSettings.h"
#include "core/Clock.h"
#include "core/TimeText.h"
#include "handlers/EventLock.h"
#include "ui/DateField.h"
#include "ui/IntervalUnitMenu.h"
#include "ui/NumberField.h"
#include "ui/OccurrencePreview.h"

namespace {

constexpr int kPreviewCount = 5;
constexpr int kLastDayItems = 7;  // "last" .. "seventh to last"

const char* const kPeriodLabels[kNumberOfPeriodTypes] = {
    "Once",
    "Every year",
    "Every month",
    "Every week",
    "Every day",
    "Every weekday (Monday to Friday)",
    "Every Saturday and Sunday",
    "Every N years",
    "Every N months",
    "Every N weeks",
    "Every N days",
    "Several times a day",
};
const char* const kTimingLabels[kNumberOfTimingTypes] = {"By date", "By day of month",
                                                         "By day of week"};
const char* const kCountWords[] = {"", "", "second", "third", "fourth", "fifth", "sixth", "seventh"};

QString Ordinal(int n)
{
    const int lastTwo = n % 100;
    const char* suffix = "th";
    if (lastTwo < 11 || lastTwo > 13) {
        switch (n % 10) {
            case 1: suffix = "st"; break;
            case 2: suffix = "nd"; break;
            case 3: suffix = "rd"; break;
            default: break;
        }
    }
    return QString::number(n) + QLatin1String(suffix);
}

// "last", "second to last", ..., counted from 1.
QString FromEnd(int n)
{
    if (n == 1)
        return QStringLiteral("last");
    if (n > 1 && n < int(std::size(kCountWords)))
        return QLatin1String(kCountWords[n]) + QLatin1String(" to last");
    return Ordinal(n) + QLatin1String(" to last");
}

QString DayOfMonthLabel(int value)
{
    if (value >= 1 && value <= 31)
        return Ordinal(value);
    if (value > 31)
        return FromEnd(value - 31);
    return QStringLiteral("day %1").arg(value);
}

QString WeekOfMonthLabel(int value)
{
    static const char* const kWeeks[] = {"first", "second", "third", "fourth"};
    if (value >= 0 && value <= 3)
        return QLatin1String(kWeeks[value]);
    if (value >= 4)
        return FromEnd(value - 3);
    return QStringLiteral("week %1").arg(value);
}

// Marks the item with that value, adding one (labelled) if the event holds
// a value the menu does not offer.
void ShowValue(QComboBox* menu, int value, const QString& label)
{
    int index = menu->findData(value);
    if (index < 0) {
        menu->addItem(label, value);
        index = menu->count() - 1;
    }
    if (menu->currentIndex() != index)
        menu->setCurrentIndex(index);
}

QTime TimeOfDay(int32_t seconds)
{
    return QTime(0, 0).addSecs(seconds);
}

void ShowTimeOfDay(QTimeEdit* edit, int32_t seconds)
{
    const QTime time = TimeOfDay(seconds);
    if (edit->time() != time)
        edit->setTime(time);
}

QTimeEdit* MakeTimeEdit(QWidget* parent, const char* name)
{
    auto* edit = new QTimeEdit(parent);
    edit->setObjectName(name);
    // The clock format of the settings (read as the date texts read it).
    edit->setDisplayFormat(CalvorinSettings::Time24Hour ? QStringLiteral("HH:mm")
                                                        : QStringLiteral("h:mm AP"));
    edit->setWrapping(true);
    return edit;
}

QComboBox* MakeMenu(QWidget* parent, const char* name)
{
    auto* menu = new QComboBox(parent);
    menu->setObjectName(name);
    menu->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return menu;
}

QHBoxLayout* Row(std::initializer_list<QWidget*> widgets)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    row->addStretch();
    return row;
}

}  // namespace

uint32_t EventWhenView::FieldsFor(PeriodicityType period, TimingType timing)
{
    // The day within a year or a month: a date, a day number, or a weekday
    // of a week of the month (the monthly kinds have no dates of their own).
    auto dayInYear = [timing] {
        switch (timing) {
            case ByDate: return uint32_t(kDateField);
            case ByDayOfMonth: return uint32_t(kMonthField | kDayOfMonthField);
            default: return uint32_t(kMonthField | kWeekAndDayField);
        }
    };
    auto dayInMonth = [timing] {
        return timing == ByDayOfMonth ? uint32_t(kDayOfMonthField) : uint32_t(kWeekAndDayField);
    };
    const uint32_t repeated = kEveryField | kStartingField;
    switch (period) {
        case Once: return kTimingField | kDateField | kTimeOfDayField;
        case Annually: return kTimingField | dayInYear() | kTimeOfDayField;
        case Monthly: return kTimingField | dayInMonth() | kTimeOfDayField;
        case Weekly: return kTimingField | kWeekdayField | kTimeOfDayField;
        case Daily:
        case Weekdays:
        case Weekends: return kTimeOfDayField;
        case MultiAnnually: return kTimingField | dayInYear() | repeated | kTimeOfDayField;
        case MultiMonthly: return kTimingField | dayInMonth() | repeated | kTimeOfDayField;
        case MultiWeekly: return kTimingField | kWeekdayField | repeated | kTimeOfDayField;
        case MultiDaily: return repeated | kTimeOfDayField;
        case SubDaily: return repeated | kStopField;
    }
    return 0;
}

QString EventWhenView::PeriodLabel(PeriodicityType period)
{
    return period >= Once && period <= SubDaily ? QString::fromLatin1(kPeriodLabels[period]) : QString();
}

EventWhenView::EventWhenView(Event* event, QWidget* parent) : QWidget(parent), fEvent(event)
{
    fPeriodMenu = MakeMenu(this, "PeriodMenu");
    for (int period = Once; period <= SubDaily; ++period)
        fPeriodMenu->addItem(PeriodLabel(PeriodicityType(period)), period);

    auto* timingRow = new QWidget(this);
    fTimingGroup = new QButtonGroup(this);
    static const char* const kTimingNames[kNumberOfTimingTypes] = {"ByDate", "ByDayOfMonth",
                                                                  "ByDayOfWeek"};
    auto* timingLayout = new QHBoxLayout(timingRow);
    timingLayout->setContentsMargins(0, 0, 0, 0);
    for (int timing = 0; timing < kNumberOfTimingTypes; ++timing) {
        fTimingButtons[timing] = new QRadioButton(tr(kTimingLabels[timing]), timingRow);
        fTimingButtons[timing]->setObjectName(kTimingNames[timing]);
        fTimingGroup->addButton(fTimingButtons[timing], timing);
        timingLayout->addWidget(fTimingButtons[timing]);
    }
    timingLayout->addStretch();

    fDateField = new DateField(this);
    fDateField->setObjectName("EventDate");

    fMonthMenu = MakeMenu(this, "MonthMenu");
    for (int month = 0; month < 12; ++month)
        fMonthMenu->addItem(QString::fromLatin1(MonthNames[month]), month);

    fDayOfMonthMenu = MakeMenu(this, "DayOfMonthMenu");
    for (int day = 1; day <= 31 + kLastDayItems; ++day)
        fDayOfMonthMenu->addItem(DayOfMonthLabel(day), day);
    fDayOfMonthMenu->insertSeparator(31);
    fDayOfMonthMenu->setMaxVisibleItems(16);

    fWeekOfMonthMenu = MakeMenu(this, "WeekOfMonthMenu");
    for (int week = 0; week <= 6; ++week)
        fWeekOfMonthMenu->addItem(WeekOfMonthLabel(week), week);
    fWeekdayMenu = MakeMenu(this, "WeekdayMenu");
    fWeeklyDayMenu = MakeMenu(this, "WeeklyDayMenu");
    for (int day = 0; day < 7; ++day) {
        fWeekdayMenu->addItem(QString::fromLatin1(DayNames[day]), day);
        fWeeklyDayMenu->addItem(QString::fromLatin1(DayNames[day]), day);
    }

    fMultipleField = new NumberField(this);
    fMultipleField->setObjectName("MultipleField");
    fMultipleUnit = new QLabel(this);
    fMultipleUnit->setObjectName("MultipleUnit");
    fSubUnitMenu = new IntervalUnitMenu(this, Hours, Minutes);
    fSubUnitMenu->setObjectName("SubIntervalMenu");

    fStartField = new DateField(this);
    fStartField->setObjectName("StartDate");

    fApplyTimeBox = new QCheckBox(tr("Use time of day:"), this);
    fApplyTimeBox->setObjectName("ApplyTime");
    fTimeEdit = MakeTimeEdit(this, "TimeOfDay");
    fApplyStopBox = new QCheckBox(tr("Stop at"), this);
    fApplyStopBox->setObjectName("ApplyStop");
    fStopEdit = MakeTimeEdit(this, "StopTime");

    fForm = new QFormLayout;
    fForm->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    fForm->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    fForm->addRow(tr("Repeats:"), fPeriodMenu);
    auto addRow = [this](Field field, QWidget* label, QLayout* row) {
        fRows[std::countr_zero(uint32_t(field))] = fForm->rowCount();
        fForm->addRow(label, row);
    };
    auto caption = [this](const QString& text) { return new QLabel(text, this); };
    addRow(kTimingField, caption(tr("Timing:")), Row({timingRow}));
    addRow(kDateField, caption(tr("Date:")), Row({fDateField}));
    fDateField->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("Wed, Sep 28 2000, 12:00 AM")) + 40);
    addRow(kMonthField, caption(tr("Month:")), Row({fMonthMenu}));
    addRow(kDayOfMonthField, caption(tr("Day of month:")), Row({fDayOfMonthMenu}));
    addRow(kWeekAndDayField, caption(tr("On the:")), Row({fWeekOfMonthMenu, fWeekdayMenu}));
    addRow(kWeekdayField, caption(tr("On:")), Row({fWeeklyDayMenu}));
    addRow(kEveryField, caption(tr("Every:")), Row({fMultipleField, fMultipleUnit, fSubUnitMenu}));
    addRow(kStartingField, caption(tr("Starting:")), Row({fStartField}));
    fStartField->setMinimumWidth(fDateField->minimumWidth());
    // The check boxes stand in the label column, right-aligned like the labels.
    auto boxLabel = [this](QCheckBox* box) {
        auto* holder = new QWidget(this);
        auto* row = new QHBoxLayout(holder);
        row->setContentsMargins(0, 0, 0, 0);
        row->addStretch();
        row->addWidget(box);
        return holder;
    };
    addRow(kTimeOfDayField, boxLabel(fApplyTimeBox), Row({fTimeEdit}));
    addRow(kStopField, boxLabel(fApplyStopBox), Row({fStopEdit}));

    auto* previewTitle = new QLabel(tr("Next occurrences:"), this);
    QFont bold = previewTitle->font();
    bold.setBold(true);
    previewTitle->setFont(bold);
    fPreview = new QLabel(this);
    fPreview->setObjectName("Preview");
    fPreview->setTextInteractionFlags(Qt::TextSelectableByMouse);
    fPreview->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    fPreview->setMinimumHeight(fontMetrics().lineSpacing() * kPreviewCount + 16);
    fPreview->setFrameShape(QFrame::StyledPanel);
    fPreview->setMargin(6);
    fPreview->setBackgroundRole(QPalette::Base);
    fPreview->setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fForm);
    layout->addSpacing(10);
    layout->addWidget(previewTitle);
    layout->addWidget(fPreview);
    layout->addStretch();

    fPreviewTimer = new QTimer(this);
    fPreviewTimer->setSingleShot(true);
    fPreviewTimer->setInterval(0);
    connect(fPreviewTimer, &QTimer::timeout, this, &EventWhenView::UpdatePreview);

    Refresh();

    // Only what the user does reaches the event: the menus' "activated", the
    // boxes' "clicked"; the time fields are quiet while Refresh sets them.
    connect(fPeriodMenu, &QComboBox::activated, this, [this](int index) {
        const auto period = PeriodicityType(fPeriodMenu->itemData(index).toInt());
        Change([period](Event* e) { e->SetPeriodType(period); });
    });
    connect(fTimingGroup, &QButtonGroup::idClicked, this, [this](int timing) {
        Change([timing](Event* e) {
            // Only a combination that the period type admits is stored.
            if (AllowableTypeCombination[e->GetPeriodType() * kNumberOfTimingTypes + timing] == 1)
                e->SetTimingType(TimingType(timing));
        });
    });
    connect(fDateField, &DateField::DateTyped, this, [this](int32_t time, bool hasTime) {
        Change([time, hasTime](Event* e) { e->SetEventTime(time, hasTime); });
    });
    connect(fDateField, &DateField::DatePicked, this, [this](const QDate& date) {
        const int32_t midnight = DateField::Midnight(date);
        // The time of day stays as it is.
        Change([midnight](Event* e) { e->SetEventTime(midnight, false); });
    });
    connect(fMonthMenu, &QComboBox::activated, this, [this](int index) {
        const int month = fMonthMenu->itemData(index).toInt();
        Change([month](Event* e) { e->SetMonth(static_cast<signed char>(month)); });
    });
    connect(fDayOfMonthMenu, &QComboBox::activated, this, [this](int index) {
        const int day = fDayOfMonthMenu->itemData(index).toInt();
        Change([day](Event* e) { e->SetDayOfMonth(static_cast<signed char>(day)); });
    });
    connect(fWeekOfMonthMenu, &QComboBox::activated, this, [this](int index) {
        const int week = fWeekOfMonthMenu->itemData(index).toInt();
        Change([week](Event* e) { e->SetWeekOfMonth(static_cast<signed char>(week)); });
    });
    for (QComboBox* menu : {fWeekdayMenu, fWeeklyDayMenu}) {
        connect(menu, &QComboBox::activated, this, [this, menu](int index) {
            const int day = menu->itemData(index).toInt();
            Change([day](Event* e) { e->SetDayOfWeek(static_cast<signed char>(day)); });
        });
    }
    connect(fMultipleField, &NumberField::Committed, this, [this] {
        uint32_t multiple = 0;
        // Anything below 1 is refused: the field shows the event's value again.
        if (NumberField::ParseValue(fMultipleField->text(), &multiple))
            Change([multiple](Event* e) { e->SetMultiple(multiple); });
        else
            Refresh();
    });
    connect(fSubUnitMenu, &QComboBox::activated, this, [this](int index) {
        const TimeIntervalType unit = fSubUnitMenu->UnitAt(index);
        Change([unit](Event* e) { e->SetSubIntType(unit); });
    });
    connect(fStartField, &DateField::DateTyped, this, [this](int32_t time, bool) {
        Change([time](Event* e) { e->SetMultiStartTime(time); });
    });
    connect(fStartField, &DateField::DatePicked, this, [this](const QDate& date) {
        const int32_t midnight = DateField::Midnight(date);
        Change([midnight](Event* e) {
            e->SetMultiStartTime(midnight + GetSecondsIntoDay(e->GetMultiStartTime()));
        });
    });
    connect(fApplyTimeBox, &QCheckBox::clicked, this, [this](bool on) {
        Change([on](Event* e) { e->SetApplyTime(on); });
    });
    connect(fTimeEdit, &QTimeEdit::timeChanged, this, [this](QTime time) {
        const int32_t seconds = QTime(0, 0).secsTo(time);
        Change([seconds](Event* e) { e->SetTimeToApply(seconds); });
    });
    connect(fApplyStopBox, &QCheckBox::clicked, this, [this](bool on) {
        Change([on](Event* e) { e->SetApplyStop(on); });
    });
    connect(fStopEdit, &QTimeEdit::timeChanged, this, [this](QTime time) {
        const int32_t seconds = QTime(0, 0).secsTo(time);
        Change([seconds](Event* e) { e->SetStopTime(seconds); });
    });
}

EventWhenView::~EventWhenView() = default;

template <typename Store>
void EventWhenView::Change(Store store)
{
    {
        EventLock lock(fEvent);
        store(fEvent);
    }
    Refresh();
}

void EventWhenView::Refresh()
{
    // Setting the controls must not store anything back.
    const QSignalBlocker blockTime(fTimeEdit);
    const QSignalBlocker blockStop(fStopEdit);
    uint32_t fields = 0;
    {
        EventLock lock(fEvent);
        const PeriodicityType period = fEvent->GetPeriodType();
        const TimingType timing = fEvent->GetTimingType();
        fields = FieldsFor(period, timing);

        ShowValue(fPeriodMenu, period, QStringLiteral("kind %1").arg(int(period)));
        for (int t = 0; t < kNumberOfTimingTypes; ++t) {
            const bool allowed = period >= Once && period <= SubDaily &&
                                 AllowableTypeCombination[period * kNumberOfTimingTypes + t] == 1;
            fTimingButtons[t]->setEnabled(allowed);
        }
        if (timing >= 0 && timing < kNumberOfTimingTypes)
            fTimingButtons[timing]->setChecked(true);

        fDateField->ShowTime(fEvent->GetEventTime(), false);
        ShowValue(fMonthMenu, fEvent->GetMonth(), QStringLiteral("month %1").arg(fEvent->GetMonth()));
        ShowValue(fDayOfMonthMenu, fEvent->GetDayOfMonth(), DayOfMonthLabel(fEvent->GetDayOfMonth()));
        ShowValue(fWeekOfMonthMenu, fEvent->GetWeekOfMonth(), WeekOfMonthLabel(fEvent->GetWeekOfMonth()));
        const QString dayLabel = QStringLiteral("day %1").arg(fEvent->GetDayOfWeek());
        ShowValue(fWeekdayMenu, fEvent->GetDayOfWeek(), dayLabel);
        ShowValue(fWeeklyDayMenu, fEvent->GetDayOfWeek(), dayLabel);

        fMultipleField->SetValue(fEvent->GetMultiple());
        static const char* const kUnits[] = {"years", "months", "weeks", "days"};
        const bool subDaily = period == SubDaily;
        if (period >= MultiAnnually && period <= MultiDaily)
            fMultipleUnit->setText(tr(kUnits[period - MultiAnnually]));
        fSubUnitMenu->SetUnit(fEvent->GetSubIntType());

        const int32_t start = fEvent->GetMultiStartTime();
        fStartField->ShowTime(start, subDaily || GetSecondsIntoDay(start) != 0);

        fApplyTimeBox->setChecked(fEvent->GetApplyTime());
        fTimeEdit->setEnabled(fEvent->GetApplyTime());
        ShowTimeOfDay(fTimeEdit, fEvent->GetTimeToApply());
        fApplyStopBox->setChecked(fEvent->GetApplyStop());
        fStopEdit->setEnabled(fEvent->GetApplyStop());
        ShowTimeOfDay(fStopEdit, fEvent->GetStopTime());
    }
    // Showing a row shows all of it; the unit of "Every" is chosen after.
    ShowRows(fields);
    const bool subDaily = (fields & kStopField) != 0;
    fMultipleUnit->setVisible((fields & kEveryField) != 0 && !subDaily);
    fSubUnitMenu->setVisible((fields & kEveryField) != 0 && subDaily);
    SchedulePreview();
}

void EventWhenView::ShowRows(uint32_t fields)
{
    if (fields == fShownFields)
        return;
    fShownFields = fields;
    for (int bit = 0; bit < int(std::size(fRows)); ++bit)
        fForm->setRowVisible(fRows[bit], (fields & (1u << bit)) != 0);
}

void EventWhenView::SchedulePreview()
{
    fPreviewTimer->start();
}

void EventWhenView::UpdatePreview()
{
    fPreviewTimer->stop();
    // Made here, never inside a set's lock: a new event takes the settings lock.
    if (!fOccurrences)
        fOccurrences = std::make_unique<OccurrencePreview>();
    bool withTime = false;
    bool once = false;
    bool zeroInterval = false;
    {
        EventLock lock(fEvent);
        fOccurrences->TakeTiming(fEvent);
        withTime = fEvent->GetApplyTime() || fEvent->GetPeriodType() == SubDaily;
        once = fEvent->GetPeriodType() == Once;
        zeroInterval = fEvent->GetPeriodType() >= MultiAnnually && fEvent->GetMultiple() == 0;
    }
    const std::vector<int32_t> times = fOccurrences->Next(kPreviewCount, CurrentTime());
    fPreviewLines.clear();
    for (int32_t time : times) {
        char buffer[kDateTimeStringSize];
        GetDateTimeString(time, withTime, buffer);
        fPreviewLines << QString::fromUtf8(buffer);
    }
    if (!fPreviewLines.isEmpty())
        fPreview->setText(fPreviewLines.join(QLatin1Char('\n')));
    else if (once)
        fPreview->setText(tr("None: the event's time has passed."));
    else if (zeroInterval)
        fPreview->setText(tr("None: the interval must be at least 1."));
    else
        fPreview->setText(tr("None"));
}
