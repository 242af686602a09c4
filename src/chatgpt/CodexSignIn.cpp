#include "chatgpt/CodexOAuthService.h"

#include "chatgpt/BrowserSignIn.h"

namespace quillmarsh {

Task<> CodexOAuthService::signIn(bool addAccount)
{
    if (isAuthenticating_)
        co_return;
    refreshes_.cancel();
    renewGeneration();
    loginStop_ = std::stop_source();
    const Attempt attempt{generation_, {}, loginStop_.get_token()};
    setAuthenticating(true);
    setLastError(std::nullopt);
    const QPointer<CodexOAuthService> self(this);
    std::optional<QString> failure;
    try {
        co_await profiles_.open(); // before the browser: an account that cannot be stored is of no use
        if (!self || attempt.stop.stop_requested())
            co_return;
        Attempt started = attempt;
        if (!addAccount)
            started.existing = selectedProfile();
        co_await runAttempt(started);
    } catch (const Cancelled&) {
    } catch (const std::exception& error) {
        failure = errorDescription(error);
    }
    if (self)
        endAttempt(attempt.generation, failure);
}

void CodexOAuthService::endAttempt(const QUuid& generation, const std::optional<QString>& failure)
{
    if (generation_ != generation)
        return;
    if (failure)
        setLastError(failure);
    setAuthenticating(false);
}

void CodexOAuthService::cancelSignIn()
{
    renewGeneration();
    loginStop_.request_stop();
    setAuthenticating(false);
}

Task<> CodexOAuthService::runAttempt(Attempt attempt)
{
    const QPointer<CodexOAuthService> self(this);
    BrowserSignIn browser(environment_, attempt.existing);
    const BrowserSignIn::Grant grant = co_await browser.authorize(attempt.stop);
    if (!self)
        throw Cancelled();
    throwIfStopped(attempt.stop);
    if (!attempt.existing)
        co_await recordRegistration(attempt, grant.clientID);
    if (!self)
        throw Cancelled();
    const CodexTokens tokens = co_await browser.exchange(grant, attempt.stop);
    if (!self)
        throw Cancelled();
    co_await adopt(attempt, tokens);
}

/// Recorded before the exchange: the server knows this client from now on, whatever happens. An account that
/// is connected through this client already stays as it is until the exchange has succeeded.
Task<> CodexOAuthService::recordRegistration(Attempt attempt, QString clientID)
{
    const QPointer<CodexOAuthService> self(this);
    const auto known = profiles_.find(clientID);
    if (known && !known->accessToken.isEmpty())
        co_return;
    CodexTokens placeholder;
    placeholder.clientID = clientID;
    const bool saved =
        co_await profiles_.apply(CodexProfiles::saving(placeholder), stillUnder(attempt.generation));
    if (!self || !saved)
        throw Cancelled();
}

Task<> CodexOAuthService::adopt(Attempt attempt, CodexTokens tokens)
{
    const QPointer<CodexOAuthService> self(this);
    const CodexProfiles::Change save = CodexProfiles::saving(tokens);
    const CodexProfiles::Change saveAlone = [save](QList<CodexTokens> profiles) {
        return CodexProfiles::withoutPlaceholders(save(std::move(profiles)));
    };
    const bool saved =
        co_await profiles_.apply(attempt.existing ? save : saveAlone, stillUnder(attempt.generation));
    if (!self || !saved)
        throw Cancelled();
    activate(tokens.clientID);
    if (!tokens.canUsePlan())
        setLastError(
            QStringLiteral("Connected, but ChatGPT plan usage wasn’t enabled. Manage access in ChatGPT, "
                           "then reconnect."));
}

} // namespace quillmarsh
