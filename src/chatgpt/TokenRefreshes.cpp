#include "chatgpt/TokenRefreshes.h"

#include <QPointer>

namespace quillmarsh {

namespace {

Task<> ended(QFuture<CodexTokens> refresh)
{
    try {
        co_await resultOf(refresh, {});
    } catch (const std::exception&) {
        // Whoever waits for its result hears of it.
    }
}

} // namespace

TokenRefreshes::Shared TokenRefreshes::current(const QString& clientID) const
{
    return clientID_ == clientID ? current_ : nullptr;
}

TokenRefreshes::Shared TokenRefreshes::start(const CodexTokens& profile, Work work)
{
    cancel();
    const auto refresh = std::make_shared<SharedResult<CodexTokens>>();
    const Shared before = unfinished_[profile.clientID].lock();
    unfinished_[profile.clientID] = refresh;
    current_ = refresh;
    clientID_ = profile.clientID;
    detach(run(refresh, before, profile, std::move(work)));
    return refresh;
}

Task<> TokenRefreshes::run(Shared refresh, Shared before, CodexTokens profile, Work work)
{
    const QPointer<TokenRefreshes> self(this);
    const std::stop_token stop = refresh->stop.get_token();
    std::exception_ptr failure;
    std::optional<CodexTokens> result;
    try {
        if (before)
            co_await ended(before->promise.future());
        before.reset();
        throwIfStopped(stop);
        if (!self)
            throw Cancelled();
        result = co_await work(profile, stop);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && current_ == refresh)
        current_.reset();
    if (result)
        refresh->succeed(*result);
    else
        refresh->fail(failure);
}

void TokenRefreshes::cancel()
{
    if (current_)
        current_->stop.request_stop();
    current_.reset();
    clientID_.clear();
}

Task<> TokenRefreshes::settled()
{
    const auto unfinished = unfinished_;
    for (const auto& entry : unfinished) {
        if (const auto refresh = entry.second.lock())
            co_await ended(refresh->promise.future());
    }
}

} // namespace quillmarsh
