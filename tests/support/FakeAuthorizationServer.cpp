#include "support/FakeAuthorizationServer.h"

#include "support/TestTls.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QUrlQuery>

#include <qcoro/qcoronetworkreply.h>

namespace quillmarsh::test {

namespace {

QByteArray json(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray pathOf(const RecordedRequest& request)
{
    return request.target.split('?').first();
}

/// As a server reads a form: a "+" would be a space there, so one may never be sent unencoded.
QList<QPair<QString, QString>> parseForm(const QByteArray& text, QStringList& violations)
{
    if (text.contains('+'))
        violations.append(QStringLiteral("an unencoded plus sign in a form"));
    QList<QPair<QString, QString>> form;
    for (const QByteArray& pair : text.split('&')) {
        const qsizetype equals = pair.indexOf('=');
        form.append(
            {QUrl::fromPercentEncoding(pair.left(equals)), QUrl::fromPercentEncoding(pair.mid(equals + 1))});
    }
    return form;
}

QString valueOf(const QList<QPair<QString, QString>>& form, const char* name)
{
    for (const auto& pair : form) {
        if (pair.first == QLatin1String(name))
            return pair.second;
    }
    return {};
}

QStringList list(const char* names)
{
    return QString::fromLatin1(names).split(u' ');
}

void override(QJsonObject& object, const QJsonObject& changes)
{
    for (auto it = changes.begin(); it != changes.end(); ++it) {
        object.insert(it.key(), it.value());
        if (it.value().isNull())
            object.remove(it.key());
    }
}

bool matches(const QString& text, const char* pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QString::fromLatin1(pattern)))
        .match(text)
        .hasMatch();
}

/// Made once per process: it takes a while.
const TestSigningKey& sharedKey()
{
    static const TestSigningKey key(QStringLiteral("signing-key-1"));
    return key;
}

} // namespace

FakeAuthorizationServer::FakeAuthorizationServer(QString apiBase, const TestTls* tls)
    : apiBase_(std::move(apiBase)), key_(sharedKey()),
      server_(tls ? tls->makeListener() : std::make_unique<QTcpServer>(),
              tls ? QStringLiteral("https") : QStringLiteral("http"))
{
    browser_.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    server_.setResponder([this](const RecordedRequest& request, QTcpSocket& socket) {
        const QByteArray path = pathOf(request);
        const Answer answer = answerTo(request);
        const auto send = [guard = QPointer(&socket), answer] {
            if (guard)
                HttpTestServer::respond(*guard, answer.status, answer.body, answer.headerLines);
        };
        if (held_.contains(path))
            parked_.append(send);
        else
            send();
    });
}

void FakeAuthorizationServer::release()
{
    held_.clear();
    for (const auto& send : std::exchange(parked_, {}))
        send();
}

QString FakeAuthorizationServer::secret(const char* kind)
{
    const QString made = QStringLiteral("%1-%2-c4n4ry").arg(QLatin1String(kind)).arg(++serial_);
    secrets.append(made);
    return made;
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::refuse(const QString& why, int status)
{
    violations.append(why);
    return {status, R"({"error":"invalid_request"})"};
}

bool FakeAuthorizationServer::check(const Form& form, const QStringList& names, const QString& what)
{
    QStringList found;
    for (const auto& pair : form)
        found.append(pair.first);
    if (found != names)
        violations.append(what + QStringLiteral(" has the members ") + found.join(u','));
    return found == names;
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::answerTo(const RecordedRequest& request)
{
    const QByteArray path = pathOf(request);
    ++counts_[path];
    if (request.headers.contains("cookie") || request.headers.contains("authorization"))
        return refuse(QStringLiteral("a cookie or an authorization header"));
    const bool isGet = request.method == "GET";
    if (isGet && path == authorizePath)
        return authorize(parseForm(request.target.mid(path.size() + 1), violations));
    if (isGet && request.target == keysPath)
        return {200, json({{QStringLiteral("keys"), QJsonArray{key_.jwk()}}})};
    if (isGet && request.target == discoveryPath) {
        const QString endpoint = revocationEndpoint.value_or(origin() + QLatin1String(revokePath));
        return {discoveryStatus, json({{QStringLiteral("revocation_endpoint"), endpoint}})};
    }
    if (request.method == "POST" && request.target == tokenPath)
        return token(request);
    if (request.method == "POST" && request.target == revokePath)
        return revoke(request);
    return refuse(QStringLiteral("unexpected request ") + QString::fromLatin1(request.method + ' ' + path),
                  404);
}

QStringList FakeAuthorizationServer::authorizationNames(const QString& clientID) const
{
    const QStringList names =
        list("client_id ext_agent_host_id response_type redirect_uri resource scope state nonce "
             "code_challenge_method code_challenge");
    if (!clients_.contains(clientID))
        return names + list("agent_name_hint");
    if (!hints_.contains(clientID))
        return names;
    return names + list("id_token_hint login_hint");
}

bool FakeAuthorizationServer::hasGoodHints(const Form& form) const
{
    const Hints expected = hints_.value(valueOf(form, "client_id"));
    return valueOf(form, "id_token_hint") == expected.idToken &&
           valueOf(form, "login_hint") == expected.email;
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::authorize(const Form& form)
{
    const QString requested = valueOf(form, "client_id");
    const bool isNew = requested == QLatin1String("dynamic_agent_client");
    if (!isNew && !clients_.contains(requested))
        return refuse(QStringLiteral("authorization of an unknown client"));
    if (!isNew && !hasGoodHints(form))
        return refuse(QStringLiteral("hints of another account"));
    secrets += {valueOf(form, "state"), valueOf(form, "nonce")};
    const QString uuid = QStringLiteral("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}");
    const bool isGood =
        check(form, authorizationNames(requested), QStringLiteral("the authorization")) &&
        valueOf(form, "response_type") == u"code" &&
        matches(valueOf(form, "redirect_uri"), "http://127\\.0\\.0\\.1:[0-9]+/auth/callback") &&
        valueOf(form, "resource") == apiBase_ && matches(valueOf(form, "state"), uuid.toLatin1()) &&
        matches(valueOf(form, "nonce"), uuid.toLatin1()) &&
        valueOf(form, "nonce") != valueOf(form, "state") &&
        (!isNew || valueOf(form, "agent_name_hint") == u"Quillmarsh") &&
        valueOf(form, "scope") ==
            u"openid profile email offline_access resource.invoke chatgpt.tokens.use.direct" &&
        matches(valueOf(form, "ext_agent_host_id"), "urn:uuid:[0-9a-f-]{36}") &&
        valueOf(form, "code_challenge_method") == u"S256" &&
        matches(valueOf(form, "code_challenge"), "[A-Za-z0-9_-]{43}");
    if (!isGood)
        return refuse(QStringLiteral("a bad authorization request"));
    const QString clientID = isNew ? QStringLiteral("client-%1").arg(clients_.size() + 1) : requested;
    return {302, {}, "Location: " + redirectTarget(form, clientID, isNew).toUtf8() + "\r\n"};
}

QString FakeAuthorizationServer::redirectTarget(const Form& form, const QString& clientID, bool isNew)
{
    const QString base = valueOf(form, "redirect_uri") + QStringLiteral("?state=") + valueOf(form, "state") +
                         QStringLiteral("&iss=") + QString::fromLatin1(QUrl::toPercentEncoding(origin()));
    if (visit == Visit::declines)
        return base + QStringLiteral("&error=access_denied");
    if (visit == Visit::answersOtherError)
        return base + QStringLiteral("&error=server_error");
    clients_.insert(clientID, account);
    const QString code = secret("code");
    codes_.insert(code, {clientID, valueOf(form, "redirect_uri"), valueOf(form, "code_challenge"),
                         valueOf(form, "nonce"), account});
    QString named = isNew ? clientID : QString();
    if (visit == Visit::returnsOtherClient)
        named = QStringLiteral("client-999");
    if (visit == Visit::returnsDynamicClient)
        named = QStringLiteral("dynamic_agent_client");
    if (visit == Visit::returnsNoClient)
        named.clear();
    return base + QStringLiteral("&code=") + code +
           (named.isEmpty() ? QString() : QStringLiteral("&client_id=") + named);
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::token(const RecordedRequest& request)
{
    if (!tokenStatuses.isEmpty()) {
        const int status = tokenStatuses.takeFirst();
        return {status, "{}", "Location: http://127.0.0.1:9/elsewhere\r\n"};
    }
    if (request.headers.value("content-type") != "application/x-www-form-urlencoded")
        return refuse(QStringLiteral("a token request of another type"));
    const Form form = parseForm(request.body, violations);
    if (valueOf(form, "resource") != apiBase_)
        return refuse(QStringLiteral("tokens for another resource"));
    if (valueOf(form, "grant_type") == u"authorization_code")
        return redeem(form);
    if (valueOf(form, "grant_type") == u"refresh_token")
        return refresh(form);
    return refuse(QStringLiteral("an unknown grant type"));
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::redeem(const Form& form)
{
    if (!check(form, list("grant_type client_id code code_verifier redirect_uri resource"),
               QStringLiteral("the exchange")))
        return refuse(QStringLiteral("a bad exchange"));
    const QString code = valueOf(form, "code");
    const QString verifier = valueOf(form, "code_verifier");
    secrets.append(verifier);
    if (!codes_.contains(code))
        return refuse(QStringLiteral("an unknown or used code"));
    const Code issued = codes_.take(code);
    const QByteArray hash = QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256);
    if (TestSigningKey::base64Url(hash) != issued.challenge)
        return refuse(QStringLiteral("a wrong verifier"));
    if (issued.redirectURI != valueOf(form, "redirect_uri") || issued.clientID != valueOf(form, "client_id"))
        return refuse(QStringLiteral("a code of another client or redirect"));
    return grant(issued.clientID, issued.account, issued.nonce);
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::refresh(const Form& form)
{
    if (!check(form, list("grant_type client_id refresh_token resource"), QStringLiteral("the refresh")))
        return refuse(QStringLiteral("a bad refresh"));
    const QString clientID = valueOf(form, "client_id");
    if (refreshTokens_.value(valueOf(form, "refresh_token")) != clientID)
        return refuse(QStringLiteral("a refresh token that is not live"));
    refreshTokens_.remove(valueOf(form, "refresh_token"));
    return grant(clientID, clients_.value(clientID), {});
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::grant(const QString& clientID, const Account& who,
                                                               const QString& nonce)
{
    const double issued = now > 0 ? now : static_cast<double>(QDateTime::currentSecsSinceEpoch());
    QJsonObject claims{{QStringLiteral("iss"), origin()},      {QStringLiteral("aud"), clientID},
                       {QStringLiteral("exp"), issued + 3600}, {QStringLiteral("iat"), issued},
                       {QStringLiteral("sub"), who.subject},   {QStringLiteral("email"), who.email}};
    if (!nonce.isEmpty())
        claims.insert(QStringLiteral("nonce"), nonce);
    override(claims, claimOverrides);
    const QString access = secret("access");
    const QString refreshToken = secret("refresh");
    const QString idToken = key_.token(claims);
    secrets.append(idToken);
    accessTokens_.insert(access);
    refreshTokens_.insert(refreshToken, clientID);
    QJsonObject response{{QStringLiteral("access_token"), access},
                         {QStringLiteral("refresh_token"), refreshToken},
                         {QStringLiteral("id_token"), idToken},
                         {QStringLiteral("expires_in"), 3600},
                         {QStringLiteral("token_type"), QStringLiteral("Bearer")},
                         {QStringLiteral("scope"), who.scopes}};
    override(response, tokenOverrides);
    if (response.value(QLatin1String("id_token")) == idToken)
        hints_.insert(clientID, {idToken, claims.value(QLatin1String("email")).toString()});
    return {200, json(response)};
}

FakeAuthorizationServer::Answer FakeAuthorizationServer::revoke(const RecordedRequest& request)
{
    const Form form = parseForm(request.body, violations);
    if (request.headers.value("content-type") != "application/x-www-form-urlencoded" ||
        !check(form, list("token token_type_hint client_id"), QStringLiteral("the revocation")))
        return refuse(QStringLiteral("a bad revocation"));
    if (valueOf(form, "token_type_hint") != u"refresh_token" ||
        refreshTokens_.value(valueOf(form, "token")) != valueOf(form, "client_id"))
        return refuse(QStringLiteral("revocation of a token that is not live"));
    if (revocationStatus == 200)
        refreshTokens_.remove(valueOf(form, "token"));
    return {revocationStatus, "{}"};
}

Task<QUrl> FakeAuthorizationServer::redirectOf(QUrl url)
{
    QNetworkReply* const page = browser_.get(QNetworkRequest(url));
    co_await page;
    page->deleteLater();
    co_return page->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
}

Task<bool> FakeAuthorizationServer::openInBrowser(QUrl url)
{
    openedUrls.append(url);
    if (visit == Visit::doesNotOpen)
        co_return false;
    const QPointer<FakeAuthorizationServer> self(this);
    const QUrl page = co_await redirectOf(url);
    if (!self || page.isEmpty()) // the attempt has ended meanwhile
        co_return true;
    visitedUrls.append(page);
    if (visit == Visit::neverReturns)
        co_return true;
    const QUrl redirect = co_await redirectOf(page);
    if (!self || redirect.isEmpty())
        co_return true;
    QNetworkReply* const callback = browser_.get(QNetworkRequest(redirect));
    connect(callback, &QNetworkReply::finished, callback, &QObject::deleteLater);
    co_return true;
}

} // namespace quillmarsh::test
