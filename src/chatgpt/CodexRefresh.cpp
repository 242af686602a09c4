#include "chatgpt/CodexOAuthService.h"

#include "chatgpt/CodexOAuthError.h"

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

Task<CodexTokens> CodexOAuthService::refreshIfNeeded(Refresh mode, std::stop_token stop)
{
    const QPointer<CodexOAuthService> self(this);
    co_await loaded();
    if (!self)
        throw Cancelled();
    throwIfStopped(stop);
    const auto active = tokens();
    if (!active)
        throw CodexOAuthError(QStringLiteral("Connect your ChatGPT account in Settings."));
    if (mode == Refresh::ifNeeded && active->isFresh(environment_.now()))
        co_return *active;
    std::shared_ptr<SharedRefresh> refresh = refresh_;
    if (!refresh || refreshClientID_ != active->clientID) {
        if (active->refreshToken.isEmpty())
            throw CodexOAuthError(QStringLiteral("Your ChatGPT session ended. Please reconnect."));
        refresh = startRefresh(*active);
    }
    try {
        co_return co_await resultOf(refresh->promise.future(), stop);
    } catch (const Cancelled&) {
        if (!self || stop.stop_requested() || !refresh->stop.stop_requested())
            throw;
    }
    // A sign-in, a sign-out or another choice of profile has ended the refresh, not this caller.
    co_await profiles_.settled();
    if (!self)
        throw Cancelled();
    const bool isSame = activeClientID_ == active->clientID;
    co_return co_await refreshIfNeeded(isSame ? mode : Refresh::ifNeeded, stop);
}

std::shared_ptr<CodexOAuthService::SharedRefresh> CodexOAuthService::startRefresh(const CodexTokens& profile)
{
    cancelRefresh();
    const auto refresh = std::make_shared<SharedRefresh>();
    const auto before = unfinishedRefreshes_[profile.clientID].lock();
    unfinishedRefreshes_[profile.clientID] = refresh;
    refresh_ = refresh;
    refreshClientID_ = profile.clientID;
    detach(runRefresh(refresh, before, profile));
    return refresh;
}

/// A cancelled refresh of the same profile may still be on its way out: two never run at once.
Task<> CodexOAuthService::runRefresh(std::shared_ptr<SharedRefresh> refresh,
                                     std::shared_ptr<SharedRefresh> before, CodexTokens profile)
{
    const QPointer<CodexOAuthService> self(this);
    const QUuid generation = generation_;
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
        result = co_await refreshed(profile, generation, stop);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && refresh_ == refresh)
        refresh_.reset();
    if (result)
        refresh->succeed(*result);
    else
        refresh->fail(failure);
}

Task<CodexTokens> CodexOAuthService::refreshed(CodexTokens profile, QUuid generation, std::stop_token stop)
{
    const QPointer<CodexOAuthService> self(this);
    const CodexEnvironment environment = environment_;
    const OAuthQueryItems items{{QStringLiteral("grant_type"), QStringLiteral("refresh_token")},
                                {QStringLiteral("client_id"), profile.clientID},
                                {QStringLiteral("refresh_token"), profile.refreshToken},
                                {QStringLiteral("resource"), environment.endpoints.openAIApiBase}};
    const QJsonObject response = co_await tokenEndpoint().request(items, stop);
    const CodexTokens tokens =
        co_await validatedTokens(environment, response, profile.clientID, std::nullopt, profile, stop);
    // Not over a record that a sign-in has replaced or a sign-out has removed meanwhile.
    const auto wanted = [self, generation, profile] {
        return self && self->generation_ == generation && self->profiles_.find(profile.clientID) == profile;
    };
    if (wanted())
        co_await profiles_.apply(CodexProfiles::saving(tokens), wanted);
    co_return tokens;
}

Task<> CodexOAuthService::settled()
{
    const QPointer<CodexOAuthService> self(this);
    const auto unfinished = unfinishedRefreshes_;
    for (const auto& entry : unfinished) {
        if (const auto refresh = entry.second.lock())
            co_await ended(refresh->promise.future());
    }
    if (self)
        co_await profiles_.settled();
}

void CodexOAuthService::cancelRefresh()
{
    if (refresh_)
        refresh_->stop.request_stop();
    refresh_.reset();
    refreshClientID_.clear();
}

Task<CodexOAuthService::InferenceContext> CodexOAuthService::inferenceContext(std::stop_token stop)
{
    const QPointer<CodexOAuthService> self(this);
    for (;;) {
        CodexTokens tokens = co_await refreshIfNeeded(Refresh::ifNeeded, stop);
        if (!self)
            throw Cancelled();
        if (!tokens.canUsePlan())
            throw CodexOAuthError(
                QStringLiteral("Enable ChatGPT plan usage in ChatGPT settings, then reconnect."));
        NetworkFailure unloaded;
        if (models_.isEmpty())
            unloaded = co_await modelsLoaded(stop);
        if (!self)
            throw Cancelled();
        const auto current = this->tokens();
        if (!current || current->clientID != tokens.clientID)
            continue; // the user has switched profiles or signed out meanwhile
        if (current->isFresh(environment_.now()))
            tokens = *current; // those before may have been withdrawn while the models were loaded
        for (const ChatGPTModel& model : models_) {
            if (model.slug == selectedModel_)
                co_return InferenceContext{tokens, selectedModel_};
        }
        if (unloaded)
            throw *unloaded; // no choice would help
        throw CodexOAuthError(QStringLiteral("Choose an available ChatGPT model in Settings."));
    }
}

} // namespace quillmarsh
