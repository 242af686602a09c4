#include "quota/SqliteQuotaStore.h"

#include <filesystem>
#include <memory>
#include <sys/stat.h>

#include <sqlite3.h>

namespace quillmarsh::service {

namespace {

constexpr int busyMilliseconds = 5000;

/// Makes a statement ready for its next use however the scope is left.
class Rewound final
{
public:
    explicit Rewound(sqlite3_stmt* statement) : statement_(statement) {}
    ~Rewound()
    {
        sqlite3_reset(statement_);
        sqlite3_clear_bindings(statement_);
    }
    Rewound(const Rewound&) = delete;
    Rewound& operator=(const Rewound&) = delete;

private:
    sqlite3_stmt* statement_;
};

} // namespace

void SqliteQuotaStore::CloseDatabase::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

void SqliteQuotaStore::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SqliteQuotaStore::SqliteQuotaStore(const std::string& file)
{
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
    const mode_t oldMask = ::umask(0077);
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open_v2(
        file.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(raw);
    if (opened == SQLITE_OK) {
        sqlite3_busy_timeout(raw, busyMilliseconds);
        // NORMAL survives the death of the process at any moment; only a power cut may lose the last few
        // counts.
        execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                "CREATE TABLE IF NOT EXISTS usage (caller TEXT NOT NULL, period INTEGER NOT NULL,"
                " used INTEGER NOT NULL, PRIMARY KEY (caller, period)) WITHOUT ROWID;");
    }
    ::umask(oldMask);
    if (opened != SQLITE_OK) {
        throw StorageError("cannot open " + file + ": " + sqlite3_errstr(opened));
    }
    take_ = prepare("INSERT INTO usage (caller, period, used) VALUES (?1, ?2, 1) ON CONFLICT (caller, period)"
                    " DO UPDATE SET used = used + 1 WHERE used < ?3 RETURNING used");
    giveBack_ = prepare("UPDATE usage SET used = used - 1 WHERE caller = ?1 AND period = ?2 AND used > 0");
    used_ = prepare("SELECT used FROM usage WHERE caller = ?1 AND period = ?2");
    forget_ = prepare("DELETE FROM usage WHERE period < ?1");
}

SqliteQuotaStore::~SqliteQuotaStore() = default;

void SqliteQuotaStore::execute(const char* sql)
{
    if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw StorageError(std::string("SQLite: ") + sqlite3_errmsg(database_.get()));
    }
}

SqliteQuotaStore::Statement SqliteQuotaStore::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(database_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) !=
        SQLITE_OK) {
        throw StorageError(std::string("SQLite: ") + sqlite3_errmsg(database_.get()));
    }
    return Statement(statement);
}

bool SqliteQuotaStore::step(sqlite3_stmt* statement)
{
    const int result = sqlite3_step(statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        throw StorageError(std::string("SQLite: ") + sqlite3_errmsg(database_.get()));
    }
    return result == SQLITE_ROW;
}

void SqliteQuotaStore::bind(sqlite3_stmt* statement, const Key& key)
{
    sqlite3_bind_text(statement, 1, key.caller.data(), static_cast<int>(key.caller.size()), SQLITE_STATIC);
    sqlite3_bind_int64(statement, 2, key.period);
}

bool SqliteQuotaStore::take(const Key& key, std::int64_t limit)
{
    if (limit <= 0) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    const Rewound rewound(take_.get());
    bind(take_.get(), key);
    sqlite3_bind_int64(take_.get(), 3, limit);
    const bool counted = step(take_.get());
    while (counted && step(take_.get())) {
        // RETURNING commits only when the statement has run to its end
    }
    return counted;
}

void SqliteQuotaStore::giveBack(const Key& key)
{
    const std::lock_guard lock(mutex_);
    const Rewound rewound(giveBack_.get());
    bind(giveBack_.get(), key);
    (void)step(giveBack_.get());
}

std::int64_t SqliteQuotaStore::used(const Key& key)
{
    const std::lock_guard lock(mutex_);
    const Rewound rewound(used_.get());
    bind(used_.get(), key);
    return step(used_.get()) ? sqlite3_column_int64(used_.get(), 0) : 0;
}

void SqliteQuotaStore::forgetBefore(std::int64_t period)
{
    const std::lock_guard lock(mutex_);
    const Rewound rewound(forget_.get());
    sqlite3_bind_int64(forget_.get(), 1, period);
    (void)step(forget_.get());
}

} // namespace quillmarsh::service
