// One contract for both stores, and the promise of the whole service: a limit is never exceeded.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "http/RewriteHandler.h"
#include "quota/Allowance.h"
#include "quota/PostgresQuotaStore.h"
#include "quota/SqliteQuotaStore.h"
#include "support/PrivatePostgres.h"
#include "support/RunningService.h"

using namespace quillmarsh::service;
using namespace quillmarsh::service::test;
using namespace std::chrono_literals;

namespace {

PrivatePostgres& postgres()
{
    static PrivatePostgres server;
    return server;
}

enum class Kind { Sqlite, Postgres };

class Store : public testing::TestWithParam<Kind>
{
protected:
    [[nodiscard]] std::unique_ptr<QuotaStore> open() const
    {
        if (GetParam() == Kind::Sqlite) {
            return std::make_unique<SqliteQuotaStore>(folder_.path("quota.sqlite"));
        }
        return std::make_unique<PostgresQuotaStore>(postgres().connection());
    }
    [[nodiscard]] QuotaStore::Key key(const std::string& caller, std::int64_t period = 100) const
    {
        return {folder_.path() + caller, period}; // callers of this test only: the server is shared
    }

private:
    TemporaryFolder folder_;
};

/// How many of `attempts` at once were counted.
template <typename Attempt>
int countOf(int attempts, Attempt attempt)
{
    std::atomic<int> counted = 0;
    std::vector<std::thread> threads;
    for (int n = 0; n < attempts; ++n) {
        threads.emplace_back([&, n] { counted += attempt(n) ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return counted;
}

void expectLimitKept(const std::vector<const RunningService*>& instances)
{
    constexpr int limit = 50;
    constexpr int callers = 200;
    std::atomic<int> refused = 0;
    const int answered = countOf(callers, [&](int n) {
        const Answer answer = instances[static_cast<size_t>(n) % instances.size()]->rewrite("i am here");
        refused += answer.status == 429 ? 1 : 0;
        return answer.status == 200;
    });
    EXPECT_EQ(answered, limit);
    EXPECT_EQ(refused, callers - limit);
    for (const RunningService* instance : instances) {
        EXPECT_EQ(instance->rewrite("i am here").remaining(), 0);
    }
}

} // namespace

TEST_P(Store, CountsUpToTheLimit)
{
    const auto store = open();
    EXPECT_EQ(store->used(key("a")), 0);
    EXPECT_TRUE(store->take(key("a"), 2));
    EXPECT_TRUE(store->take(key("a"), 2));
    EXPECT_FALSE(store->take(key("a"), 2));
    EXPECT_EQ(store->used(key("a")), 2);
    EXPECT_TRUE(store->take(key("b"), 2));
    EXPECT_TRUE(store->take(key("a", 200), 2)) << "another period";
    EXPECT_FALSE(store->take(key("c"), 0));
}

TEST_P(Store, GivesBackAndNeverBelowNothing)
{
    const auto store = open();
    EXPECT_TRUE(store->take(key("a"), 1));
    store->giveBack(key("a"));
    EXPECT_EQ(store->used(key("a")), 0);
    store->giveBack(key("a"));
    store->giveBack(key("nobody"));
    EXPECT_EQ(store->used(key("a")), 0);
    EXPECT_TRUE(store->take(key("a"), 1));
}

TEST_P(Store, ALowerLimitAppliesAtOnce)
{
    const auto store = open();
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(store->take(key("a"), 5));
    }
    EXPECT_FALSE(store->take(key("a"), 3));
    EXPECT_EQ(store->used(key("a")), 5);
}

TEST_P(Store, ForgetsOldPeriods)
{
    const auto store = open();
    EXPECT_TRUE(store->take(key("a", 1), 5));
    EXPECT_TRUE(store->take(key("a", 2), 5));
    store->forgetBefore(2);
    EXPECT_EQ(store->used(key("a", 1)), 0);
    EXPECT_EQ(store->used(key("a", 2)), 1);
}

TEST_P(Store, AnotherInstanceSeesEveryCount)
{
    const auto first = open();
    const auto second = open();
    EXPECT_TRUE(first->take(key("a"), 2));
    EXPECT_TRUE(second->take(key("a"), 2));
    EXPECT_FALSE(first->take(key("a"), 2));
    EXPECT_EQ(second->used(key("a")), 2);
}

TEST_P(Store, ManyAtOnceNeverExceedTheLimit)
{
    const auto first = open();
    const auto second = open();
    EXPECT_EQ(countOf(200, [&](int n) { return (n % 2 == 0 ? first : second)->take(key("a"), 77); }), 77);
    EXPECT_EQ(first->used(key("a")), 77);
}

INSTANTIATE_TEST_SUITE_P(Both, Store, testing::Values(Kind::Sqlite, Kind::Postgres),
                         [](const auto& test) { return test.param == Kind::Sqlite ? "Sqlite" : "Postgres"; });

TEST(Sqlite, OnlyTheOwnerCanReadTheFile)
{
    const TemporaryFolder folder;
    const SqliteQuotaStore store(folder.path("new/quota.sqlite"));
    struct stat status = {};
    ASSERT_EQ(::stat(folder.path("new/quota.sqlite").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(Sqlite, ADamagedFileIsSaidAndNotOverwritten)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("quota.sqlite", std::string(5000, 'x'));
    EXPECT_THROW(SqliteQuotaStore store(file), StorageError);
    EXPECT_EQ(readWhole(file), std::string(5000, 'x'));
    EXPECT_THROW(SqliteQuotaStore store("/proc/nowhere/quota.sqlite"), StorageError);
}

TEST(Postgres, NobodyThereIsAStorageError)
{
    EXPECT_THROW(PostgresQuotaStore("host=/nowhere user=x dbname=x"), StorageError);
}

TEST(Postgres, AServerThatCameBackIsUsedAgain)
{
    PrivatePostgres server;
    PostgresQuotaStore store(server.connection());
    EXPECT_TRUE(store.take({"a", 1}, 2));
    server.crashAndRestart();
    EXPECT_TRUE(store.take({"a", 1}, 2));
    EXPECT_FALSE(store.take({"a", 1}, 2));
}

TEST(Allowances, RenewWithThePeriod)
{
    const TemporaryFolder folder;
    Period::Time now = std::chrono::sys_days(std::chrono::year(2026) / 5 / 1) + 23h;
    Allowance allowance(std::make_unique<SqliteQuotaStore>(folder.path("q")), 1, Period::day(),
                        [&] { return now; });
    {
        auto ticket = allowance.take("a");
        ASSERT_TRUE(ticket);
        ticket->keep();
    }
    EXPECT_FALSE(allowance.take("a"));
    EXPECT_EQ(allowance.quota("a").remaining, 0);
    EXPECT_EQ(allowance.quota("a").resetsAt, "2026-05-02T00:00:00Z");
    EXPECT_EQ(allowance.quota("a").renewsIn, 1h);
    now += 1h;
    EXPECT_EQ(allowance.quota("a").remaining, 1);
    EXPECT_EQ(allowance.quota("a").resetsAt, "2026-05-03T00:00:00Z");
}

TEST(Allowances, ATicketThatIsNotKeptIsGivenBack)
{
    const TemporaryFolder folder;
    Allowance allowance(std::make_unique<SqliteQuotaStore>(folder.path("q")), 1, Period::day());
    {
        const auto ticket = allowance.take("a");
        EXPECT_EQ(allowance.quota("a").remaining, 0);
    }
    EXPECT_EQ(allowance.quota("a").remaining, 1);
}

namespace {

/// Counts, and fails to say what is counted.
class HalfBlindStore final : public QuotaStore
{
public:
    explicit HalfBlindStore(int& counted) : counted_(counted) {}
    [[nodiscard]] bool take(const Key&, std::int64_t) override { return ++counted_ > 0; }
    void giveBack(const Key&) override { --counted_; }
    [[nodiscard]] std::int64_t used(const Key&) override { throw StorageError("gone"); }
    void forgetBefore(std::int64_t) override {}

private:
    int& counted_;
};

class Parrot final : public Engine
{
public:
    [[nodiscard]] std::string name() const override { return "parrot"; }
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job, Deadline) override
    {
        return EngineAnswer::done(job.text);
    }
};

} // namespace

TEST(Allowances, ARewriteThatCannotBeDeliveredIsNotCounted)
{
    int counted = 0;
    Callers callers;
    Allowance allowance(std::make_unique<HalfBlindStore>(counted), 10, Period::day());
    Metrics metrics;
    std::vector<std::unique_ptr<Engine>> engines;
    engines.push_back(std::make_unique<Parrot>());
    EngineChain chain(std::move(engines), 1s, metrics);
    RewriteHandler handler(callers, allowance, chain);
    httplib::Request request;
    request.set_header("Authorization", bearer(1));
    httplib::Response response;
    handler.answer(request, rewriteBody("text"), response);
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(counted, 0);
}

TEST(Service, TwoHundredAtOnceNeverExceedTheLimit)
{
    const RunningService service("[quota]\nlimit = 50\n");
    expectLimitKept({&service});
}

TEST(Service, TwoInstancesOnOnePostgresNeverExceedTheLimit)
{
    const PrivatePostgres server;
    const std::string config = "[quota]\nlimit = 50\nstorage = postgresql\n";
    const RunningService::Variables secret{{"QUILLMARSH_SERVICE_POSTGRESQL", server.connection()}};
    const RunningService first(config, secret);
    const RunningService second(config, secret);
    expectLimitKept({&first, &second});
}

TEST(Service, WithoutItsDatabaseItSaysSo)
{
    auto server = std::make_unique<PrivatePostgres>();
    const RunningService service("[quota]\nstorage = postgresql\npostgresql = " + server->connection() +
                                 "\n");
    EXPECT_EQ(service.rewrite("i am here").status, 200);
    server.reset();
    const Answer answer = service.rewrite("i am here");
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.code(), "storage_unavailable");
}
