// The process-wide table of event handlers: the five built-ins at indices
// 0..4 and the add-ons loaded at start-up from the add-on folders after
// them. Filled once before any event exists and emptied once after the last
// one is gone; read-only in between.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calvorin/AddOn.h"

extern int8_t NumberOfEventHandlers;
extern const char** AddOnNames;
extern NewAddOnDataFunction* Function_NewAddOnData;
extern void** AddOnImages;  // dlopen handles, index = handler index - 5

extern char DefHandUnknownName[];
extern char DefHandDoNothingName[];
extern char DefHandMessageName[];
extern char DefHandCommandName[];
extern char DefHandActOnFileName[];

enum BuiltInHandler : int32_t {
    kUnknownHandler = 0,
    kDoNothingHandler = 1,
    kMessageHandler = 2,
    kCommandHandler = 3,
    kActOnFileHandler = 4,
    kFirstAddOnHandler = 5,
};
// The 8-bit handler count can name at most this many handlers, built-ins included.
constexpr int32_t kMaxEventHandlers = 127;

// The add-on folders, in the order they are searched: the application's own
// "add-ons" folder, then $XDG_DATA_HOME/calvorin/add-ons.
std::vector<std::string> AddOnFolders();
// The user's add-on folder: $XDG_DATA_HOME/calvorin/add-ons (by default
// ~/.local/share/calvorin/add-ons).
std::string UserAddOnFolder();
// Where the application's own folder is (set by main from /proc/self/exe;
// tests may point it elsewhere).
void SetApplicationFolder(const std::string& folder);
const std::string& GetApplicationFolder();

// Registers the built-ins, then loads every add-on of the add-on folders
// (each folder's entries in name order), reporting each one that fails.
// An application folder that cannot be found ends the program.
void LoadEventHandlers();
// Registers only the five built-ins (tools and tests that want no add-ons).
void LoadBuiltInHandlers();
// Calls each add-on's CleanUpAddOn, unloads it, frees the tables.
void UnloadEventHandlers();
// Index of the first handler with exactly this name; 0 ("Unknown") if none.
int32_t FindHandlerByName(const char* name);
