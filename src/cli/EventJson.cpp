#include "cli/EventJson.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include "calvorin/Event.h"
#include "core/ErrorReporting.h"

using nlohmann::json;

namespace {

enum class ValueKind {
    Name,      // text, never absent
    Text,      // text or null
    Flag,      // true or false
    Integer,   // integer within [min, max]
    Frame,     // [left, top, right, bottom]
};

// One key: what its value must be and where it goes.
struct FieldSpec {
    const char* key;
    ValueKind kind;
    int64_t min;
    int64_t max;
    void (*apply)(Event::Raw& raw, const json& value);
};

constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();
constexpr int64_t kUInt32Max = std::numeric_limits<uint32_t>::max();
constexpr int64_t kLastSecondOfDay = 86399;

void StoreText(char*& target, const json& value)
{
    if (value.is_null())
        SetNewString(nullptr, &target);
    else
        SetNewString(value.get_ref<const std::string&>().c_str(), &target);
}

int64_t IntegerOf(const json& value)
{
    return value.is_number_unsigned() ? int64_t(value.get<uint64_t>()) : value.get<int64_t>();
}

#define FIELD_INT(key, min, max, accessor, type)                                         \
    {key, ValueKind::Integer, min, max,                                                  \
     [](Event::Raw& raw, const json& value) { raw.accessor() = type(IntegerOf(value)); }}
#define FIELD_FLAG(key, accessor)                                                         \
    {key, ValueKind::Flag, 0, 0,                                                          \
     [](Event::Raw& raw, const json& value) { raw.accessor() = value.get<bool>(); }}
#define FIELD_TEXT(key, accessor)                                                         \
    {key, ValueKind::Text, 0, 0,                                                          \
     [](Event::Raw& raw, const json& value) { StoreText(raw.accessor(), value); }}

const FieldSpec kFields[] = {
    {"Name", ValueKind::Name, 0, 0,
     [](Event::Raw& raw, const json& value) {
         // The name is never absent: an empty name is kept as an empty text.
         const std::string& text = value.get_ref<const std::string&>();
         char* copy = new char[text.size() + 1];
         std::memcpy(copy, text.c_str(), text.size() + 1);
         delete[] raw.Name();
         raw.Name() = copy;
     }},
    FIELD_INT("NextEventTime", kInt32Min, kInt32Max, NextEventTime, int32_t),
    FIELD_INT("ActualEventTime", kInt32Min, kInt32Max, ActualEventTime, int32_t),
    FIELD_FLAG("Active", Active),
    FIELD_INT("Status", WaitingForPrewarning, DoneWithEvent, Status, EventStatus),
    FIELD_INT("PeriodType", 0, kNumberOfPeriodTypes - 1, PeriodType, PeriodicityType),
    FIELD_INT("Multiple", 0, kUInt32Max, Multiple, uint32_t),
    FIELD_INT("TimingType", 0, kNumberOfTimingTypes - 1, Timing, TimingType),
    FIELD_INT("SavedTimingType", 0, kNumberOfTimingTypes - 1, SavedTimingType, TimingType),
    FIELD_INT("EventTime", kInt32Min, kInt32Max, EventTime, int32_t),
    // 1..31 a day, 32 the last day, 33 the one before, ...
    FIELD_INT("DayOfMonth", 1, 62, DayOfMonth, int8_t),
    // 0..3 first to fourth, 4 last, 5 second to last, ...
    FIELD_INT("WeekOfMonth", 0, 7, WeekOfMonth, int8_t),
    FIELD_INT("DayOfWeek", 0, 6, DayOfWeek, int8_t),
    FIELD_INT("Month", 0, 11, Month, int8_t),
    FIELD_INT("MultiStartTime", kInt32Min, kInt32Max, MultiStartTime, int32_t),
    FIELD_FLAG("ApplyTime", ApplyTime),
    FIELD_INT("TimeToApply", 0, kLastSecondOfDay, TimeToApply, int32_t),
    FIELD_INT("SubIntType", 0, kNumberOfIntervalTypes - 1, SubIntType, TimeIntervalType),
    FIELD_FLAG("ApplyStop", ApplyStop),
    FIELD_INT("StopTime", 0, kLastSecondOfDay, StopTime, int32_t),
    FIELD_FLAG("Deletable", Deletable),
    FIELD_FLAG("ApplyPrewarn", ApplyPrewarn),
    FIELD_INT("PrewarnTime", 0, kUInt32Max, PrewarnTime, uint32_t),
    FIELD_INT("PrewarnType", 0, kNumberOfIntervalTypes - 1, PrewarnType, TimeIntervalType),
    FIELD_FLAG("ApplyPrewarnRepeat", ApplyPrewarnRepeat),
    FIELD_INT("PrewarnRepeatTime", 0, kUInt32Max, PrewarnRepeatTime, uint32_t),
    FIELD_INT("PrewarnRepeatType", 0, kNumberOfIntervalTypes - 1, PrewarnRepeatType,
              TimeIntervalType),
    FIELD_TEXT("PrewarnMessage", PrewarnMessage),
    FIELD_FLAG("ApplyNag", ApplyNag),
    FIELD_INT("NagRepeatTime", 0, kUInt32Max, NagRepeatTime, uint32_t),
    FIELD_INT("NagRepeatType", 0, kNumberOfIntervalTypes - 1, NagRepeatType, TimeIntervalType),
    FIELD_TEXT("NagMessage", NagMessage),
    FIELD_FLAG("DeliverIfMissed", DeliverIfMissed),
    FIELD_FLAG("DeleteOnceDelivered", DeleteOnceDelivered),
    FIELD_TEXT("Comment", Comment),
    // -2 the event's own icon, -1 none, 0..10 a standard icon.
    FIELD_INT("IconNumber", -2, 10, IconNumber, int32_t),
    {"WindowFrame", ValueKind::Frame, 0, 0,
     [](Event::Raw& raw, const json& value) {
         raw.WindowFrame() = Rect{value[0].get<float>(), value[1].get<float>(),
                                  value[2].get<float>(), value[3].get<float>()};
     }},
    FIELD_FLAG("ShouldWindowOpen", ShouldWindowOpen),
    FIELD_INT("TabShown", kInt32Min, kInt32Max, TabShown, int32_t),
    FIELD_FLAG("SkipNag", SkipNag),
    FIELD_FLAG("SkipPrewarn", SkipPrewarn),
};

#undef FIELD_INT
#undef FIELD_FLAG
#undef FIELD_TEXT

const FieldSpec* FindField(const std::string& key)
{
    for (const FieldSpec& field : kFields) {
        if (key == field.key)
            return &field;
    }
    return nullptr;
}

bool IsCleanText(const json& value)
{
    return value.is_string() && value.get_ref<const std::string&>().find('\0') == std::string::npos;
}

bool FitsFloat(const json& value)
{
    if (!value.is_number())
        return false;
    const double number = value.get<double>();
    return number == number && number >= -std::numeric_limits<float>::max() &&
           number <= std::numeric_limits<float>::max();
}

// Empty when the value suits the field, else why not.
std::string CheckValue(const FieldSpec& field, const json& value)
{
    switch (field.kind) {
        case ValueKind::Name:
            if (!value.is_string())
                return "expected a text";
            if (!IsCleanText(value))
                return "the text contains a zero byte";
            return std::string();
        case ValueKind::Text:
            if (value.is_null())
                return std::string();
            if (!value.is_string())
                return "expected a text or null";
            if (!IsCleanText(value))
                return "the text contains a zero byte";
            return std::string();
        case ValueKind::Flag:
            return value.is_boolean() ? std::string() : "expected true or false";
        case ValueKind::Integer: {
            if (!value.is_number_integer())
                return "expected a whole number";
            bool inRange;
            if (value.is_number_unsigned())
                inRange = value.get<uint64_t>() <= uint64_t(field.max);
            else
                inRange = value.get<int64_t>() >= field.min && value.get<int64_t>() <= field.max;
            if (!inRange)
                return value.dump() + " is out of range " + std::to_string(field.min) + ".." +
                       std::to_string(field.max);
            return std::string();
        }
        case ValueKind::Frame:
            if (!value.is_array() || value.size() != 4)
                return "expected [left, top, right, bottom]";
            for (const json& number : value) {
                if (!FitsFloat(number))
                    return "expected [left, top, right, bottom] as numbers";
            }
            return std::string();
    }
    return "unsupported value";
}

json TextOrNull(const char* text)
{
    return text != nullptr ? json(text) : json(nullptr);
}

}  // namespace

json EventToJson(Event& event)
{
    json object = json::object();
    object["Name"] = TextOrNull(event.GetName());
    object["NextEventTime"] = event.GetNextEventTime();
    object["ActualEventTime"] = event.GetActualEventTime();
    object["Active"] = event.GetActive();
    object["Status"] = int32_t(event.GetStatus());
    object["PeriodType"] = int32_t(event.GetPeriodType());
    object["Multiple"] = event.GetMultiple();
    object["TimingType"] = int32_t(event.GetTimingType());
    object["SavedTimingType"] = int32_t(event.GetSavedTimingType());
    object["EventTime"] = event.GetEventTime();
    object["DayOfMonth"] = int32_t(event.GetDayOfMonth());
    object["WeekOfMonth"] = int32_t(event.GetWeekOfMonth());
    object["DayOfWeek"] = int32_t(event.GetDayOfWeek());
    object["Month"] = int32_t(event.GetMonth());
    object["MultiStartTime"] = event.GetMultiStartTime();
    object["ApplyTime"] = event.GetApplyTime();
    object["TimeToApply"] = event.GetTimeToApply();
    object["SubIntType"] = int32_t(event.GetSubIntType());
    object["ApplyStop"] = event.GetApplyStop();
    object["StopTime"] = event.GetStopTime();
    object["Deletable"] = event.GetDeletable();
    object["ApplyPrewarn"] = event.GetApplyPrewarn();
    object["PrewarnTime"] = event.GetPrewarnTime();
    object["PrewarnType"] = int32_t(event.GetPrewarnType());
    object["ApplyPrewarnRepeat"] = event.GetApplyPrewarnRepeat();
    object["PrewarnRepeatTime"] = event.GetPrewarnRepeatTime();
    object["PrewarnRepeatType"] = int32_t(event.GetPrewarnRepeatType());
    object["PrewarnMessage"] = TextOrNull(event.GetPrewarnMessage());
    object["ApplyNag"] = event.GetApplyNag();
    object["NagRepeatTime"] = event.GetNagRepeatTime();
    object["NagRepeatType"] = int32_t(event.GetNagRepeatType());
    object["NagMessage"] = TextOrNull(event.GetNagMessage());
    object["DeliverIfMissed"] = event.GetDeliverIfMissed();
    object["DeleteOnceDelivered"] = event.GetDeleteOnceDelivered();
    object["Comment"] = TextOrNull(event.GetComment());
    object["IconNumber"] = event.GetIconNumber();
    const Rect frame = event.GetWindowFrame();
    object["WindowFrame"] = json::array({frame.left, frame.top, frame.right, frame.bottom});
    object["ShouldWindowOpen"] = event.GetShouldWindowOpen();
    object["TabShown"] = event.GetTabShown();
    object["SkipNag"] = event.GetSkipNag();
    object["SkipPrewarn"] = event.GetSkipPrewarn();
    json columns = json::array();
    for (int column = 0; column < kNumberOfColumns; ++column)
        columns.push_back(event.GetColumnText(column));
    object["Columns"] = columns;
    return object;
}

bool ApplyEventJson(const json& object, Event& event, std::string* error,
                    const std::set<std::string>& extraKeys)
{
    auto fail = [error](const std::string& text) {
        if (error != nullptr)
            *error = text;
        return false;
    };
    if (!object.is_object())
        return fail("expected a JSON object with the event's fields");

    // Check everything first, so that a rejected object changes nothing.
    for (const auto& [key, value] : object.items()) {
        if (extraKeys.count(key) != 0)
            continue;
        const FieldSpec* field = FindField(key);
        if (field == nullptr) {
            if (key == "Columns")
                continue;  // the row texts are computed, never read
            return fail("unknown key \"" + key + "\"");
        }
        const std::string problem = CheckValue(*field, value);
        if (!problem.empty())
            return fail("\"" + key + "\": " + problem);
    }

    Event::Raw raw = event.RawFields();
    for (const auto& [key, value] : object.items()) {
        if (extraKeys.count(key) != 0)
            continue;
        const FieldSpec* field = FindField(key);
        if (field != nullptr)
            field->apply(raw, value);
    }
    raw.RefreshColumns();
    return true;
}

namespace {

// Builds the document like the library's own parser, but remembers the
// error instead of throwing it.
class QuietSax : public nlohmann::detail::json_sax_dom_parser<json> {
public:
    QuietSax(json& out, std::string* error)
        : nlohmann::detail::json_sax_dom_parser<json>(out, false), fError(error)
    {
    }

    template <class Exception>
    bool parse_error(std::size_t /*position*/, const std::string& /*lastToken*/,
                     const Exception& problem)
    {
        if (fError != nullptr) {
            std::string text = problem.what();
            // Drop the library's "[json.exception.parse_error.101] " tag.
            const size_t end = text.find("] ");
            if (text.rfind("[json.exception.", 0) == 0 && end != std::string::npos)
                text.erase(0, end + 2);
            *fError = text;
        }
        return false;
    }

private:
    std::string* fError;
};

}  // namespace

bool ParseJsonText(const std::string& text, json& out, std::string* error)
{
    json result;
    QuietSax sax(result, error);
    if (!json::sax_parse(text, &sax, json::input_format_t::json, true, false))
        return false;
    out = std::move(result);
    return true;
}
