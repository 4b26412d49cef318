// calvorinctl's event set commands: make, show, dump, change and re-save
// event set files through the same reader and writer as the application.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "calvorin/Event.h"
#include "calvorin/EventAddOnData.h"
#include "cli/CliCommand.h"
#include "cli/CliInput.h"
#include "cli/EventJson.h"
#include "core/ErrorReporting.h"
#include "core/EventSet.h"
#include "core/OpenSets.h"
#include "handlers/ActOnFileDataHandler.h"
#include "handlers/CommandDataHandler.h"
#include "handlers/HandlerRegistry.h"
#include "handlers/MessageDataHandler.h"
#include "handlers/UnknownDataHandler.h"

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

// Destroys a set the way the application does: with the open-sets lock and
// the set's own lock held.
struct SetDeleter {
    void operator()(EventSet* set) const
    {
        Autolock setsLock(OpenSets::Protect);
        set->Lock();
        delete set;
    }
};
using SetPointer = std::unique_ptr<EventSet, SetDeleter>;

// Reads a set, reporting failures in the application's words. Null when the
// set could not be read.
SetPointer ReadSet(const std::string& path)
{
    // Add-ons are not loaded: events of add-on handlers are kept by the
    // "Unknown" handler, which writes them back unchanged.
    if (NumberOfEventHandlers == 0)
        LoadBuiltInHandlers();
    ConstructorResult result = kReadComplete;
    bool ok = true;
    SetPointer set(new EventSet(path.c_str(), false, &result, &ok));
    if (result == kFileNotOpened) {
        ReportCompoundError("Calvorin: Attempt to open event set ", path.c_str(), " failed.");
        return nullptr;
    }
    if (result == kReadFailed) {
        ReportCompoundError("Calvorin: Attempt to read event set ", path.c_str(),
                            " failed because a file error occurred.  The file may be corrupted.");
        return nullptr;
    }
    if (result != kReadComplete) {
        ReportCompoundError("Calvorin: Attempt to create event set ", path.c_str(),
                            " failed because of an unknown error.");
        return nullptr;
    }
    if (!ok)  // the reader has told why (an unknown version)
        return nullptr;
    return set;
}

bool SaveSet(EventSet* set)
{
    Autolock lock(set);
    if (set->SaveData())
        return true;
    ReportCompoundError("Calvorin was unable to save the event set ", set->GetFileName(), ".");
    return false;
}

int Usage(const char* usage)
{
    return CommandUsageError(usage, "");
}

// Number of characters (not bytes) of a UTF-8 text, for aligning columns.
size_t DisplayWidth(const std::string& text)
{
    size_t width = 0;
    for (unsigned char c : text) {
        if ((c & 0xC0) != 0x80)
            ++width;
    }
    return width;
}

std::string Hex(const char* bytes, uint32_t length)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(size_t(length) * 2);
    for (uint32_t i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(bytes[i]);
        text += digits[c >> 4];
        text += digits[c & 15];
    }
    return text;
}

ordered_json Text(const char* text)
{
    return text != nullptr ? ordered_json(text) : ordered_json(nullptr);
}

// The registry name written for the event's handler; for an event whose
// handler is not loaded, the name of that handler.
std::string WrittenHandlerName(const Event* event)
{
    int32_t index = event->GetSelectedHandler();
    if (index == kUnknownHandler) {
        if (auto* unknown = dynamic_cast<UnknownDataHandler*>(event->GetAddOnData()))
            return unknown->GetOriginalHandler() != nullptr ? unknown->GetOriginalHandler() : "";
    }
    if (index >= 0 && index < NumberOfEventHandlers && AddOnNames[index] != nullptr)
        return AddOnNames[index];
    return "";
}

// The fields of the built-in handlers' data; add-ons' data is opaque here.
ordered_json HandlerDataJson(const Event* event)
{
    EventAddOnData* data = event->GetAddOnData();
    if (auto* message = dynamic_cast<MessageDataHandler*>(data))
        return {{"Message", Text(message->GetMessage())}};
    if (auto* command = dynamic_cast<CommandDataHandler*>(data))
        return {{"Command", Text(command->GetCommand())}, {"Verify", command->GetVerify()}};
    if (auto* file = dynamic_cast<ActOnFileDataHandler*>(data))
        return {{"File", Text(file->GetFileName())}, {"Verify", file->GetVerify()}};
    if (auto* unknown = dynamic_cast<UnknownDataHandler*>(data))
        return {{"OriginalHandler", Text(unknown->GetOriginalHandler())},
                {"Bytes", Hex(unknown->GetData(), unknown->GetData() ? unknown->GetDataLength() : 0)}};
    return ordered_json::object();
}

// Selects the handler named in the JSON and applies its "HandlerData".
bool ApplyHandlerJson(Event* event, const json& input, std::string* error)
{
    if (input.contains("Handler")) {
        if (!input["Handler"].is_string()) {
            *error = "\"Handler\" must be a text";
            return false;
        }
        std::string name = input["Handler"].get<std::string>();
        int32_t index = FindHandlerByName(name.c_str());
        if (index == kUnknownHandler) {
            *error = "there is no handler called \"" + name + "\"";
            return false;
        }
        event->SetSelectedHandler(index);
    }
    if (!input.contains("HandlerData"))
        return true;
    const json& fields = input["HandlerData"];
    if (!fields.is_object()) {
        *error = "\"HandlerData\" must be an object";
        return false;
    }
    auto text = [&](const char* key, std::string* value) {
        if (!fields.contains(key))
            return false;
        if (!fields[key].is_string() && !fields[key].is_null()) {
            *error = std::string("\"") + key + "\" must be a text";
            return false;
        }
        *value = fields[key].is_null() ? "" : fields[key].get<std::string>();
        return true;
    };
    auto flag = [&](bool* value) {
        if (!fields.contains("Verify"))
            return false;
        if (!fields["Verify"].is_boolean()) {
            *error = "\"Verify\" must be true or false";
            return false;
        }
        *value = fields["Verify"].get<bool>();
        return true;
    };
    EventAddOnData* data = event->GetAddOnData();
    std::string value;
    bool verify;
    if (auto* message = dynamic_cast<MessageDataHandler*>(data)) {
        if (text("Message", &value))
            message->SetMessage(value.c_str());
    } else if (auto* command = dynamic_cast<CommandDataHandler*>(data)) {
        if (text("Command", &value))
            command->SetCommand(value.c_str());
        if (flag(&verify))
            command->SetVerify(verify);
    } else if (auto* file = dynamic_cast<ActOnFileDataHandler*>(data)) {
        if (text("File", &value))
            file->SetFileName(value.c_str());
        if (flag(&verify))
            file->SetVerify(verify);
    } else if (!fields.empty()) {
        *error = "this handler's data cannot be given as JSON";
        return false;
    }
    return error->empty();
}

// The event to add: JSON text given on the command line, a JSON file, or
// standard input ("-" or nothing).
bool ReadInput(const std::vector<std::string>& args, size_t at, std::string* text,
               std::string* error)
{
    std::string path = args.size() > at ? args[at] : "-";
    size_t first = path.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && path[first] == '{') {
        *text = path;
        return true;
    }
    return ReadInputText(path, *text, error);
}

int RunNew(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return Usage("new FILE");
    const std::string& path = args[0];
    if (::access(path.c_str(), F_OK) == 0) {
        std::fprintf(stderr, "calvorinctl: %s already exists; not replaced\n", path.c_str());
        return 1;
    }
    SetPointer set(new EventSet(nullptr, false, nullptr, nullptr));
    {
        Autolock lock(set.get());
        set->SetFileName(path.c_str());
    }
    return SaveSet(set.get()) ? 0 : 1;
}

int RunList(const CliOptions& options, const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return Usage("list FILE");
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    Autolock lock(set.get());

    static const char* const headings[] = {"#", "Name", "Event time", "Next message time",
                                           "Handler", "Status"};
    std::vector<std::vector<std::string>> rows;
    for (int32_t i = 0; i < set->CountEvents(); ++i) {
        Event* event = set->EventAt(i);
        std::vector<std::string> row{std::to_string(i + 1)};
        for (int column = kNameColumn; column <= kStatusColumn; ++column) {
            const char* text = event->GetColumnText(column);
            row.emplace_back(text != nullptr ? text : "");
        }
        rows.push_back(std::move(row));
    }

    if (options.json) {
        json list = json::array();
        for (const auto& row : rows) {
            json item;
            for (size_t c = 1; c < row.size(); ++c)
                item[headings[c]] = row[c];
            list.push_back(item);
        }
        std::cout << list.dump(2) << "\n";
        return 0;
    }

    size_t widths[6];
    for (size_t c = 0; c < 6; ++c) {
        widths[c] = DisplayWidth(headings[c]);
        for (const auto& row : rows)
            widths[c] = std::max(widths[c], DisplayWidth(row[c]));
    }
    auto print = [&](const std::vector<std::string>& cells) {
        std::string line;
        for (size_t c = 0; c < cells.size(); ++c) {
            bool last = c + 1 == cells.size();
            std::string cell = cells[c];
            size_t pad = widths[c] - DisplayWidth(cell);
            if (c == 0)
                line += std::string(pad, ' ') + cell;  // numbers to the right
            else
                line += cell + (last ? "" : std::string(pad, ' '));
            if (!last)
                line += "  ";
        }
        std::cout << line << "\n";
    };
    print(std::vector<std::string>(std::begin(headings), std::end(headings)));
    for (const auto& row : rows)
        print(row);
    return 0;
}

int RunDump(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return Usage("dump FILE");
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    Autolock lock(set.get());

    // The document keeps its keys in the order given here; each event lists
    // its fields, then its handler.
    ordered_json events = ordered_json::array();
    for (int32_t i = 0; i < set->CountEvents(); ++i) {
        Event* event = set->EventAt(i);
        ordered_json item = ordered_json::parse(EventToJson(*event).dump());
        item["Handler"] = WrittenHandlerName(event);
        item["HandlerData"] = HandlerDataJson(event);
        events.push_back(std::move(item));
    }
    Rect frame = set->GetWindowFrame();
    json shown = json::array();
    json widths = json::array();
    json order = json::array();
    for (int c = 0; c < 6; ++c) {
        shown.push_back(set->GetColumnShown(c));
        widths.push_back(set->GetColumnWidth(c));
        order.push_back(set->GetColumnOrder()[c]);
    }
    int32_t keys[5];
    CLVSortMode modes[5];
    int32_t count = set->Sorting(keys, modes);
    ordered_json document = {
        {"Version", set->GetReadVersion()},
        {"ByteOrder", set->WasReadBigEndian() ? "big" : "little"},
        {"Events", events},
        {"WindowFrame", {frame.left, frame.top, frame.right, frame.bottom}},
        {"ColumnOrder", order},
        {"ColumnShown", shown},
        {"ColumnWidth", widths},
        {"NumberOfKeys", count},
        {"SortKeys", std::vector<int32_t>(keys, keys + 5)},
        {"SortModes", std::vector<int32_t>(modes, modes + 5)},
        {"ViewMode", int32_t(set->GetViewMode())},
    };
    std::cout << document.dump(2) << "\n";
    return 0;
}

int RunResave(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.empty() || args.size() > 2)
        return Usage("resave FILE [OUT]");
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    if (args.size() == 2) {
        Autolock lock(set.get());
        set->SetFileName(args[1].c_str());
    }
    return SaveSet(set.get()) ? 0 : 1;
}

int RunAdd(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.empty() || args.size() > 2)
        return Usage("add FILE [JSON|-]");
    std::string text;
    std::string error;
    json input;
    if (!ReadInput(args, 1, &text, &error) || !ParseJsonText(text, input, &error)) {
        std::fprintf(stderr, "calvorinctl: %s\n", error.c_str());
        return 1;
    }
    if (!input.is_object()) {
        std::fprintf(stderr, "calvorinctl: the event must be a JSON object\n");
        return 1;
    }
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    {
        Autolock lock(set.get());
        Event* event = new Event(set.get());
        if (!ApplyEventJson(input, *event, &error, {"Handler", "HandlerData"}) ||
            !ApplyHandlerJson(event, input, &error)) {
            std::fprintf(stderr, "calvorinctl: %s\n", error.c_str());
            delete event;
            return 1;
        }
        // Tools never open editor windows.
        event->RawFields().ShouldWindowOpen() = false;
        event->UpdateEventTime();
        set->AddEvent(event);
    }
    return SaveSet(set.get()) ? 0 : 1;
}

int RunRemove(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.size() != 2)
        return Usage("remove FILE N");
    char* end = nullptr;
    long number = std::strtol(args[1].c_str(), &end, 10);
    if (end == args[1].c_str() || *end != '\0')
        return Usage("remove FILE N");
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    {
        Autolock lock(set.get());
        if (number < 1 || number > set->CountEvents()) {
            std::fprintf(stderr, "calvorinctl: %s has no event %ld (it holds %d)\n",
                         args[0].c_str(), number, int(set->CountEvents()));
            return 1;
        }
        Event* event = set->EventAt(int32_t(number - 1));
        if (!event->GetDeletable()) {
            std::fprintf(stderr, "calvorinctl: event %ld (%s) may not be deleted\n", number,
                         event->GetName() != nullptr ? event->GetName() : "");
            return 1;
        }
        delete event;  // takes itself out of the set
    }
    return SaveSet(set.get()) ? 0 : 1;
}

int RunUpdate(const CliOptions&, const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return Usage("update FILE");
    SetPointer set = ReadSet(args[0]);
    if (!set)
        return 1;
    {
        Autolock lock(set.get());
        for (int32_t i = 0; i < set->CountEvents(); ++i)
            set->EventAt(i)->UpdateEventTime();
    }
    return SaveSet(set.get()) ? 0 : 1;
}

CliCommandRegistrar sNew({"new", "new FILE", "make an empty event set", RunNew});
CliCommandRegistrar sList({"list", "list FILE",
                           "show the events of a set, one per line (# is the N of remove)",
                           RunList});
CliCommandRegistrar sDump({"dump", "dump FILE", "everything in an event set, as JSON", RunDump});
CliCommandRegistrar sResave({"resave", "resave FILE [OUT]",
                             "read a set and write it again (to OUT if given)", RunResave});
CliCommandRegistrar sAdd({"add", "add FILE [JSON|-]",
                          "add an event given as JSON text, a JSON file or on stdin", RunAdd});
CliCommandRegistrar sRemove({"remove", "remove FILE N", "delete event N (as numbered by list)",
                             RunRemove});
CliCommandRegistrar sUpdate({"update", "update FILE",
                             "bring every event's times up to now and save", RunUpdate});

}  // namespace
