// Reading calvorinctl's inputs: a file or standard input ("-"), and one
// event given as a JSON object.
#pragma once

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
