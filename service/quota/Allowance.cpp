#include "quota/Allowance.h"

#include <algorithm>

#include "base/Log.h"

namespace quillmarsh::service {

namespace {

Period::Time systemNow()
{
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

} // namespace

Allowance::Ticket::~Ticket()
{
    if (store_ == nullptr) {
        return;
    }
    try {
        store_->giveBack(key_);
    } catch (const StorageError& error) {
        logWarning(std::string("a count could not be taken back: ") + error.what());
    }
}

Allowance::Allowance(std::unique_ptr<QuotaStore> store, std::int64_t limit, Period period, Now now)
    : store_(std::move(store)), limit_(limit), period_(period), now_(now ? std::move(now) : systemNow)
{}

std::optional<Allowance::Ticket> Allowance::take(const std::string& caller)
{
    const QuotaStore::Key key = keyFor(caller, now_());
    if (!store_->take(key, limit_)) {
        return std::nullopt;
    }
    return std::optional<Ticket>(std::in_place, *store_, key);
}

Quota Allowance::quota(const std::string& caller)
{
    const Period::Time now = now_();
    const std::int64_t used = store_->used(keyFor(caller, now));
    const Period::Time end = period_.end(now);
    return {limit_, std::max<std::int64_t>(0, limit_ - used), iso8601(end), end - now};
}

QuotaStore::Key Allowance::keyFor(const std::string& caller, Period::Time now)
{
    const std::int64_t begin = period_.begin(now).time_since_epoch().count();
    // The last period stays for instances whose clocks are a little behind.
    const std::int64_t previous =
        period_.begin(period_.begin(now) - std::chrono::seconds(1)).time_since_epoch().count();
    if (forgottenBefore_.exchange(previous) < previous) {
        store_->forgetBefore(previous);
    }
    return {caller, begin};
}

} // namespace quillmarsh::service
