#pragma once

#include <mutex>

#include "quota/QuotaStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace quillmarsh::service {

/// Counters in one SQLite file in WAL mode, for a service that runs as one instance or as several on one
/// machine.
class SqliteQuotaStore final : public QuotaStore
{
public:
    /// Opens or creates the file (mode 0600). Throws StorageError when that fails or the file is damaged.
    explicit SqliteQuotaStore(const std::string& file);
    ~SqliteQuotaStore() override;
    SqliteQuotaStore(const SqliteQuotaStore&) = delete;
    SqliteQuotaStore& operator=(const SqliteQuotaStore&) = delete;

    bool take(const Key& key, std::int64_t limit) override;
    void giveBack(const Key& key) override;
    std::int64_t used(const Key& key) override;
    void forgetBefore(std::int64_t period) override;

private:
    struct CloseDatabase
    {
        void operator()(sqlite3* database) const;
    };
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

    void execute(const char* sql);
    [[nodiscard]] Statement prepare(const char* sql);
    [[nodiscard]] bool step(sqlite3_stmt* statement);
    static void bind(sqlite3_stmt* statement, const Key& key);

    std::mutex mutex_;
    std::unique_ptr<sqlite3, CloseDatabase> database_;
    Statement take_;
    Statement giveBack_;
    Statement used_;
    Statement forget_;
};

} // namespace quillmarsh::service
