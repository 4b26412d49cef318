// The SQLite file behind the settings store: opens and checks it (moving a
// damaged file aside), reads one set and writes one set per transaction.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "calvorin/SupportDefs.h"

struct sqlite3;

struct PrefsItem {
    uint32_t type = 0;
    std::vector<uint8_t> data;
    bool operator==(const PrefsItem&) const = default;
};

using PrefsItems = std::map<std::string, PrefsItem>;

class PrefsDatabase {
public:
    ~PrefsDatabase();
    PrefsDatabase(const PrefsDatabase&) = delete;
    PrefsDatabase& operator=(const PrefsDatabase&) = delete;

    static constexpr const char* kFileName = "settings.sqlite";

    // Opens (creating it if needed) the store in folder, which is made with
    // mode 0700 when missing. Returns B_OK, B_PREF_STORE_REPLACED (the old
    // file was damaged and moved aside; *database is a fresh store) or
    // B_PREF_STORE_UNAVAILABLE; *problem gets the user's explanation of the
    // last two.
    static status_t Open(const std::string& folder, std::shared_ptr<PrefsDatabase>* database,
                         std::string* problem);

    // Reads the items of one set. B_NAME_NOT_FOUND when the set was never
    // saved (*items is then empty), B_FILE_ERROR when reading fails.
    status_t LoadSet(const std::string& application, const std::string& set,
                     PrefsItems* items);
    // Replaces the stored set by items, all in one transaction.
    status_t SaveSet(const std::string& application, const std::string& set,
                     const PrefsItems& items);

    const std::string& Path() const { return fPath; }

private:
    enum class CheckResult { kUsable, kDamaged, kUnavailable };

    PrefsDatabase(sqlite3* db, std::string path);
    static CheckResult OpenAndCheck(const std::string& path, sqlite3** db, std::string* reason);
    static CheckResult CheckSchema(sqlite3* db, std::string* reason);
    static bool MoveAside(const std::string& path, std::string* newName, std::string* reason);

    sqlite3* fDb;
    std::string fPath;
    std::mutex fMutex;
};
