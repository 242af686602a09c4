#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "quota/Period.h"
#include "quota/QuotaStore.h"

namespace quillmarsh::service {

/// What a caller may still do, as it is told with every answer.
struct Quota
{
    std::int64_t limit = 0;
    std::int64_t remaining = 0;
    std::string resetsAt; ///< ISO 8601; empty: never
    std::chrono::seconds renewsIn{0};
};

/// The allowance per caller and period, on top of a store of counters.
class Allowance final
{
public:
    using Now = std::function<Period::Time()>;

    /// One counted rewrite. It is given back unless it is kept: a rewrite counts only when it succeeds.
    class Ticket final
    {
    public:
        Ticket(QuotaStore& store, QuotaStore::Key key) : store_(&store), key_(std::move(key)) {}
        Ticket(Ticket&& other) noexcept
            : store_(std::exchange(other.store_, nullptr)), key_(std::move(other.key_))
        {}
        Ticket& operator=(Ticket&&) = delete;
        ~Ticket();
        void keep() { store_ = nullptr; }

    private:
        QuotaStore* store_;
        QuotaStore::Key key_;
    };

    Allowance(std::unique_ptr<QuotaStore> store, std::int64_t limit, Period period, Now now = {});

    /// Counts a rewrite of `caller`; nothing when the allowance is used up. Throws StorageError.
    [[nodiscard]] std::optional<Ticket> take(const std::string& caller);
    /// What is left for `caller` now. Throws StorageError.
    [[nodiscard]] Quota quota(const std::string& caller);
    /// What a caller that is not accepted has: nothing.
    [[nodiscard]] static Quota none() { return {}; }

private:
    [[nodiscard]] QuotaStore::Key keyFor(const std::string& caller, Period::Time now);

    std::unique_ptr<QuotaStore> store_;
    std::int64_t limit_;
    Period period_;
    Now now_;
    std::atomic<std::int64_t> forgottenBefore_ = 0;
};

} // namespace quillmarsh::service
