#include "quota/PostgresQuotaStore.h"

#include <array>
#include <string_view>

#include <libpq-fe.h>

namespace quillmarsh::service {

namespace {

/// CREATE TABLE IF NOT EXISTS is not safe against another instance that starts at the same moment; the lock
/// is.
constexpr const char* createTable = "SELECT pg_advisory_lock(7136582);"
                                    "CREATE TABLE IF NOT EXISTS quillmarsh_usage (caller text NOT NULL, "
                                    "period bigint NOT NULL, used bigint NOT NULL,"
                                    " PRIMARY KEY (caller, period));"
                                    "SELECT pg_advisory_unlock(7136582);";
constexpr const char* takeSql = "INSERT INTO quillmarsh_usage AS u (caller, period, used) VALUES ($1, "
                                "$2::bigint, 1) ON CONFLICT (caller, period)"
                                " DO UPDATE SET used = u.used + 1 WHERE u.used < $3::bigint RETURNING used";
constexpr const char* giveBackSql =
    "UPDATE quillmarsh_usage SET used = used - 1 WHERE caller = $1 AND period = $2::bigint AND used > 0";
constexpr const char* usedSql = "SELECT used FROM quillmarsh_usage WHERE caller = $1 AND period = $2::bigint";
constexpr const char* forgetSql = "DELETE FROM quillmarsh_usage WHERE period < $1::bigint";

/// The class of the failure only: the server's own words may quote a value.
std::string reasonOf(const PGresult* result)
{
    const char* state = result == nullptr ? nullptr : PQresultErrorField(result, PG_DIAG_SQLSTATE);
    return std::string("PostgreSQL: ") +
           (state == nullptr ? "connection lost" : std::string("SQLSTATE ") + state);
}

bool isFine(const PGresult* result)
{
    const ExecStatusType status = PQresultStatus(result);
    return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK;
}

/// The server went away, or says that it is about to (class 57P of its error codes).
bool isLost(const PGconn* connection, const PGresult* result)
{
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    return PQstatus(connection) != CONNECTION_OK || state == nullptr ||
           std::string_view(state).starts_with("57P");
}

void ignoreNotice(void*, const char*) {}

} // namespace

void PostgresQuotaStore::Finish::operator()(pg_conn* connection) const
{
    PQfinish(connection);
}

void PostgresQuotaStore::Clear::operator()(pg_result* result) const
{
    PQclear(result);
}

PostgresQuotaStore::PostgresQuotaStore(std::string connection, size_t connections)
    : connection_(std::move(connection)), missing_(connections - 1)
{
    Connection first = connect();
    const Result created(PQexec(first.get(), createTable));
    if (!isFine(created.get())) {
        throw StorageError(reasonOf(created.get()));
    }
    idle_.push_back(std::move(first));
}

PostgresQuotaStore::~PostgresQuotaStore() = default;

PostgresQuotaStore::Connection PostgresQuotaStore::connect() const
{
    // later settings win, so the operator's, a string or a URI, come last; a database that went silent shall
    // not hold the callers for the quarter of an hour that TCP gives it
    const std::array<const char*, 5> names{"connect_timeout", "tcp_user_timeout", "application_name",
                                           "dbname", nullptr};
    const std::array<const char*, 5> values{"5", "10000", "quillmarsh-service", connection_.c_str(), nullptr};
    Connection connection(PQconnectdbParams(names.data(), values.data(), 1));
    if (PQstatus(connection.get()) != CONNECTION_OK) {
        throw StorageError("PostgreSQL: cannot connect");
    }
    PQsetNoticeProcessor(connection.get(), ignoreNotice, nullptr);
    return connection;
}

PostgresQuotaStore::Connection PostgresQuotaStore::borrow()
{
    std::unique_lock lock(mutex_);
    returned_.wait(lock, [this] { return !idle_.empty() || missing_ > 0; });
    if (!idle_.empty()) {
        Connection connection = std::move(idle_.back());
        idle_.pop_back();
        return connection;
    }
    --missing_;
    lock.unlock();
    try {
        return connect();
    } catch (const StorageError&) {
        giveBackConnection(nullptr);
        throw;
    }
}

void PostgresQuotaStore::giveBackConnection(Connection connection)
{
    {
        const std::lock_guard lock(mutex_);
        if (connection && PQstatus(connection.get()) == CONNECTION_OK) {
            idle_.push_back(std::move(connection));
        } else {
            ++missing_;
        }
    }
    returned_.notify_one();
}

PostgresQuotaStore::Result PostgresQuotaStore::execute(pg_conn* connection, const char* sql,
                                                       const std::vector<std::string>& values)
{
    std::vector<const char*> pointers;
    for (const std::string& value : values) {
        pointers.push_back(value.c_str());
    }
    return Result(PQexecParams(connection, sql, static_cast<int>(values.size()), nullptr, pointers.data(),
                               nullptr, nullptr, 0));
}

PostgresQuotaStore::Result PostgresQuotaStore::query(const char* sql, const std::vector<std::string>& values)
{
    for (int attempt = 0;; ++attempt) {
        Connection connection = borrow();
        Result result = execute(connection.get(), sql, values);
        if (isFine(result.get())) {
            giveBackConnection(std::move(connection));
            return result;
        }
        const bool lost = isLost(connection.get(), result.get());
        giveBackConnection(lost ? nullptr : std::move(connection));
        if (!lost || attempt == 1) {
            throw StorageError(reasonOf(result.get()));
        }
        // What was lost in the middle may have been counted. Counting once more errs to the safe side: a
        // limit is never exceeded. The other idle connections are as dead as this one.
        const std::lock_guard lock(mutex_);
        missing_ += idle_.size();
        idle_.clear();
    }
}

bool PostgresQuotaStore::take(const Key& key, std::int64_t limit)
{
    if (limit <= 0) {
        return false;
    }
    const Result result = query(takeSql, {key.caller, std::to_string(key.period), std::to_string(limit)});
    return PQntuples(result.get()) == 1;
}

void PostgresQuotaStore::giveBack(const Key& key)
{
    (void)query(giveBackSql, {key.caller, std::to_string(key.period)});
}

std::int64_t PostgresQuotaStore::used(const Key& key)
{
    const Result result = query(usedSql, {key.caller, std::to_string(key.period)});
    return PQntuples(result.get()) == 1 ? std::stoll(PQgetvalue(result.get(), 0, 0)) : 0;
}

void PostgresQuotaStore::forgetBefore(std::int64_t period)
{
    (void)query(forgetSql, {std::to_string(period)});
}

} // namespace quillmarsh::service
