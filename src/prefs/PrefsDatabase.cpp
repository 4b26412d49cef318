#include "prefs/PrefsDatabase.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "prefs/Prefs.h"

namespace {

constexpr int kSchemaVersion = 1;
constexpr int kBusyTimeoutMs = 5000;

const char* const kCreateSchema =
    "CREATE TABLE IF NOT EXISTS prefs_sets ("
    " application TEXT NOT NULL, set_name TEXT NOT NULL,"
    " PRIMARY KEY (application, set_name));"
    "CREATE TABLE IF NOT EXISTS prefs_items ("
    " application TEXT NOT NULL, set_name TEXT NOT NULL, key TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL,"
    " PRIMARY KEY (application, set_name, key));"
    "PRAGMA user_version = 1;";

// A prepared statement that finalizes itself.
class Statement {
public:
    Statement(sqlite3* db, const char* sql)
    {
        fResult = sqlite3_prepare_v2(db, sql, -1, &fStatement, nullptr);
    }
    ~Statement() { sqlite3_finalize(fStatement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool Ok() const { return fResult == SQLITE_OK; }
    int PrepareResult() const { return fResult; }
    sqlite3_stmt* Get() { return fStatement; }
    bool BindText(int index, const std::string& text)
    {
        return sqlite3_bind_text(fStatement, index, text.data(), int(text.size()),
                                 SQLITE_TRANSIENT) == SQLITE_OK;
    }
    int Step() { return sqlite3_step(fStatement); }
    void Reset()
    {
        sqlite3_reset(fStatement);
        sqlite3_clear_bindings(fStatement);
    }

private:
    sqlite3_stmt* fStatement = nullptr;
    int fResult;
};

bool IsDamage(int result)
{
    int primary = result & 0xff;
    return primary == SQLITE_NOTADB || primary == SQLITE_CORRUPT;
}

bool Execute(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// Makes folder and its missing parents, each with mode 0700.
bool MakeFolder(const std::string& folder, std::string* reason)
{
    for (size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
        std::string part = folder.substr(0, slash);
        if (!part.empty() && mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
            *reason = std::strerror(errno);
            return false;
        }
        if (slash == std::string::npos)
            break;
    }
    struct stat info;
    if (stat(folder.c_str(), &info) != 0) {
        *reason = std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(info.st_mode)) {
        *reason = std::strerror(ENOTDIR);
        return false;
    }
    return true;
}

bool RenameNoReplace(const std::string& from, const std::string& to)
{
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // File systems without RENAME_NOREPLACE: check first, then rename.
    struct stat info;
    if (lstat(to.c_str(), &info) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(from.c_str(), to.c_str()) == 0;
}

std::string LeafName(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

PrefsDatabase::PrefsDatabase(sqlite3* db, std::string path) : fDb(db), fPath(std::move(path)) {}

PrefsDatabase::~PrefsDatabase()
{
    sqlite3_close_v2(fDb);
}

status_t PrefsDatabase::Open(const std::string& folder, std::shared_ptr<PrefsDatabase>* database,
                             std::string* problem)
{
    database->reset();
    problem->clear();
    std::string reason;
    if (!MakeFolder(folder, &reason)) {
        *problem = "The settings folder " + folder + " cannot be created (" + reason +
                   "); Calvorin cannot keep its settings.";
        return B_PREF_STORE_UNAVAILABLE;
    }
    std::string path = folder + "/" + kFileName;

    sqlite3* db = nullptr;
    CheckResult check = OpenAndCheck(path, &db, &reason);
    status_t result = B_OK;
    if (check == CheckResult::kDamaged) {
        std::string keptAs;
        std::string moveReason;
        if (!MoveAside(path, &keptAs, &moveReason)) {
            *problem = "The settings file " + path + " " + reason +
                       ", and it cannot be moved aside (" + moveReason +
                       "); Calvorin cannot keep its settings.";
            return B_PREF_STORE_UNAVAILABLE;
        }
        *problem = "The settings file " + path + " " + reason +
                   "; Calvorin starts with default settings and keeps a copy as " + keptAs + ".";
        result = B_PREF_STORE_REPLACED;
        std::string secondReason;
        check = OpenAndCheck(path, &db, &secondReason);
        if (check != CheckResult::kUsable)
            reason = secondReason;
    }
    if (check != CheckResult::kUsable) {
        *problem = "The settings file " + path + " cannot be opened (" + reason +
                   "); Calvorin cannot keep its settings.";
        return B_PREF_STORE_UNAVAILABLE;
    }
    database->reset(new PrefsDatabase(db, path));
    return result;
}

PrefsDatabase::CheckResult PrefsDatabase::OpenAndCheck(const std::string& path, sqlite3** db,
                                                       std::string* reason)
{
    *db = nullptr;
    struct stat info;
    if (stat(path.c_str(), &info) == 0) {
        if (!S_ISREG(info.st_mode)) {
            *reason = "is not a file";
            return CheckResult::kDamaged;
        }
        if (access(path.c_str(), R_OK) != 0) {
            *reason = std::string("cannot be read (") + std::strerror(errno) + ")";
            return CheckResult::kDamaged;
        }
    }

    sqlite3* handle = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &handle,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                                 nullptr);
    if (result != SQLITE_OK) {
        *reason = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(result);
        sqlite3_close_v2(handle);
        return IsDamage(result) ? CheckResult::kDamaged : CheckResult::kUnavailable;
    }
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, kBusyTimeoutMs);

    CheckResult check = CheckResult::kUsable;
    {
        Statement quickCheck(handle, "PRAGMA quick_check(1)");
        int step = quickCheck.Ok() ? quickCheck.Step() : quickCheck.PrepareResult();
        if (step == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(quickCheck.Get(), 0);
            if (!text || std::strcmp(reinterpret_cast<const char*>(text), "ok") != 0) {
                *reason = "is damaged";
                check = CheckResult::kDamaged;
            }
        } else if (IsDamage(step)) {
            *reason = "is damaged";
            check = CheckResult::kDamaged;
        } else {
            *reason = sqlite3_errmsg(handle);
            check = CheckResult::kUnavailable;
        }
    }
    if (check == CheckResult::kUsable)
        check = CheckSchema(handle, reason);
    if (check != CheckResult::kUsable) {
        sqlite3_close_v2(handle);
        return check;
    }
    *db = handle;
    return CheckResult::kUsable;
}

PrefsDatabase::CheckResult PrefsDatabase::CheckSchema(sqlite3* db, std::string* reason)
{
    std::set<std::string> tables;
    {
        Statement list(db,
                       "SELECT name FROM sqlite_master WHERE type = 'table'"
                       " AND name NOT LIKE 'sqlite_%'");
        int step = list.Ok() ? list.Step() : list.PrepareResult();
        for (; step == SQLITE_ROW; step = list.Step())
            tables.insert(reinterpret_cast<const char*>(sqlite3_column_text(list.Get(), 0)));
        if (step != SQLITE_DONE) {
            *reason = sqlite3_errmsg(db);
            return IsDamage(step) ? CheckResult::kDamaged : CheckResult::kUnavailable;
        }
    }

    if (tables.empty()) {
        // A new, empty file: give it the store's tables.
        if (!Execute(db, "BEGIN IMMEDIATE") || !Execute(db, kCreateSchema) ||
            !Execute(db, "COMMIT")) {
            *reason = sqlite3_errmsg(db);
            Execute(db, "ROLLBACK");
            return CheckResult::kUnavailable;
        }
        return CheckResult::kUsable;
    }

    int version = -1;
    {
        Statement userVersion(db, "PRAGMA user_version");
        if (userVersion.Ok() && userVersion.Step() == SQLITE_ROW)
            version = sqlite3_column_int(userVersion.Get(), 0);
    }
    auto hasColumns = [db](const char* table, std::initializer_list<const char*> wanted) {
        std::set<std::string> columns;
        std::string sql = std::string("PRAGMA table_info(") + table + ")";
        Statement info(db, sql.c_str());
        if (!info.Ok())
            return false;
        while (info.Step() == SQLITE_ROW)
            columns.insert(reinterpret_cast<const char*>(sqlite3_column_text(info.Get(), 1)));
        for (const char* column : wanted) {
            if (!columns.count(column))
                return false;
        }
        return true;
    };
    if (version != kSchemaVersion ||
        !hasColumns("prefs_sets", {"application", "set_name"}) ||
        !hasColumns("prefs_items", {"application", "set_name", "key", "type", "data"})) {
        *reason = "is damaged";
        return CheckResult::kDamaged;
    }
    return CheckResult::kUsable;
}

bool PrefsDatabase::MoveAside(const std::string& path, std::string* newName, std::string* reason)
{
    std::string target;
    bool moved = false;
    for (int attempt = 1; attempt < 100 && !moved; attempt++) {
        target = path + ".damaged";
        if (attempt > 1)
            target += "." + std::to_string(attempt);
        moved = RenameNoReplace(path, target);
        if (!moved && errno != EEXIST) {
            *reason = std::strerror(errno);
            return false;
        }
    }
    if (!moved) {
        *reason = std::strerror(EEXIST);
        return false;
    }
    // The journal files belong to the damaged file; a new store must not
    // pick them up.
    for (const char* suffix : {"-journal", "-wal", "-shm"}) {
        std::string sidecar = path + suffix;
        if (access(sidecar.c_str(), F_OK) == 0)
            rename(sidecar.c_str(), (target + suffix).c_str());
    }
    *newName = LeafName(target);
    return true;
}

status_t PrefsDatabase::LoadSet(const std::string& application, const std::string& set,
                                PrefsItems* items)
{
    std::lock_guard<std::mutex> lock(fMutex);
    items->clear();
    if (!Execute(fDb, "BEGIN"))
        return B_FILE_ERROR;

    status_t result = B_OK;
    {
        Statement exists(fDb, "SELECT 1 FROM prefs_sets WHERE application = ? AND set_name = ?");
        if (!exists.Ok() || !exists.BindText(1, application) || !exists.BindText(2, set)) {
            result = B_FILE_ERROR;
        } else {
            int step = exists.Step();
            if (step == SQLITE_DONE)
                result = B_NAME_NOT_FOUND;
            else if (step != SQLITE_ROW)
                result = B_FILE_ERROR;
        }
    }
    if (result == B_OK) {
        Statement select(fDb,
                         "SELECT key, type, data FROM prefs_items"
                         " WHERE application = ? AND set_name = ?");
        if (!select.Ok() || !select.BindText(1, application) || !select.BindText(2, set)) {
            result = B_FILE_ERROR;
        } else {
            int step;
            while ((step = select.Step()) == SQLITE_ROW) {
                const unsigned char* key = sqlite3_column_text(select.Get(), 0);
                if (!key)
                    continue;
                PrefsItem item;
                item.type = static_cast<uint32_t>(sqlite3_column_int64(select.Get(), 1));
                const void* blob = sqlite3_column_blob(select.Get(), 2);
                int size = sqlite3_column_bytes(select.Get(), 2);
                if (blob && size > 0) {
                    const uint8_t* bytes = static_cast<const uint8_t*>(blob);
                    item.data.assign(bytes, bytes + size);
                }
                (*items)[reinterpret_cast<const char*>(key)] = std::move(item);
            }
            if (step != SQLITE_DONE) {
                items->clear();
                result = B_FILE_ERROR;
            }
        }
    }
    Execute(fDb, "COMMIT");
    return result;
}

status_t PrefsDatabase::SaveSet(const std::string& application, const std::string& set,
                                const PrefsItems& items)
{
    std::lock_guard<std::mutex> lock(fMutex);
    if (!Execute(fDb, "BEGIN IMMEDIATE"))
        return B_FILE_ERROR;

    bool ok = true;
    {
        Statement addSet(fDb, "INSERT OR IGNORE INTO prefs_sets (application, set_name) VALUES (?, ?)");
        ok = addSet.Ok() && addSet.BindText(1, application) && addSet.BindText(2, set) &&
             addSet.Step() == SQLITE_DONE;
    }
    if (ok) {
        Statement clear(fDb, "DELETE FROM prefs_items WHERE application = ? AND set_name = ?");
        ok = clear.Ok() && clear.BindText(1, application) && clear.BindText(2, set) &&
             clear.Step() == SQLITE_DONE;
    }
    if (ok) {
        Statement insert(fDb,
                         "INSERT INTO prefs_items (application, set_name, key, type, data)"
                         " VALUES (?, ?, ?, ?, ?)");
        ok = insert.Ok();
        for (auto it = items.begin(); ok && it != items.end(); ++it) {
            const PrefsItem& item = it->second;
            ok = insert.BindText(1, application) && insert.BindText(2, set) &&
                 insert.BindText(3, it->first) &&
                 sqlite3_bind_int64(insert.Get(), 4, item.type) == SQLITE_OK;
            if (ok) {
                // An empty item is stored as an empty blob, never as NULL.
                int bound = item.data.empty()
                                ? sqlite3_bind_zeroblob(insert.Get(), 5, 0)
                                : sqlite3_bind_blob(insert.Get(), 5, item.data.data(),
                                                    int(item.data.size()), SQLITE_STATIC);
                ok = bound == SQLITE_OK && insert.Step() == SQLITE_DONE;
            }
            insert.Reset();
        }
    }
    if (ok && Execute(fDb, "COMMIT"))
        return B_OK;
    Execute(fDb, "ROLLBACK");
    return B_FILE_ERROR;
}
