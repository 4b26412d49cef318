// The settings store's operations: typed, named items in named sets per
// application, kept in $XDG_CONFIG_HOME/calvorin/settings.sqlite.
#pragma once

#include <cstddef>
#include <cstdint>

#include "calvorin/SupportDefs.h"

class PrefsStore;
class PrefsSet;

typedef PrefsStore* PREFHandle;
typedef PrefsSet* PREFData;

// The store file was damaged or unreadable. It was moved aside, and the
// store starts empty (every setting at its default). The handle is valid
// and usable; PREFInitProblemText() says what happened, for the user.
constexpr status_t B_PREF_STORE_REPLACED = static_cast<status_t>(0x80009001u);
// The store cannot be used at all (its folder cannot be made or written,
// the file cannot be opened or moved aside). No handle is returned;
// PREFInitProblemText() says why.
constexpr status_t B_PREF_STORE_UNAVAILABLE = static_cast<status_t>(0x80009002u);

// Every operation returns B_OK (0) on success and an error code otherwise:
// B_BAD_VALUE for null or empty arguments, B_NAME_NOT_FOUND for a missing
// set or item, B_FILE_ERROR when the store cannot be read or written.

// Opens the store for one application. On B_OK and B_PREF_STORE_REPLACED,
// *handle is set; otherwise it is null.
status_t PREFInit(const char* application, PREFHandle* handle);
// Reads the named set into memory. With create false, a set that was never
// saved is B_NAME_NOT_FOUND; with create true it starts empty.
status_t PREFLoadSet(PREFHandle handle, const char* name, bool create, PREFData* set);
// One item. The data stay owned by the set and are valid until the item is
// set again or deleted, or the set is disposed of.
status_t PREFGetData(PREFData set, const char* key, const void** data, size_t* size,
                     uint32_t* type);
// Sets or replaces one item (in memory until PREFSaveSet). An item of size
// 0 is allowed; data may then be null.
status_t PREFSetData(PREFData set, const char* key, const void* data, size_t size,
                     uint32_t type);
status_t PREFDelete(PREFData set, const char* key);
// Writes the whole set in one transaction: either every change of the set
// becomes permanent or none does.
status_t PREFSaveSet(PREFData set);
// Frees the set; unsaved changes are dropped.
status_t PREFDisposeSet(PREFData set);
// Closes the handle. Sets loaded through it stay usable until disposed of.
status_t PREFShutdown(PREFHandle handle);

// The user-facing explanation of the problem the last PREFInit reported
// with B_PREF_STORE_REPLACED or B_PREF_STORE_UNAVAILABLE, or null when it
// reported none. Valid until the next PREFInit.
const char* PREFInitProblemText();
