// Reading calvorinctl's inputs: a file or standard input ("-"), and one
// event given as a JSON object.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class Event;
class EventOwner;

// A command's own arguments: operands, and the values of its options.
struct CommandArguments {
    std::vector<std::string> operands;
    std::map<std::string, std::string> values;  // "--count" -> "3"
};

// Splits args into operands and the options in valueOptions ("--count N" or
// "--count=N"); anything else that starts with "-" (except "-" itself, and
// everything after "--") is refused with an error naming it.
bool SplitArguments(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                    CommandArguments& out, std::string* error);

// The one FILE operand, or "-" (standard input) when there is none; false
// when there are more.
bool SingleInputPath(const CommandArguments& arguments, std::string& path);

// Reports a usage error in one line and returns exit status 2:
// "calvorinctl: PROBLEM (usage: calvorinctl USAGE)", or without a problem
// "calvorinctl: usage: calvorinctl USAGE".
int CommandUsageError(const char* usage, const std::string& problem);

// Reads the whole file, or standard input for "-" or an empty path. Refuses
// inputs above a few megabytes. The error names the file and the reason.
bool ReadInputText(const std::string& path, std::string& text, std::string* error);

// A new event made at the current time and given the fields of the JSON
// object read from path; null with an error when the input cannot be read,
// is not JSON or names a field wrongly. The built-in handlers must be loaded.
std::unique_ptr<Event> ReadEventFromJson(const std::string& path, EventOwner* owner,
                                         std::string* error);

// Loads the built-in handlers, reads one event as JSON from path into an
// owner of its own and hands it to act; the handlers are unloaded after.
// Returns 0, or 1 with the error printed when the event cannot be read.
int WithEventFromJson(const std::string& path, const std::function<void(Event&)>& act);
