#include "chatgpt/CodexOAuthService.h"

#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/PKCE.h"

namespace quillmarsh {

namespace {

QString notOpened()
{
    return QStringLiteral("Couldn’t open your browser. Please try again.");
}

QString messageFor(const QString& error)
{
    if (error == QLatin1String("access_denied"))
        return QStringLiteral("Connection was declined. You can try again when you’re ready.");
    return QStringLiteral("ChatGPT couldn’t authorize this connection. Please try again.");
}

/// The client that this authorization is for: a newly registered one, or that of the profile being
/// reconnected.
QString registeredClient(const OAuthCallbackServer::Callback& callback,
                         const std::optional<CodexTokens>& existing)
{
    const QString known = existing ? existing->clientID : QString();
    const QString clientID = callback.clientID.value_or(known);
    const bool matches = !existing || clientID == known;
    if (clientID.isEmpty() || clientID == QLatin1String(AuthorizationRequest::dynamicClient) || !matches)
        throw CodexOAuthError(QStringLiteral("ChatGPT returned an incomplete or mismatched registration."));
    return clientID;
}

} // namespace

Task<> CodexOAuthService::signIn(bool addAccount)
{
    if (isAuthenticating_)
        co_return;
    cancelRefresh();
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
    server_.reset();
    if (failure)
        setLastError(failure);
    setAuthenticating(false);
}

void CodexOAuthService::cancelSignIn()
{
    renewGeneration();
    loginStop_.request_stop();
    if (server_)
        server_->finish(std::make_exception_ptr(Cancelled()));
    server_.reset();
    setAuthenticating(false);
}

Task<> CodexOAuthService::runAttempt(Attempt attempt)
{
    const QPointer<CodexOAuthService> self(this);
    const Grant grant = co_await authorize(attempt);
    if (!self)
        throw Cancelled();
    throwIfStopped(attempt.stop);
    if (!attempt.existing)
        co_await recordRegistration(attempt, grant.clientID);
    if (!self)
        throw Cancelled();
    const CodexTokens tokens = co_await exchange(attempt, grant);
    if (!self)
        throw Cancelled();
    co_await adopt(attempt, tokens);
}

Task<CodexOAuthService::Grant> CodexOAuthService::authorize(Attempt attempt)
{
    const PKCE pkce = PKCE::generate();
    AuthorizationRequest request;
    request.existing = attempt.existing;
    request.state = AuthorizationRequest::randomUuid();
    request.nonce = AuthorizationRequest::randomUuid();
    request.challenge = pkce.challenge;
    if (environment_.defaults)
        request.hostID = AuthorizationRequest::storedHostID(*environment_.defaults);
    const auto server = std::make_shared<OAuthCallbackServer>(
        request.state, environment_.endpoints.authOrigin, environment_.alarms);
    server_ = server;
    const CodexEnvironment environment = environment_;
    request.port = co_await server->start();
    // The address holds the state and the last ID token, and is seen on no command line.
    OneShotRedirect entrance(request.url(environment.endpoints), environment.isOfAnotherUser,
                             environment.alarms);
    const std::optional<QUrl> address = entrance.start();
    if (!address)
        throw CodexOAuthError(notOpened());
    // The browser may be slow to come back from opening; the redirect does not wait for it.
    detach(openBrowser(environment, *address, server));
    const OAuthCallbackServer::Callback callback = co_await server->waitForCallback();
    throwIfStopped(attempt.stop);
    if (callback.error)
        throw CodexOAuthError(messageFor(*callback.error));
    const QString clientID = registeredClient(callback, attempt.existing);
    co_return Grant{clientID, callback.code.value_or(QString()), pkce.verifier, request.redirectURI(),
                    request.nonce};
}

Task<> CodexOAuthService::openBrowser(CodexEnvironment environment, QUrl url,
                                      std::weak_ptr<OAuthCallbackServer> server)
{
    bool opened = false;
    try {
        if (environment.openBrowser)
            opened = co_await environment.openBrowser(url);
    } catch (const std::exception&) {
        opened = false;
    }
    const auto waiting = server.lock();
    if (!opened && waiting)
        waiting->finish(std::make_exception_ptr(CodexOAuthError(notOpened())));
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

Task<CodexTokens> CodexOAuthService::exchange(Attempt attempt, Grant grant)
{
    const CodexEnvironment environment = environment_;
    const OAuthQueryItems items{{QStringLiteral("grant_type"), QStringLiteral("authorization_code")},
                                {QStringLiteral("client_id"), grant.clientID},
                                {QStringLiteral("code"), grant.code},
                                {QStringLiteral("code_verifier"), grant.verifier},
                                {QStringLiteral("redirect_uri"), grant.redirectURI},
                                {QStringLiteral("resource"), environment.endpoints.openAIApiBase}};
    const QJsonObject response = co_await tokenEndpoint().request(items, attempt.stop);
    co_return co_await validatedTokens(environment, response, grant.clientID, grant.nonce, attempt.existing,
                                       attempt.stop);
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
