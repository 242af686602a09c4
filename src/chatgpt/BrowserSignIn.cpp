#include "chatgpt/BrowserSignIn.h"

#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/PKCE.h"
#include "chatgpt/TokenEndpoint.h"

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

Task<> openBrowser(CodexEnvironment environment, QUrl url, std::weak_ptr<OAuthCallbackServer> server)
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

} // namespace

BrowserSignIn::BrowserSignIn(const CodexEnvironment& environment, std::optional<CodexTokens> existing)
    : environment_(environment)
{
    const PKCE pkce = PKCE::generate();
    verifier_ = pkce.verifier;
    request_.existing = std::move(existing);
    request_.state = AuthorizationRequest::randomUuid();
    request_.nonce = AuthorizationRequest::randomUuid();
    request_.challenge = pkce.challenge;
    if (environment_.defaults)
        request_.hostID = AuthorizationRequest::storedHostID(*environment_.defaults);
    server_ = std::make_shared<OAuthCallbackServer>(request_.state, environment_.endpoints.authOrigin,
                                                    environment_.alarms);
}

Task<BrowserSignIn::Grant> BrowserSignIn::authorize(std::stop_token stop)
{
    const std::stop_callback finishOnStop(
        stop, [server = server_] { server->finish(std::make_exception_ptr(Cancelled())); });
    request_.port = co_await server_->start();
    // The address holds the state and the last ID token, and is seen on no command line.
    OneShotRedirect entrance(request_.url(environment_.endpoints), environment_.isOfAnotherUser,
                             environment_.alarms);
    const std::optional<QUrl> address = entrance.start();
    if (!address)
        throw CodexOAuthError(notOpened());
    // The browser may be slow to come back from opening; the redirect does not wait for it.
    detach(openBrowser(environment_, *address, server_));
    const OAuthCallbackServer::Callback callback = co_await server_->waitForCallback();
    throwIfStopped(stop);
    if (callback.error)
        throw CodexOAuthError(messageFor(*callback.error));
    const QString clientID = registeredClient(callback);
    co_return Grant{clientID, callback.code.value_or(QString())};
}

QString BrowserSignIn::registeredClient(const OAuthCallbackServer::Callback& callback) const
{
    const QString known = request_.existing ? request_.existing->clientID : QString();
    const QString clientID = callback.clientID.value_or(known);
    const bool matches = !request_.existing || clientID == known;
    if (clientID.isEmpty() || clientID == QLatin1String(AuthorizationRequest::dynamicClient) || !matches)
        throw CodexOAuthError(QStringLiteral("ChatGPT returned an incomplete or mismatched registration."));
    return clientID;
}

Task<CodexTokens> BrowserSignIn::exchange(Grant grant, std::stop_token stop)
{
    const OAuthQueryItems items{{QStringLiteral("grant_type"), QStringLiteral("authorization_code")},
                                {QStringLiteral("client_id"), grant.clientID},
                                {QStringLiteral("code"), grant.code},
                                {QStringLiteral("code_verifier"), verifier_},
                                {QStringLiteral("redirect_uri"), request_.redirectURI()},
                                {QStringLiteral("resource"), environment_.endpoints.openAIApiBase}};
    const TokenEndpoint endpoint{environment_.session, environment_.endpoints.authOrigin};
    const QJsonObject response = co_await endpoint.request(items, stop);
    co_return co_await validatedTokens(environment_, response, grant.clientID, request_.nonce,
                                       request_.existing, stop);
}

} // namespace quillmarsh
