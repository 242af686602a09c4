#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace quillmarsh::service {

/// The counters could not be read or written. The text names the cause for the log, never a caller.
class StorageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One counter per caller and period: the whole of what the service remembers. Every operation is atomic,
/// also among processes that share one database, is durable when it returns, and may be called from any
/// thread.
class QuotaStore
{
public:
    /// A counter: whose, and for which period (its begin in seconds since the epoch).
    struct Key
    {
        std::string caller; ///< a hash of the caller's token
        std::int64_t period = 0;
    };

    virtual ~QuotaStore() = default;

    /// Counts one rewrite if fewer than `limit` are counted. Returns whether it was counted.
    [[nodiscard]] virtual bool take(const Key& key, std::int64_t limit) = 0;
    /// Takes back a rewrite that was counted and not delivered.
    virtual void giveBack(const Key& key) = 0;
    /// What is counted.
    [[nodiscard]] virtual std::int64_t used(const Key& key) = 0;
    /// Forgets every counter of a period that began before `period`.
    virtual void forgetBefore(std::int64_t period) = 0;
};

} // namespace quillmarsh::service
