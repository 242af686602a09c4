#pragma once

#include "base/Task.h"
#include "support/HttpTestServer.h"
#include "support/TestSigningKey.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QSet>
#include <QStringList>
#include <QUrl>

namespace quillmarsh::test {

class TestTls;

/// An authorization server on 127.0.0.1 together with the browser that visits it. Strict: whatever a real
/// server would refuse is refused here and noted in `violations`, which a test has to find empty.
class FakeAuthorizationServer final : public QObject
{
public:
    enum class Visit {
        approves,
        declines,
        answersOtherError,   ///< "server_error"
        doesNotOpen,         ///< the browser cannot be started
        neverReturns,        ///< the user leaves the page open
        returnsOtherClient,  ///< the redirect names another client
        returnsNoClient,     ///< a new registration without its client identifier
        returnsDynamicClient ///< … or with the placeholder of the request
    };

    struct Account
    {
        QString subject = QStringLiteral("user-1");
        QString email = QStringLiteral("one@example.com");
        QString scopes =
            QStringLiteral("openid profile email offline_access resource.invoke chatgpt.tokens.use.direct");
    };

    /// `apiBase` is the only resource that tokens are given for.
    explicit FakeAuthorizationServer(QString apiBase, const TestTls* tls = nullptr);

    [[nodiscard]] QString origin() const { return server_.origin(); }
    [[nodiscard]] HttpTestServer& http() { return server_; }
    /// Opens `url`, which redirects to this server, as the user's browser does, acts as `visit` says, and
    /// follows the redirect.
    Task<bool> openInBrowser(QUrl url);
    [[nodiscard]] bool accepts(const QString& accessToken) const
    {
        return accessTokens_.contains(accessToken);
    }
    /// From now on this access token is refused, though it has not expired.
    void withdraw(const QString& accessToken) { accessTokens_.remove(accessToken); }
    [[nodiscard]] int count(const QByteArray& path) const { return counts_.value(path); }
    /// Parks answers to `path` until release().
    void hold(const QByteArray& path) { held_.insert(path); }
    void release();
    [[nodiscard]] qsizetype parked() const { return parked_.size(); }

    static constexpr auto authorizePath = "/api/accounts/authorize";
    static constexpr auto tokenPath = "/api/accounts/oauth/token";
    static constexpr auto revokePath = "/api/accounts/oauth/revoke";
    static constexpr auto keysPath = "/.well-known/jwks.json";
    static constexpr auto discoveryPath = "/.well-known/openid-configuration";

    Visit visit = Visit::approves;
    Account account;
    QJsonObject tokenOverrides; ///< members that replace those of a token response; null removes one
    QJsonObject claimOverrides; ///< the same for the claims of an ID token
    QList<int> tokenStatuses;   ///< answered in order before any request is looked at
    int revocationStatus = 200;
    int discoveryStatus = 200;
    std::optional<QString> revocationEndpoint; ///< instead of the server's own
    double now = 0;                            ///< 0: the wall clock
    QStringList violations;
    QList<QUrl> openedUrls;  ///< what the browser was started with
    QList<QUrl> visitedUrls; ///< where that led
    QStringList secrets;     ///< every state, code, verifier and token seen or made, for the search in logs

private:
    struct Code
    {
        QString clientID;
        QString redirectURI;
        QString challenge;
        QString nonce;
        Account account;
    };

    struct Hints ///< what the next authorization of a client has to bring
    {
        QString idToken;
        QString email;
    };

    struct Answer
    {
        int status;
        QByteArray body;
        QByteArray headerLines = {};
    };

    using Form = QList<QPair<QString, QString>>;

    Answer answerTo(const RecordedRequest& request);
    Answer authorize(const Form& form);
    Answer token(const RecordedRequest& request);
    Answer redeem(const Form& form);
    Answer refresh(const Form& form);
    Answer revoke(const RecordedRequest& request);
    Answer grant(const QString& clientID, const Account& who, const QString& nonce);
    Answer refuse(const QString& why, int status = 400);
    Task<QUrl> redirectOf(QUrl url);
    [[nodiscard]] QStringList authorizationNames(const QString& clientID) const;
    [[nodiscard]] bool hasGoodHints(const Form& form) const;
    [[nodiscard]] QString redirectTarget(const Form& form, const QString& clientID, bool isNew);
    [[nodiscard]] QString secret(const char* kind);
    bool check(const Form& form, const QStringList& names, const QString& what);

    QString apiBase_;
    const TestSigningKey& key_;
    HttpTestServer server_;
    QNetworkAccessManager browser_;
    QHash<QString, Code> codes_;
    QHash<QString, Account> clients_;
    QHash<QString, Hints> hints_;           ///< of clients that were given an ID token
    QHash<QString, QString> refreshTokens_; ///< live ones, and their clients
    QSet<QString> accessTokens_;
    QHash<QByteArray, int> counts_;
    QSet<QByteArray> held_;
    QList<std::function<void()>> parked_;
    int serial_ = 0;
};

} // namespace quillmarsh::test
