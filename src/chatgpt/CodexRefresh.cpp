#include "chatgpt/CodexOAuthService.h"

#include "chatgpt/CodexOAuthError.h"

namespace quillmarsh {

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
    TokenRefreshes::Shared refresh = refreshes_.current(active->clientID);
    if (!refresh) {
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

TokenRefreshes::Shared CodexOAuthService::startRefresh(const CodexTokens& profile)
{
    const QPointer<CodexOAuthService> self(this);
    return refreshes_.start(profile,
                            [self, generation = generation_](CodexTokens tokens, std::stop_token stop) {
                                return self->refreshed(std::move(tokens), generation, std::move(stop));
                            });
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
    co_await refreshes_.settled();
    if (self)
        co_await profiles_.settled();
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
        if (offersSelectedModel())
            co_return InferenceContext{tokens, selectedModel_};
        if (unloaded)
            throw *unloaded; // no choice would help
        throw CodexOAuthError(QStringLiteral("Choose an available ChatGPT model in Settings."));
    }
}

} // namespace quillmarsh
