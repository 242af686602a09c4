#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "quota/QuotaStore.h"

struct pg_conn;
struct pg_result;

namespace quillmarsh::service {

/// Counters in a PostgreSQL table that several instances share. A handful of connections serves all threads;
/// one that broke is opened anew, and the statement that met it is tried once more.
class PostgresQuotaStore final : public QuotaStore
{
public:
    /// Connects and creates the table "quillmarsh_usage" if there is none. Throws StorageError.
    explicit PostgresQuotaStore(std::string connection, size_t connections = 8);
    ~PostgresQuotaStore() override;
    PostgresQuotaStore(const PostgresQuotaStore&) = delete;
    PostgresQuotaStore& operator=(const PostgresQuotaStore&) = delete;

    bool take(const Key& key, std::int64_t limit) override;
    void giveBack(const Key& key) override;
    std::int64_t used(const Key& key) override;
    void forgetBefore(std::int64_t period) override;

private:
    struct Finish
    {
        void operator()(pg_conn* connection) const;
    };
    struct Clear
    {
        void operator()(pg_result* result) const;
    };
    using Connection = std::unique_ptr<pg_conn, Finish>;
    using Result = std::unique_ptr<pg_result, Clear>;

    [[nodiscard]] Connection connect() const;
    [[nodiscard]] Connection borrow();
    void giveBackConnection(Connection connection);
    [[nodiscard]] Result query(const char* sql, const std::vector<std::string>& values);
    [[nodiscard]] static Result execute(pg_conn* connection, const char* sql,
                                        const std::vector<std::string>& values);

    std::string connection_;
    std::mutex mutex_;
    std::condition_variable returned_;
    std::vector<Connection> idle_;
    size_t missing_ = 0; ///< connections that broke and are opened when they are needed
};

} // namespace quillmarsh::service
