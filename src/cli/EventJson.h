// The JSON form of an event that calvorinctl reads and prints: one object
// whose keys are the event's field names (times as epoch seconds,
// enumerations as their numbers, absent texts as null).
#pragma once

#include <set>
#include <string>

#include <nlohmann/json.hpp>

class Event;

// Every stored field of the event, plus "Columns": its six list-row texts
// (column 0 is the icon number).
nlohmann::json EventToJson(Event& event);

// Sets the fields the object names exactly as given, without the setters'
// side effects, then refreshes the row texts. Keys in extraKeys are left for
// the caller (for example "Handler"); "Columns", which EventToJson adds, is
// ignored. An unknown key, a value of the wrong type or out of range gives
// false and an error naming the key; the event is then unchanged.
bool ApplyEventJson(const nlohmann::json& object, Event& event, std::string* error,
                    const std::set<std::string>& extraKeys = {});

// Parses JSON text without throwing. On failure the error tells where
// ("parse error at line 1, column 7: ...").
bool ParseJsonText(const std::string& text, nlohmann::json& out, std::string* error);
