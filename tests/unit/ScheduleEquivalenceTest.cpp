// The skip ahead over years and months finds exactly what stepping one year
// or month at a time with mktime finds: many generated events of every
// period and timing type, evaluated both ways in three zones.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <ctime>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>

#include "ScopedTimeZone.h"
#include "TestOwner.h"
#include "calvorin/Event.h"
#include "core/Clock.h"
#include "core/EventSchedule.h"

namespace {

// A small deterministic generator (splitmix64), the same on every platform.
class Dice {
public:
    explicit Dice(uint64_t seed) : fState(seed) {}
    int64_t In(int64_t low, int64_t high)
    {
        fState += 0x9e3779b97f4a7c15ull;
        uint64_t z = fState;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        z ^= z >> 31;
        return low + int64_t(z % uint64_t(high - low + 1));
    }
    bool OneIn(int64_t n) { return In(1, n) == 1; }

private:
    uint64_t fState;
};

// A local time in the given years. The hours 01:00 to 02:59 are left out:
// on the nights the clocks change they do not exist or exist twice, and
// there mktime's choice depends on its history (see EventSchedule.cpp).
int32_t SomeLocalTime(Dice& dice, int firstYear, int lastYear)
{
    int hour = int(dice.In(0, 21));
    if (hour >= 1)
        hour += 2;
    if (dice.OneIn(8)) {  // a 29 February
        const int year = int(dice.In(firstYear / 4 + 1, lastYear / 4)) * 4;
        return LocalTime(year, 2, 29, hour, int(dice.In(0, 59)));
    }
    return LocalTime(int(dice.In(firstYear, lastYear)), int(dice.In(1, 12)), int(dice.In(1, 31)),
                     hour, int(dice.In(0, 59)), int(dice.In(0, 59)));
}

struct Outcome {
    int32_t actual;
    int32_t next;
    EventStatus status;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& o)
{
    return out << "{actual " << o.actual << ", next " << o.next << ", status " << o.status << "}";
}

Outcome Evaluate(Event& e, bool skipAhead)
{
    SetScheduleSkipAhead(skipAhead);
    e.UpdateEventTime();
    SetScheduleSkipAhead(true);
    return Outcome{e.GetActualEventTime(), e.GetNextEventTime(), e.GetStatus()};
}

std::string Describe(const Event& e, int32_t now)
{
    std::ostringstream text;
    text << PeriodTypeNames[e.GetPeriodType()] << " timing " << e.GetTimingType() << " x"
         << e.GetMultiple() << " event " << e.GetEventTime() << " start " << e.GetMultiStartTime()
         << " now " << now << " dom " << int(e.GetDayOfMonth()) << " wom "
         << int(e.GetWeekOfMonth()) << " dow " << int(e.GetDayOfWeek()) << " month "
         << int(e.GetMonth()) << " time " << e.GetApplyTime() << "/" << e.GetTimeToApply()
         << " prewarn " << e.GetApplyPrewarn() << "/" << e.GetPrewarnTime() << "/"
         << e.GetPrewarnType() << " repeat " << e.GetApplyPrewarnRepeat() << "/"
         << e.GetPrewarnRepeatTime() << "/" << e.GetPrewarnRepeatType();
    return text.str();
}

class ScheduleEquivalenceTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        EnsureBuiltInHandlers();
        fZone.emplace(GetParam());
    }
    void TearDown() override { fZone.reset(); }

    TestOwner owner;

private:
    std::optional<ScopedTimeZone> fZone;
};

INSTANTIATE_TEST_SUITE_P(Zones, ScheduleEquivalenceTest,
                         ::testing::Values("UTC", "Europe/Berlin", "America/New_York"),
                         [](const auto& info) {
                             std::string name = info.param;
                             for (char& c : name)
                                 c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

}  // namespace

TEST_P(ScheduleEquivalenceTest, SkipAheadFindsWhatStepByStepFinds)
{
    constexpr int kEvents = 4000;
    constexpr PeriodicityType kSteppingKinds[] = {Annually, Monthly, MultiAnnually, MultiMonthly};
    Dice dice(20011116);
    ScopedClock clock(0);
    for (int i = 0; i < kEvents; ++i) {
        Event e(&owner);
        auto raw = e.RawFields();
        // Half of them of the kinds that step through years and months.
        raw.PeriodType() = dice.OneIn(2) ? kSteppingKinds[dice.In(0, 3)]
                                         : PeriodicityType(dice.In(0, kNumberOfPeriodTypes - 1));
        raw.Timing() = TimingType(dice.In(0, kNumberOfTimingTypes - 1));
        raw.Multiple() = uint32_t(dice.In(1, 25));
        raw.EventTime() = SomeLocalTime(dice, 1990, 2030);
        raw.MultiStartTime() = SomeLocalTime(dice, 1990, 2030);
        raw.DayOfMonth() = int8_t(dice.In(1, 35));
        raw.WeekOfMonth() = int8_t(dice.In(0, 6));
        raw.DayOfWeek() = int8_t(dice.In(0, 6));
        raw.Month() = int8_t(dice.In(0, 11));
        raw.ApplyTime() = dice.OneIn(2);
        raw.TimeToApply() = int32_t(dice.In(0, 86399));
        raw.SubIntType() = TimeIntervalType(dice.In(Hours, Minutes));
        raw.ApplyStop() = dice.OneIn(2);
        raw.StopTime() = int32_t(dice.In(0, 86399));
        raw.ApplyPrewarn() = dice.OneIn(3);
        raw.PrewarnTime() = uint32_t(dice.In(0, 30));
        raw.PrewarnType() = TimeIntervalType(dice.In(Months, Minutes));
        raw.ApplyPrewarnRepeat() = dice.OneIn(2);
        raw.PrewarnRepeatTime() = uint32_t(dice.In(1, 12));
        raw.PrewarnRepeatType() = TimeIntervalType(dice.In(Months, Minutes));
        raw.SkipPrewarn() = dice.OneIn(8);
        const int32_t now = SomeLocalTime(dice, 2001, 2037);
        clock.Get().Set(now);

        const Outcome literal = Evaluate(e, false);
        const Outcome skipped = Evaluate(e, true);
        ASSERT_EQ(skipped, literal) << Describe(e, now);
    }
}
