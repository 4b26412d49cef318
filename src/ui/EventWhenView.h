// The "When" tab of the event editor: how often the event repeats, how the
// day is chosen, and just the fields that this choice uses, with the next
// five occurrences shown underneath as the program will compute them.
// Every control writes straight into the event through its setters; only
// the timing types that the period type admits can be chosen.
#pragma once

#include <QStringList>
#include <QWidget>

#include <cstdint>
#include <memory>

#include "calvorin/Event.h"

class DateField;
class NumberField;
class OccurrencePreview;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QRadioButton;
class QTimeEdit;
class QTimer;
class IntervalUnitMenu;

class EventWhenView : public QWidget {
    Q_OBJECT

public:
    // The rows of the tab; FieldsFor says which a combination uses.
    enum Field : uint32_t {
        kTimingField = 1u << 0,
        kDateField = 1u << 1,
        kMonthField = 1u << 2,
        kDayOfMonthField = 1u << 3,
        kWeekAndDayField = 1u << 4,
        kWeekdayField = 1u << 5,
        kEveryField = 1u << 6,
        kStartingField = 1u << 7,
        kTimeOfDayField = 1u << 8,
        kStopField = 1u << 9,
    };
    static uint32_t FieldsFor(PeriodicityType period, TimingType timing);
    // The readable name of a period type in the menu.
    static QString PeriodLabel(PeriodicityType period);

    EventWhenView(Event* event, QWidget* parent = nullptr);
    ~EventWhenView() override;

    // Shows the event's current values and the rows they use; the preview
    // follows shortly after.
    void Refresh();
    // Works the preview out now.
    void UpdatePreview();
    QStringList PreviewLines() const { return fPreviewLines; }
    // The rows now shown.
    uint32_t ShownFields() const { return fShownFields; }

private:
    template <typename Store>
    void Change(Store store);
    void SchedulePreview();
    void ShowRows(uint32_t fields);

    Event* fEvent;
    QFormLayout* fForm;
    QComboBox* fPeriodMenu;
    QButtonGroup* fTimingGroup;
    QRadioButton* fTimingButtons[kNumberOfTimingTypes];
    DateField* fDateField;
    QComboBox* fMonthMenu;
    QComboBox* fDayOfMonthMenu;
    QComboBox* fWeekOfMonthMenu;
    QComboBox* fWeekdayMenu;
    QComboBox* fWeeklyDayMenu;
    NumberField* fMultipleField;
    QLabel* fMultipleUnit;
    IntervalUnitMenu* fSubUnitMenu;
    DateField* fStartField;
    QCheckBox* fApplyTimeBox;
    QTimeEdit* fTimeEdit;
    QCheckBox* fApplyStopBox;
    QTimeEdit* fStopEdit;
    QLabel* fPreview;
    QTimer* fPreviewTimer;
    std::unique_ptr<OccurrencePreview> fOccurrences;
    QStringList fPreviewLines;
    uint32_t fShownFields = 0;
    int fRows[10] = {};  // form row of each field bit
};
