#include "chatgpt/TokenEndpoint.h"

#include "ai/AIError.h"
#include "base/Http.h"
#include "chatgpt/CodexOAuthError.h"

#include <QJsonDocument>

namespace quillmarsh {

namespace {

QNetworkRequest formRequest(const QUrl& url, std::chrono::seconds timeout)
{
    QNetworkRequest request = makeRequest(url, timeout);
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded");
    return request;
}

bool isSuccess(int status)
{
    return status >= 200 && status <= 299;
}

/// A credential goes to the server's own origin alone.
QUrl trustedRevocationUrl(const QByteArray& discovery, const QUrl& origin)
{
    const QJsonValue value =
        QJsonDocument::fromJson(discovery).object().value(QLatin1String("revocation_endpoint"));
    const QUrl url(value.toString(), QUrl::StrictMode);
    const bool trusted = url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty() &&
                         url.host() == origin.host() && url.port(443) == origin.port(443) &&
                         url.userInfo().isEmpty();
    if (!trusted)
        throw AIError::invalidResponse();
    return url;
}

// Free functions, because a coroutine may outlive the value that started it.

Task<QJsonObject> requestTokens(TokenEndpoint endpoint, OAuthQueryItems items, std::stop_token stop)
{
    const QUrl url(endpoint.authOrigin + QStringLiteral("/api/accounts/oauth/token"));
    const QByteArray body = OAuthQueryEncoder::encode(items).toUtf8();
    const HttpResponse response =
        co_await send(endpoint.session, "POST", formRequest(url, std::chrono::seconds(30)), body, stop);
    if (!isSuccess(response.statusCode))
        throw CodexOAuthError(
            QStringLiteral("ChatGPT connection failed (HTTP %1). Please reconnect your account.")
                .arg(response.statusCode));
    const QJsonDocument document = QJsonDocument::fromJson(response.body);
    if (!document.isObject())
        throw AIError::invalidResponse();
    co_return document.object();
}

Task<> revokeTokens(TokenEndpoint endpoint, CodexTokens profile)
{
    const QUrl origin(endpoint.authOrigin);
    const QUrl discoveryUrl(endpoint.authOrigin + QStringLiteral("/.well-known/openid-configuration"));
    const HttpResponse discovery =
        co_await send(endpoint.session, "GET", makeRequest(discoveryUrl, std::chrono::seconds(60)), {}, {});
    if (discovery.statusCode != 200)
        throw AIError::invalidResponse();
    const QUrl url = trustedRevocationUrl(discovery.body, origin);
    const OAuthQueryItems items{{QStringLiteral("token"), profile.refreshToken},
                                {QStringLiteral("token_type_hint"), QStringLiteral("refresh_token")},
                                {QStringLiteral("client_id"), profile.clientID}};
    const HttpResponse response =
        co_await send(endpoint.session, "POST", formRequest(url, std::chrono::seconds(15)),
                      OAuthQueryEncoder::encode(items).toUtf8(), {});
    if (!isSuccess(response.statusCode))
        throw AIError::invalidResponse();
}

} // namespace

Task<QJsonObject> TokenEndpoint::request(OAuthQueryItems items, std::stop_token stop) const
{
    return requestTokens(*this, std::move(items), std::move(stop));
}

Task<> TokenEndpoint::revoke(CodexTokens profile) const
{
    return revokeTokens(*this, std::move(profile));
}

} // namespace quillmarsh
