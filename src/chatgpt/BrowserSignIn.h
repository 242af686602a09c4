#pragma once

#include "chatgpt/CodexEnvironment.h"

namespace quillmarsh {

/// One sign-in through the user's browser, from the authorization page to the tokens. It knows nothing of the
/// stored profiles. Keep it until the step that is awaited has ended.
class BrowserSignIn final
{
public:
    /// What the browser brought back.
    struct Grant
    {
        QString clientID; ///< newly registered, or that of the profile being reconnected
        QString code;     ///< to be exchanged once
    };

    /// `existing` is the profile being reconnected; none adds an account.
    BrowserSignIn(const CodexEnvironment& environment, std::optional<CodexTokens> existing);

    /// Opens the browser and waits for the user's answer, at most OAuthCallbackServer::patience. Throws
    /// CodexOAuthError, a LocalizedError when no port is to be had, or Cancelled.
    Task<Grant> authorize(std::stop_token stop);
    /// Throws as TokenEndpoint::request() and validatedTokens() do.
    Task<CodexTokens> exchange(Grant grant, std::stop_token stop);

private:
    [[nodiscard]] QString registeredClient(const OAuthCallbackServer::Callback& callback) const;

    CodexEnvironment environment_;
    AuthorizationRequest request_;
    QString verifier_;
    std::shared_ptr<OAuthCallbackServer> server_; ///< also after its outcome: the browser still gets its page
};

} // namespace quillmarsh
