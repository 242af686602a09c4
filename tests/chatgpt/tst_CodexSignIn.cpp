#include "support/ConnectionFixture.h"
#include "support/ManualAlarms.h"
#include "support/TestTls.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QUrlQuery>

#include <qcoro/qcoronetworkreply.h>

using namespace quillmarsh;
using test::ConnectionFixture;
using Visit = test::FakeAuthorizationServer::Visit;
using namespace std::chrono_literals;

namespace {

const QString identityMessage =
    QStringLiteral("Could not verify your ChatGPT identity. Please sign in again.");
const QString invalidMessage = QStringLiteral("Invalid response from AI service");
const QString mismatchMessage = QStringLiteral("ChatGPT returned an incomplete or mismatched registration.");

/// What the attempt puts into lastError.
QString failureOf(ConnectionFixture& fixture, bool addAccount)
{
    test::runTask(fixture.service->signIn(addAccount));
    return fixture.service->lastError().value_or(QString());
}

/// A browser that brings a code back without any server's doing.
Task<bool> approveWithoutServer(QUrl url)
{
    auto* const browser = new QNetworkAccessManager(QCoreApplication::instance());
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* const entrance = browser->get(request);
    co_await entrance;
    const QUrlQuery query(entrance->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl());
    const QString redirect = query.queryItemValue(QStringLiteral("redirect_uri"), QUrl::FullyDecoded);
    browser->get(QNetworkRequest(QUrl(redirect + QStringLiteral("?code=c&client_id=x&state=") +
                                      query.queryItemValue(QStringLiteral("state")))));
    co_return true;
}

} // namespace

class tst_CodexSignIn final : public QObject, private test::ConnectionTest
{
    Q_OBJECT

    /// Begins an attempt, cancels it as soon as `reached` holds, lets everything go, and checks that nothing
    /// of it stays behind.
    void cancelAt(const std::function<bool()>& reached);

    /// Begins to add a third account and suspends the attempt at `place`.
    [[nodiscard]] Task<> attemptHeldAt(const QString& place);
    /// Lets whatever is held go on.
    void letGo() const
    {
        f_->secItems.held = false;
        f_->auth.release();
    }

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void theFirstSignIn()
    {
        QSignalSpy authenticating(f_->service.get(), &CodexOAuthService::isAuthenticatingChanged);
        Task<> signingIn = f_->service->signIn(false);
        QVERIFY(f_->service->isAuthenticating());
        test::runTask(std::move(signingIn));
        QVERIFY(!f_->service->isAuthenticating());
        QCOMPARE(authenticating.size(), 2);
        QCOMPARE(f_->service->lastError(), std::nullopt);
        const auto tokens = f_->service->tokens();
        QVERIFY(tokens && tokens->canUsePlan());
        QCOMPARE(tokens->clientID, QStringLiteral("client-1"));
        QCOMPARE(tokens->subject, QStringLiteral("user-1"));
        QCOMPARE(tokens->email, QStringLiteral("one@example.com"));
        QCOMPARE(tokens->expiresAt, f_->now + 3600);
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
        QCOMPARE(f_->defaultsValue("chatgpt.activeClientID"), QStringLiteral("client-1"));
        QVERIFY(f_->defaultsValue("chatgpt.hostID").startsWith(QStringLiteral("urn:uuid:")));
    }

    void aConnectedAccountIsThereAfterAStart()
    {
        f_->connectAccount();
        const auto tokens = f_->service->tokens();
        f_->restart();
        QCOMPARE(f_->service->tokens(), tokens);
    }

    void aServiceWithoutStoredStateStartsEmpty()
    {
        f_->connectAccount();
        f_->restart(CodexOAuthService::StoredState::ignore);
        QVERIFY(f_->service->profiles().isEmpty() && f_->service->activeClientID().isEmpty());
    }

    void aReconnectionKeepsTheClient()
    {
        f_->connectAccount();
        const QString before = f_->service->tokens()->accessToken;
        f_->connectAccount(false);
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->service->tokens()->clientID, QStringLiteral("client-1"));
        QVERIFY(f_->service->tokens()->accessToken != before);
    }

    void aSecondAccountIsAClientOfItsOwn()
    {
        f_->connectAccount();
        f_->auth.account = {QStringLiteral("user-2"), QStringLiteral("two@example.com"),
                            f_->auth.account.scopes};
        f_->connectAccount(true);
        QCOMPARE(f_->service->profiles().size(), 2);
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
        QCOMPARE(f_->service->profiles().first().clientID, QStringLiteral("client-1"));
        QCOMPARE(f_->defaultsValue("chatgpt.hostID").size(), 45);
    }

    void everyAttemptHasSecretsOfItsOwn()
    {
        f_->connectAccount();
        f_->connectAccount();
        const auto part = [&](int visit, const char* name) {
            return QUrlQuery(f_->auth.visitedUrls[visit]).queryItemValue(QLatin1String(name));
        };
        for (const char* name : {"state", "nonce", "code_challenge"})
            QVERIFY(part(0, name) != part(1, name));
        QCOMPARE(part(0, "ext_agent_host_id"), part(1, "ext_agent_host_id"));
    }

    void whatTheBrowserBringsBack_data()
    {
        QTest::addColumn<int>("visit");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, Visit visit, const QString& message) {
            QTest::newRow(name) << static_cast<int>(visit) << message;
        };
        row("declined", Visit::declines,
            QStringLiteral("Connection was declined. You can try again when you’re ready."));
        row("other error", Visit::answersOtherError,
            QStringLiteral("ChatGPT couldn’t authorize this connection. Please try again."));
        row("not opened", Visit::doesNotOpen,
            QStringLiteral("Couldn’t open your browser. Please try again."));
        row("no client", Visit::returnsNoClient, mismatchMessage);
        row("dynamic client", Visit::returnsDynamicClient, mismatchMessage);
    }
    void whatTheBrowserBringsBack()
    {
        QFETCH(int, visit);
        QFETCH(QString, message);
        f_->auth.visit = static_cast<Visit>(visit);
        QCOMPARE(failureOf(*f_, false), message);
        QVERIFY(!f_->service->isAuthenticating());
        QVERIFY(f_->service->profiles().isEmpty());
        QCOMPARE(f_->secItems.stored(), QByteArray());
        QCOMPARE(f_->auth.count(test::FakeAuthorizationServer::tokenPath), 0);
        f_->auth.visit = Visit::approves;
        f_->connectAccount();
        QCOMPARE(f_->service->lastError(), std::nullopt);
    }

    void aReconnectionOfAnotherClientIsRefused()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->auth.visit = Visit::returnsOtherClient;
        QCOMPARE(failureOf(*f_, false), mismatchMessage);
        QCOMPARE(f_->service->profiles(), before);
        QCOMPARE(f_->secItems.storedProfiles(), before);
    }

    void aReconnectionCannotSwitchAccounts()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->auth.account.subject = QStringLiteral("user-2");
        QCOMPARE(failureOf(*f_, false),
                 QStringLiteral("This connection belongs to another ChatGPT account."));
        QCOMPARE(f_->service->profiles(), before);
        QCOMPARE(f_->secItems.storedProfiles(), before);
    }

    void theAttemptTimesOut()
    {
        test::ManualAlarms clock;
        f_->auth.visit = Visit::neverReturns;
        CodexEnvironment environment = f_->environment();
        environment.alarms = clock.alarms();
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        Task<> attempt = f_->service->signIn(false);
        QTRY_COMPARE(f_->auth.visitedUrls.size(), 1);
        clock.advance(299'999ms);
        test::runTask(sleepFor(20ms));
        QVERIFY(f_->service->isAuthenticating());
        clock.advance(1ms);
        test::runTask(std::move(attempt));
        QCOMPARE(f_->service->lastError(), QStringLiteral("Sign-in timed out. Please try again."));
    }

    /// Whoever reads the command lines of this machine learns neither the state nor the last ID token.
    void theAddressThatIsOpenedHoldsNoSecret()
    {
        f_->connectAccount();
        f_->connectAccount(); // this one brings the ID token as a hint
        QVERIFY(f_->auth.visitedUrls[1].toString().contains(QStringLiteral("id_token_hint")));
        QCOMPARE(f_->auth.openedUrls.size(), 2);
        QVERIFY(f_->auth.secrets.size() >= 12);
        for (const QUrl& opened : f_->auth.openedUrls) {
            QCOMPARE(opened.host(), QStringLiteral("127.0.0.1"));
            for (const QString& secret : f_->auth.secrets)
                QVERIFY2(!opened.toString().contains(secret), qPrintable(secret));
        }
    }

    void anotherUsersProgramIsNotSentOn()
    {
        CodexEnvironment environment = f_->environment();
        bool isAsked = false;
        environment.isOfAnotherUser = [&](quint16, quint16) { return isAsked = true; };
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        Task<> attempt = f_->service->signIn(false);
        QTRY_VERIFY(isAsked);
        QVERIFY(f_->service->isAuthenticating() && f_->auth.visitedUrls.isEmpty());
        f_->service->cancelSignIn();
        test::runTask(std::move(attempt));
        QCOMPARE(f_->auth.visitedUrls.size(), 0);
    }

    void theOpenedAddressIsDeadWhenTheAttemptEnds()
    {
        QUrl opened;
        CodexEnvironment environment = f_->environment();
        environment.openBrowser = [&](QUrl url) -> Task<bool> { // and the user never looks at it
            opened = url;
            co_return true;
        };
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        Task<> attempt = f_->service->signIn(false);
        QTRY_VERIFY(!opened.isEmpty());
        f_->service->cancelSignIn();
        test::runTask(std::move(attempt));
        QTcpSocket socket;
        QSignalSpy refused(&socket, &QTcpSocket::errorOccurred);
        socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(opened.port()));
        QTRY_COMPARE(refused.size(), 1);
        QCOMPARE(socket.error(), QTcpSocket::ConnectionRefusedError);
    }

    /// Every place where an attempt waits, and everything that can overtake it there.
    void anOvertakenAttemptChangesNothing_data();
    void anOvertakenAttemptChangesNothing();

    void onlyOneAttemptRuns()
    {
        f_->auth.visit = Visit::neverReturns;
        Task<> first = f_->service->signIn(false);
        QTRY_COMPARE(f_->auth.visitedUrls.size(), 1);
        QVERIFY(f_->service->signIn(true).isReady());
        QCOMPARE(f_->auth.visitedUrls.size(), 1);
        f_->service->cancelSignIn();
        test::runTask(std::move(first));
    }

    void cancelledWhileTheBrowserIsOpen()
    {
        f_->auth.visit = Visit::neverReturns;
        cancelAt([&] { return f_->auth.visitedUrls.size() == 1; });
        // The address of the attempt is dead at once.
        const QUrl redirect(QUrlQuery(f_->auth.visitedUrls[0])
                                .queryItemValue(QStringLiteral("redirect_uri"), QUrl::FullyDecoded));
        QTcpSocket socket;
        QSignalSpy refused(&socket, &QTcpSocket::errorOccurred);
        socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(redirect.port()));
        QTRY_COMPARE(refused.size(), 1);
        QCOMPARE(socket.error(), QTcpSocket::ConnectionRefusedError);
    }

    void cancelledDuringTheExchange()
    {
        f_->auth.hold(test::FakeAuthorizationServer::tokenPath);
        cancelAt([&] { return f_->auth.parked() == 1; });
    }

    void cancelledDuringTheVerification()
    {
        f_->auth.hold(test::FakeAuthorizationServer::keysPath);
        cancelAt([&] { return f_->auth.parked() == 1; });
    }

    void cancelledWhileTheRegistrationIsStored()
    {
        f_->secItems.held = true;
        cancelAt([&] { return f_->secItems.waiting == 1; });
        QVERIFY(f_->service->profiles().isEmpty());
        QVERIFY(f_->secItems.storedProfiles().isEmpty());
    }

    void aRollbackThatFailsIsFollowedByAnotherReading()
    {
        f_->secItems.held = true;
        Task<> attempt = f_->service->signIn(false);
        QTRY_COMPARE(f_->secItems.waiting, 1);
        f_->secItems.inner.updateStatus = errSecItemNotFound; // the list is added, and cannot be replaced
        f_->service->cancelSignIn();
        f_->secItems.held = false;
        test::runTask(std::move(attempt));
        QCOMPARE(f_->secItems.storedProfiles().size(), 1);
        QVERIFY(f_->service->profiles().isEmpty());
        f_->secItems.inner.updateStatus = errSecSuccess;
        f_->secItems.inner.calls.clear();
        test::runTask(f_->service->loaded());
        QCOMPARE(f_->secItems.inner.calls.front().first, QByteArray("copyMatching"));
        QVERIFY(f_->secItems.storedProfiles().isEmpty());
    }

    void cancelledWhileTheAccountIsStored()
    {
        f_->auth.hold(test::FakeAuthorizationServer::keysPath);
        Task<> attempt = f_->service->signIn(false);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->secItems.held = true;
        f_->auth.release();
        QTRY_COMPARE(f_->secItems.waiting, 1);
        f_->service->cancelSignIn();
        f_->secItems.held = false;
        test::runTask(std::move(attempt));
        QTRY_COMPARE(f_->secItems.waiting, 0);
        QCOMPARE(f_->service->tokens(), std::nullopt);
        QCOMPARE(f_->service->activeClientID(), QString());
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
        QVERIFY(CodexProfiles::withoutPlaceholders(f_->service->profiles()).isEmpty());
    }

    void theNextAttemptIsNotDisturbedByACancelledOne()
    {
        f_->auth.hold(test::FakeAuthorizationServer::tokenPath);
        Task<> first = f_->service->signIn(false);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->service->cancelSignIn();
        Task<> second = f_->service->signIn(true);
        QTRY_COMPARE(f_->auth.parked(), 2);
        f_->auth.release();
        test::runTask(std::move(first));
        test::runTask(std::move(second));
        QCOMPARE(f_->service->lastError(), std::nullopt);
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
    }

    void tokenResponsesAreReadStrictly_data();
    void tokenResponsesAreReadStrictly();

    void statusesOfTheTokenEndpoint()
    {
        for (const int status : {400, 401, 429, 500, 302, 307}) {
            f_->auth.tokenStatuses = {status};
            const int before = f_->auth.count(test::FakeAuthorizationServer::tokenPath);
            QCOMPARE(failureOf(*f_, true),
                     QStringLiteral("ChatGPT connection failed (HTTP %1). Please reconnect your account.")
                         .arg(status));
            QCOMPARE(f_->auth.count(test::FakeAuthorizationServer::tokenPath), before + 1);
        }
    }

    void anIdentityThatDoesNotVerify()
    {
        f_->auth.claimOverrides = {{QStringLiteral("nonce"), QStringLiteral("replayed")}};
        QCOMPARE(failureOf(*f_, false), identityMessage);
        f_->auth.claimOverrides = {{QStringLiteral("aud"), QStringLiteral("client-9")}};
        QCOMPARE(failureOf(*f_, false), identityMessage);
        QCOMPARE(f_->service->tokens(), std::nullopt);
    }

    void withoutPlanUsage()
    {
        f_->auth.account.scopes = QStringLiteral("openid  resource.invoke ");
        test::runTask(f_->service->signIn(false));
        QCOMPARE(
            f_->service->lastError(),
            QStringLiteral("Connected, but ChatGPT plan usage wasn’t enabled. Manage access in ChatGPT, then "
                           "reconnect."));
        QCOMPARE(f_->service->tokens()->scopes,
                 (QStringList{QStringLiteral("openid"), QStringLiteral("resource.invoke")}));
        QVERIFY(!f_->service->tokens()->canUsePlan());
    }

    void anUnfinishedRegistrationIsStoredButNeverActive()
    {
        f_->auth.tokenStatuses = {500};
        test::runTask(f_->service->signIn(false));
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->service->profiles().first().accessToken, QString());
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
        QCOMPARE(f_->service->activeClientID(), QString());
        QCOMPARE(f_->service->tokens(), std::nullopt);
        f_->connectAccount(true); // the next success removes it
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
    }

    void anUnfinishedRegistrationNeverReplacesAnAccount()
    {
        f_->connectAccount();
        CodexTokens working = *f_->service->tokens();
        working.clientID = QStringLiteral("client-999");
        test::runTask(f_->service->save(working));
        const auto before = f_->service->profiles();
        f_->auth.visit = Visit::returnsOtherClient;
        f_->auth.tokenStatuses = {500};
        QVERIFY(failureOf(*f_, true).contains(QStringLiteral("HTTP 500")));
        QCOMPARE(f_->service->profiles(), before);
        QCOMPARE(f_->secItems.storedProfiles(), before);
    }

    void anUnfinishedRegistrationIsGoneAfterAStart()
    {
        f_->connectAccount();
        f_->auth.tokenStatuses = {500};
        test::runTask(f_->service->signIn(true));
        QCOMPARE(f_->secItems.storedProfiles().size(), 2);
        f_->restart();
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->secItems.storedProfiles().size(), 1);
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-1"));
    }

    void aStoreThatRefusesEndsTheAttempt()
    {
        f_->secItems.inner.addStatus = errSecIO;
        QCOMPARE(failureOf(*f_, false), QStringLiteral("save failed"));
        f_->secItems.inner.updateStatus = errSecInteractionNotAllowed;
        QVERIFY(failureOf(*f_, false).contains(QStringLiteral("-25308")));
        QVERIFY(f_->service->profiles().isEmpty());
        QCOMPARE(f_->auth.count(test::FakeAuthorizationServer::tokenPath), 0);
    }

    void aStoreThatIsLockedAtTheStartIsAskedAgain()
    {
        f_->connectAccount();
        f_->secItems.inner.copyStatus = errSecInteractionNotAllowed;
        // At the start, when the fixture waits for it, and by the sign-in.
        for (int i = 0; i < 3; ++i)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QStringLiteral("could not be read.*locked")));
        f_->restart();
        QVERIFY(f_->service->profiles().isEmpty());
        QVERIFY(failureOf(*f_, true).contains(QStringLiteral("-25308")));
        QCOMPARE(f_->secItems.storedProfiles().size(), 1); // accounts that are not known are not overwritten
        f_->secItems.inner.copyStatus = errSecSuccess;
        QVERIFY(test::runTask(f_->service->loadedTokens()));
        QCOMPARE(f_->service->profiles().size(), 1);
    }

    /// What an open store cannot give out any more would otherwise keep every account out for ever.
    void anItemThatIsBrokenInTheStoreIsOverwrittenByASignIn()
    {
        f_->connectAccount();
        const QList<CodexTokens> before = f_->service->profiles();
        f_->secItems.inner.copyStatus = errSecIO;
        for (int i = 0; i < 3; ++i)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be read.*-36")));
        f_->restart();
        QVERIFY(f_->service->profiles().isEmpty());
        QCOMPARE(f_->secItems.storedProfiles(), before); // not before somebody signs in
        QCOMPARE(failureOf(*f_, false), QString());
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
    }

    void aStoreThatIsAwayEndsTheAttempt()
    {
        f_->connectAccount();
        const QList<CodexTokens> before = f_->secItems.storedProfiles();
        f_->secItems.inner.copyStatus = errSecNotAvailable;
        for (int i = 0; i < 3; ++i)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QStringLiteral("could not be read.*-25291")));
        f_->restart();
        QVERIFY(failureOf(*f_, false).contains(QStringLiteral("-25291")));
        QCOMPARE(f_->secItems.storedProfiles(), before);
        QCOMPARE(f_->auth.visitedUrls.size(), 1);
    }

    void aLockedStoreIsUnlockedBeforeTheBrowserOpens()
    {
        f_->secItems.inner.copyStatus = errSecInteractionNotAllowed;
        for (int i = 0; i < 2; ++i)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QStringLiteral("could not be read.*locked")));
        f_->restart();
        f_->secItems.onUnlock = [this] {
            f_->secItems.inner.copyStatus = errSecSuccess;
            return f_->auth.visitedUrls.isEmpty() ? errSecSuccess : errSecIO;
        };
        f_->connectAccount();
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
    }

    void aDismissedUnlockPromptEndsTheAttempt()
    {
        f_->secItems.inner.copyStatus = errSecInteractionNotAllowed;
        for (int i = 0; i < 2; ++i)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QStringLiteral("could not be read.*locked")));
        f_->restart();
        f_->secItems.onUnlock = [] { return errSecInteractionNotAllowed; };
        QCOMPARE(failureOf(*f_, false),
                 QStringLiteral("The operation couldn’t be completed. (OSStatus error -25308.)"));
        QVERIFY(!f_->service->isAuthenticating());
        QVERIFY(f_->auth.visitedUrls.isEmpty());
    }

    void noNetwork()
    {
        CodexEnvironment environment = f_->environment();
        environment.endpoints.authOrigin = QStringLiteral("http://127.0.0.1:9");
        environment.openBrowser = approveWithoutServer;
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        QCOMPARE(failureOf(*f_, false), QStringLiteral("Couldn’t connect to the server."));
    }

    void anUntrustedCertificateIsAnError()
    {
        const test::TestTls tls;
        f_ = std::make_unique<ConnectionFixture>(&tls);
        CodexEnvironment environment = f_->environment();
        environment.openBrowser = approveWithoutServer;
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        QCOMPARE(failureOf(*f_, false),
                 QStringLiteral("A secure connection to the server couldn’t be made."));
        QCOMPARE(f_->auth.http().requests().size(), 0U);
    }

    void theServiceMayGoAwayAtAnyTime()
    {
        f_->auth.hold(test::FakeAuthorizationServer::tokenPath);
        Task<> attempt = f_->service->signIn(false);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->service.reset();
        test::runTask(std::move(attempt));
        f_->restart();
        f_->auth.visit = Visit::neverReturns;
        Task<> waiting = f_->service->signIn(true);
        f_->service.reset();
        test::runTask(std::move(waiting));
    }

    void withoutAnInstalledServiceThereIsNoAccount()
    {
        QVERIFY(CodexOAuthService::shared().profiles().isEmpty());
        QCOMPARE(CodexOAuthService::shared().tokens(), std::nullopt);
        test::runTask(CodexOAuthService::shared().signIn(false));
        QVERIFY(CodexOAuthService::shared().lastError());
        auto made =
            std::make_unique<CodexOAuthService>(f_->environment(), CodexOAuthService::StoredState::load);
        CodexOAuthService* const address = made.get();
        CodexOAuthService::installShared(std::move(made));
        QCOMPARE(&CodexOAuthService::shared(), address);
        CodexOAuthService::installShared(nullptr);
        QVERIFY(&CodexOAuthService::shared() != address);
    }
};

void tst_CodexSignIn::cancelAt(const std::function<bool()>& reached)
{
    Task<> attempt = f_->service->signIn(false);
    QTRY_VERIFY(reached());
    f_->service->cancelSignIn();
    QVERIFY(!f_->service->isAuthenticating());
    f_->secItems.held = false;
    f_->auth.release();
    test::runTask(std::move(attempt));
    QTRY_COMPARE(f_->secItems.waiting, 0);
    QVERIFY(!f_->service->isAuthenticating());
    QCOMPARE(f_->service->lastError(), std::nullopt);
    QCOMPARE(f_->service->tokens(), std::nullopt);
    QCOMPARE(f_->service->activeClientID(), QString());
    QVERIFY(CodexProfiles::withoutPlaceholders(f_->secItems.storedProfiles()).isEmpty());
}

Task<> tst_CodexSignIn::attemptHeldAt(const QString& place)
{
    using Server = test::FakeAuthorizationServer;
    if (place == u"reading" || place == u"unlocking") {
        f_->secItems.inner.copyStatus = place == u"reading" ? errSecSuccess : errSecInteractionNotAllowed;
        if (place == u"reading")
            f_->secItems.held = true;
        f_->service =
            std::make_unique<CodexOAuthService>(f_->environment(), CodexOAuthService::StoredState::load);
        f_->secItems.held = true;
    }
    const QHash<QString, QByteArray> paths{{QStringLiteral("page"), Server::authorizePath},
                                           {QStringLiteral("registering"), Server::authorizePath},
                                           {QStringLiteral("token"), Server::tokenPath},
                                           {QStringLiteral("keys"), Server::keysPath},
                                           {QStringLiteral("storing"), Server::keysPath}};
    if (paths.contains(place))
        f_->auth.hold(paths.value(place));
    if (place == u"callback")
        f_->auth.visit = Visit::neverReturns;
    const qsizetype visited = f_->auth.visitedUrls.size();
    Task<> attempt = f_->service->signIn(true);
    const bool isInStore = place == u"registering" || place == u"storing";
    const auto isHeld = [&] {
        if (place == u"callback")
            return f_->auth.visitedUrls.size() > visited;
        return paths.contains(place) ? f_->auth.parked() == 1 : f_->secItems.waiting == 1;
    };
    if (!QTest::qWaitFor(isHeld))
        qFatal("The attempt does not come to this place");
    if (isInStore) {
        f_->secItems.held = true;
        f_->auth.release();
        if (!QTest::qWaitFor([&] { return f_->secItems.waiting == 1; }))
            qFatal("The attempt does not come to the store");
    }
    return attempt;
}

void tst_CodexSignIn::anOvertakenAttemptChangesNothing_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("deed");
    for (const char* place :
         {"reading", "unlocking", "page", "callback", "registering", "token", "keys", "storing"}) {
        for (const char* deed : {"select", "sign out", "cancel", "sign in", "end"})
            QTest::addRow("%s, %s", place, deed) << QString::fromLatin1(place) << QString::fromLatin1(deed);
    }
}

void tst_CodexSignIn::anOvertakenAttemptChangesNothing()
{
    QFETCH(QString, place);
    QFETCH(QString, deed);
    f_->connectAccount();
    f_->auth.account = {QStringLiteral("user-2"), QStringLiteral("two@example.com"), f_->auth.account.scopes};
    f_->connectAccount(true);
    const QList<CodexTokens> both = f_->service->profiles();
    if (place == u"unlocking") {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be read.*locked")));
        f_->secItems.onUnlock = [this] { return f_->secItems.inner.copyStatus = errSecSuccess; };
    }
    f_->auth.account = {QStringLiteral("user-3"), QStringLiteral("three@example.com"),
                        f_->auth.account.scopes};
    std::vector<Task<>> tasks;
    tasks.push_back(attemptHeldAt(place));

    if (deed == u"select")
        f_->service->selectProfile(QStringLiteral("client-1"));
    else if (deed == u"sign out")
        tasks.push_back(f_->service->signOut());
    else if (deed == u"end")
        f_->service.reset();
    else
        f_->service->cancelSignIn();
    if (deed == u"sign in") {
        f_->auth.visit = Visit::declines;
        tasks.push_back(f_->service->signIn(true));
    }
    letGo();
    for (Task<>& task : tasks)
        test::runTask(std::move(task));
    QTRY_COMPARE(f_->secItems.waiting, 0);

    const QList<CodexTokens> stored = CodexProfiles::withoutPlaceholders(f_->secItems.storedProfiles());
    if (deed == u"end") { // whatever had reached the store by then may be there
        QCOMPARE(stored.mid(0, 2), both);
        return;
    }
    const QList<CodexTokens> expected = deed == u"sign out" ? both.mid(0, 1) : both;
    QCOMPARE(stored, expected);
    QCOMPARE(CodexProfiles::withoutPlaceholders(f_->service->profiles()), expected);
    const bool isFirst = deed == u"select" || deed == u"sign out";
    QCOMPARE(f_->service->activeClientID(),
             isFirst ? QStringLiteral("client-1") : QStringLiteral("client-2"));
    QVERIFY(!f_->service->isAuthenticating());
    if (deed == u"select" || deed == u"cancel")
        QCOMPARE(f_->service->lastError(), std::nullopt);
}

void tst_CodexSignIn::tokenResponsesAreReadStrictly_data()
{
    QTest::addColumn<QJsonObject>("overrides");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const char* member, const QJsonValue& value,
                        const QString& message) {
        QTest::newRow(name) << QJsonObject{{QLatin1String(member), value}} << message;
    };
    const QJsonValue none = QJsonValue::Null;
    row("no access token", "access_token", none, invalidMessage);
    row("empty access token", "access_token", QString(), invalidMessage);
    row("access token a number", "access_token", 5, invalidMessage);
    row("no lifetime", "expires_in", none, invalidMessage);
    row("lifetime zero", "expires_in", 0, invalidMessage);
    row("lifetime negative", "expires_in", -1, invalidMessage);
    row("lifetime text", "expires_in", QStringLiteral("3600"), invalidMessage);
    row("no type", "token_type", none, invalidMessage);
    row("type mac", "token_type", QStringLiteral("mac"), invalidMessage);
    row("type a list", "token_type", QJsonArray{QStringLiteral("Bearer")}, invalidMessage);
    row("type in capitals", "token_type", QStringLiteral("BEARER"), QString());
    row("no ID token", "id_token", none, invalidMessage);
    row("ID token a number", "id_token", 7, invalidMessage);
    row("ID token rubbish", "id_token", QStringLiteral("a.b.c"), identityMessage);
    row("ID token empty", "id_token", QString(), identityMessage);
    row("no refresh token", "refresh_token", none, QString());
}

void tst_CodexSignIn::tokenResponsesAreReadStrictly()
{
    QFETCH(QJsonObject, overrides);
    QFETCH(QString, message);
    f_->auth.tokenOverrides = overrides;
    QCOMPARE(failureOf(*f_, false), message);
    QCOMPARE(f_->service->tokens().has_value(), message.isEmpty());
}

QTEST_GUILESS_MAIN(tst_CodexSignIn)
#include "tst_CodexSignIn.moc"
