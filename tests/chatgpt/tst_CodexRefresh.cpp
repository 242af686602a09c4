#include "chatgpt/CodexOAuthError.h"
#include "support/ConnectionFixture.h"

#include <QSignalSpy>

using namespace quillmarsh;
using test::failureOf;
using test::FakeAuthorizationServer;
using Refresh = CodexOAuthService::Refresh;

class tst_CodexRefresh final : public QObject, private test::ConnectionTest
{
    Q_OBJECT

    [[nodiscard]] int tokenRequests() const { return f_->auth.count(FakeAuthorizationServer::tokenPath); }
    [[nodiscard]] CodexTokens refreshNow(Refresh mode = Refresh::ifNeeded) const
    {
        return test::runTask(f_->service->refreshIfNeeded(mode));
    }
    /// The active token has `seconds` left.
    void leave(double seconds) const { f_->now = f_->service->tokens()->expiresAt - seconds; }

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void withoutAnAccount()
    {
        const QString connect = QStringLiteral("Connect your ChatGPT account in Settings.");
        QCOMPARE(failureOf(f_->service->refreshIfNeeded(Refresh::ifNeeded)), connect);
        QCOMPARE(failureOf(f_->service->inferenceContext()), connect);
    }

    void aRewriteAtOnceAfterTheStartFindsItsTokens()
    {
        f_->connectAccount();
        f_->secItems.held = true;
        f_->service =
            std::make_unique<CodexOAuthService>(f_->environment(), CodexOAuthService::StoredState::load);
        Task<CodexTokens> early = f_->service->refreshIfNeeded(Refresh::ifNeeded);
        QCOMPARE(f_->service->tokens(), std::nullopt);
        f_->secItems.held = false;
        QCOMPARE(test::runTask(std::move(early)).clientID, QStringLiteral("client-1"));
    }

    void theMarginIsFiveMinutes()
    {
        f_->connectAccount();
        const QString first = f_->service->tokens()->accessToken;
        leave(301);
        QCOMPARE(refreshNow().accessToken, first);
        QCOMPARE(tokenRequests(), 1);
        leave(299);
        f_->auth.now = f_->now;
        const CodexTokens refreshed = refreshNow();
        QVERIFY(refreshed.accessToken != first);
        QCOMPARE(tokenRequests(), 2);
        QCOMPARE(refreshed.expiresAt, f_->now + 3600);
        QCOMPARE(f_->service->tokens(), refreshed);
        QCOMPARE(f_->secItems.storedProfiles(), QList<CodexTokens>{refreshed});
    }

    void theModelsAreAskedForWithAFreshToken()
    {
        f_->connectAccount();
        leave(299);
        f_->auth.now = f_->now;
        test::runTask(f_->service->loadModels());
        QCOMPARE(tokenRequests(), 2);
        QCOMPARE(f_->model.modelsRequests, 1);
        QCOMPARE(f_->model.http().requests().back().headers.value("authorization"),
                 "Bearer " + f_->service->tokens()->accessToken.toUtf8());
    }

    void aForcedRefreshDoesNotLookAtTheExpiry()
    {
        f_->connectAccount();
        const QString first = f_->service->tokens()->accessToken;
        QVERIFY(refreshNow(Refresh::forced).accessToken != first);
    }

    void callersShareOneRefresh()
    {
        f_->connectAccount();
        leave(0);
        f_->auth.now = f_->now;
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> first = f_->service->refreshIfNeeded(Refresh::ifNeeded);
        Task<CodexTokens> second = f_->service->refreshIfNeeded(Refresh::forced);
        std::stop_source stop;
        Task<CodexTokens> third = f_->service->refreshIfNeeded(Refresh::ifNeeded, stop.get_token());
        QTRY_COMPARE(f_->auth.parked(), 1);
        stop.request_stop(); // one who stops waiting does not stop the others
        QCOMPARE(failureOf(std::move(third)), QStringLiteral("cancelled"));
        f_->auth.release();
        const CodexTokens result = test::runTask(std::move(first));
        QCOMPARE(test::runTask(std::move(second)), result);
        QCOMPARE(tokenRequests(), 2);
        test::runTask(f_->service->refreshIfNeeded(Refresh::forced));
        QCOMPARE(tokenRequests(), 3);
    }

    void callersShareAFailureToo()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->auth.tokenStatuses = {400};
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> first = f_->service->refreshIfNeeded(Refresh::forced);
        Task<CodexTokens> second = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->auth.release();
        const QString message =
            QStringLiteral("ChatGPT connection failed (HTTP 400). Please reconnect your account.");
        QCOMPARE(failureOf(std::move(first)), message);
        QCOMPARE(failureOf(std::move(second)), message);
        QCOMPARE(f_->service->profiles(), before);
        QCOMPARE(failureOf(f_->service->refreshIfNeeded(Refresh::forced)),
                 QString()); // and it can be tried again
    }

    void whatAResponseLeavesOutIsKept()
    {
        f_->connectAccount();
        const CodexTokens before = *f_->service->tokens();
        f_->auth.tokenOverrides = {{QStringLiteral("id_token"), QJsonValue::Null},
                                   {QStringLiteral("scope"), QJsonValue::Null},
                                   {QStringLiteral("refresh_token"), QJsonValue::Null}};
        const CodexTokens after = refreshNow(Refresh::forced);
        QCOMPARE(after.idToken, before.idToken);
        QCOMPARE(after.subject, before.subject);
        QCOMPARE(after.email, before.email);
        QCOMPARE(after.scopes, before.scopes);
        QCOMPARE(after.refreshToken, before.refreshToken);
        QVERIFY(after.accessToken != before.accessToken);
    }

    void aRefreshCannotSwitchAccounts()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->auth.claimOverrides = {{QStringLiteral("sub"), QStringLiteral("user-2")}};
        QCOMPARE(failureOf(f_->service->refreshIfNeeded(Refresh::forced)),
                 QStringLiteral("This connection belongs to another ChatGPT account."));
        QCOMPARE(f_->service->profiles(), before);
    }

    void withoutARefreshToken()
    {
        f_->auth.tokenOverrides = {{QStringLiteral("refresh_token"), QJsonValue::Null}};
        f_->connectAccount();
        leave(301);
        QCOMPARE(failureOf(f_->service->refreshIfNeeded(Refresh::ifNeeded)), QString());
        leave(299);
        QCOMPARE(failureOf(f_->service->refreshIfNeeded(Refresh::ifNeeded)),
                 QStringLiteral("Your ChatGPT session ended. Please reconnect."));
        QCOMPARE(tokenRequests(), 1);
    }

    void aStoreThatRefusesIsToldAndChangesNothing()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->secItems.inner.updateStatus = errSecIO;
        QVERIFY(failureOf(f_->service->refreshIfNeeded(Refresh::forced)).contains(QStringLiteral("-36")));
        QCOMPARE(f_->service->profiles(), before);
    }

    /// Every place where a refresh can be overtaken, and everything that can overtake it.
    void aStaleRefreshChangesNothing_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("deed");
        for (const char* place : {"token", "keys", "store"}) {
            for (const char* deed : {"switch", "sign out", "sign in", "cancel"})
                QTest::addRow("%s, %s", place, deed)
                    << QString::fromLatin1(place) << QString::fromLatin1(deed);
        }
    }
    void aStaleRefreshChangesNothing()
    {
        QFETCH(QString, place);
        QFETCH(QString, deed);
        f_->connectTwoAccounts();
        const CodexTokens other = f_->service->profiles().first();
        const CodexTokens before = *f_->service->tokens();
        const bool inStore = place == u"store";
        if (inStore)
            f_->secItems.held = true;
        else
            f_->auth.hold(place == u"token" ? FakeAuthorizationServer::tokenPath
                                            : FakeAuthorizationServer::keysPath);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_VERIFY(inStore ? f_->secItems.waiting == 1 : f_->auth.parked() == 1);

        f_->auth.visit = FakeAuthorizationServer::Visit::neverReturns;
        f_->auth.revocationStatus = 200;
        std::vector<Task<>> deeds;
        if (deed == u"switch")
            f_->service->selectProfile(other.clientID);
        else if (deed == u"sign out")
            deeds.push_back(f_->service->signOut());
        else if (deed == u"sign in")
            deeds.push_back(f_->service->signIn(true));
        else
            f_->service->cancelSignIn();
        f_->secItems.held = false;
        f_->auth.release();
        const QString outcome = failureOf(std::move(refreshing));
        // During a sign-in the same profile is refreshed anew, with a token that may be used up by then.
        const bool isUsedUp = deed == u"sign in" && outcome.contains(u"HTTP 400");
        QVERIFY2(outcome.isEmpty() || outcome == u"cancelled" || isUsedUp, qPrintable(outcome));
        if (deed == u"sign in")
            f_->service->cancelSignIn();
        for (Task<>& task : deeds)
            test::runTask(std::move(task));
        QTRY_COMPARE(f_->secItems.waiting, 0);

        const QList<CodexTokens> expected =
            deed == u"sign out" ? QList<CodexTokens>{other} : QList<CodexTokens>{other, before};
        QCOMPARE(f_->service->profiles(), expected);
        QCOMPARE(f_->secItems.storedProfiles(), expected);
        // The server may have taken the refresh token back already; that is no fault of the client here.
        f_->auth.violations.removeAll(QStringLiteral("revocation of a token that is not live"));
        f_->auth.violations.removeAll(QStringLiteral("a bad revocation"));
        if (isUsedUp)
            f_->auth.violations.clear();
    }

    /// Whoever lost a refresh to a switch waits for the store, and goes on with whatever account there is
    /// then.
    void aSignOutBehindAnEndedRefresh()
    {
        f_->connectTwoAccounts();
        const QList<CodexTokens> both = f_->service->profiles();
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->secItems.held = true;
        Task<> saving = f_->service->save(both.last());
        QTRY_COMPARE(f_->secItems.waiting, 1);
        f_->service->selectProfile(both.first().clientID);
        QTest::qWait(20); // the refresh has ended
        QVERIFY(!refreshing.isReady());
        Task<> signingOut = f_->service->signOut();
        f_->secItems.held = false;
        QVERIFY(both.contains(test::runTask(std::move(refreshing))));
        test::runTask(std::move(saving));
        test::runTask(std::move(signingOut));
        QCOMPARE(f_->service->profiles(), both.mid(1));
        QCOMPARE(f_->secItems.storedProfiles(), both.mid(1));
        f_->auth.release();
    }

    /// A refresh token is handed out once, so the process does not end before the new one is stored.
    void theEndWaitsForTheStore()
    {
        f_->connectAccount();
        QVERIFY(f_->service->settled().isReady());
        f_->secItems.held = true;
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->secItems.waiting, 1);
        Task<> settled = f_->service->settled();
        QTest::qWait(20);
        QVERIFY(!settled.isReady());
        f_->secItems.held = false;
        test::runTask(std::move(settled));
        QCOMPARE(f_->secItems.storedProfiles(), QList<CodexTokens>{*f_->service->tokens()});
        QCOMPARE(test::runTask(std::move(refreshing)), *f_->service->tokens());
    }

    void theEndWaitsForARefreshUnderWay()
    {
        f_->connectAccount();
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        Task<> settled = f_->service->settled();
        QTest::qWait(20);
        QVERIFY(!settled.isReady());
        f_->auth.release();
        test::runTask(std::move(settled));
        const QString fresh = f_->service->tokens()->refreshToken;
        QCOMPARE(f_->secItems.storedProfiles().first().refreshToken, fresh);
        QCOMPARE(test::runTask(std::move(refreshing)).refreshToken, fresh);
    }

    /// Whatever the user does before the stored accounts are there counts for a rewrite that waits for them.
    void overtakenWhileTheStoreIsRead_data()
    {
        QTest::addColumn<QString>("deed");
        for (const char* deed : {"switch", "sign out", "end"})
            QTest::newRow(deed) << QString::fromLatin1(deed);
    }
    void overtakenWhileTheStoreIsRead()
    {
        QFETCH(QString, deed);
        f_->connectTwoAccounts();
        const QList<CodexTokens> both = f_->service->profiles();
        f_->secItems.held = true;
        f_->service =
            std::make_unique<CodexOAuthService>(f_->environment(), CodexOAuthService::StoredState::load);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::ifNeeded);
        std::vector<Task<>> deeds;
        if (deed == u"switch")
            f_->service->selectProfile(both.first().clientID);
        else if (deed == u"sign out")
            deeds.push_back(f_->service->signOut());
        else
            f_->service.reset();
        f_->secItems.held = false;
        const QString outcome = failureOf(std::move(refreshing));
        for (Task<>& task : deeds)
            test::runTask(std::move(task));
        QTRY_COMPARE(f_->secItems.waiting, 0);
        QCOMPARE(outcome, deed == u"end" ? QStringLiteral("cancelled") : QString());
        QCOMPARE(f_->secItems.storedProfiles(), deed == u"sign out" ? both.mid(0, 1) : both);
        QCOMPARE(tokenRequests(), 2); // those of the sign-ins
    }

    void twoRefreshesNeverRunForOneProfile()
    {
        f_->connectTwoAccounts();
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> first = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        const int before = tokenRequests();
        f_->service->selectProfile(QStringLiteral("client-1"));
        f_->service->selectProfile(QStringLiteral("client-2"));
        Task<CodexTokens> second = f_->service->refreshIfNeeded(Refresh::forced);
        QCOMPARE(tokenRequests(), before); // not before the first has ended
        QTRY_COMPARE(f_->auth.parked(), 2);
        QCOMPARE(tokenRequests(), before + 1);
        f_->auth.violations.clear(); // the first had reached the server, which took the token back
        f_->auth.release();
        QCOMPARE(failureOf(std::move(first)), failureOf(std::move(second))); // they have shared it
    }

    /// Whoever waits for a refresh that another choice of profile ends gets the new profile's token.
    void aRefreshEndedByASwitchGoesOnForTheNewProfile()
    {
        f_->connectTwoAccounts();
        const CodexTokens other = f_->service->profiles().first();
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->service->selectProfile(other.clientID);
        QCOMPARE(test::runTask(std::move(refreshing)), other);
        f_->auth.release();
    }

    void aRefreshDoesNotOverwriteAReconnection()
    {
        f_->connectAccount();
        f_->auth.visit = FakeAuthorizationServer::Visit::neverReturns;
        f_->auth.hold(FakeAuthorizationServer::keysPath);
        const CodexTokens before = *f_->service->tokens();
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        CodexTokens reconnected = before;
        reconnected.accessToken = QStringLiteral("newer");
        test::runTask(f_->service->save(reconnected));
        f_->auth.release();
        QCOMPARE(failureOf(std::move(refreshing)), QString());
        QCOMPARE(f_->service->tokens(), reconnected);
    }

    void theServiceMayGoAwayDuringARefresh()
    {
        f_->connectAccount();
        f_->auth.hold(FakeAuthorizationServer::tokenPath);
        Task<CodexTokens> refreshing = f_->service->refreshIfNeeded(Refresh::forced);
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->service.reset();
        QCOMPARE(failureOf(std::move(refreshing)), QStringLiteral("cancelled"));
    }

    void theContextOfARewrite()
    {
        f_->connectAccount();
        const auto context = test::runTask(f_->service->inferenceContext());
        QCOMPARE(context.tokens, *f_->service->tokens());
        QCOMPARE(context.model, QStringLiteral("m-1"));
        QCOMPARE(f_->model.modelsRequests, 1);
        f_->service->setSelectedModel(QStringLiteral("m-2"));
        QCOMPARE(test::runTask(f_->service->inferenceContext()).model, QStringLiteral("m-2"));
        QCOMPARE(f_->model.modelsRequests, 1); // the list is kept
        f_->service->setSelectedModel(QStringLiteral("m-gone"));
        QCOMPARE(failureOf(f_->service->inferenceContext()),
                 QStringLiteral("Choose an available ChatGPT model in Settings."));
    }

    void withoutPlanUsageThereIsNoContext()
    {
        f_->auth.account.scopes = QStringLiteral("openid resource.invoke");
        test::runTask(f_->service->signIn(false));
        QCOMPARE(failureOf(f_->service->inferenceContext()),
                 QStringLiteral("Enable ChatGPT plan usage in ChatGPT settings, then reconnect."));
        QCOMPARE(f_->model.modelsRequests, 0);
    }

    void withoutModelsThereIsNoContext()
    {
        f_->connectAccount();
        f_->model.modelsStatuses = {500};
        QCOMPARE(failureOf(f_->service->inferenceContext()),
                 QStringLiteral("Choose an available ChatGPT model in Settings."));
        QCOMPARE(f_->service->lastError(),
                 QStringLiteral("Couldn’t load ChatGPT models (HTTP 500). Try reconnecting."));
    }

    /// No choice of a model would help without a network.
    void withoutANetworkTheContextSaysSo()
    {
        f_->connectAccount();
        f_->model.http().setResponder(
            [](const test::RecordedRequest&, QTcpSocket& socket) { socket.abort(); });
        QCOMPARE(failureOf(f_->service->inferenceContext()),
                 QStringLiteral("The network connection was lost."));
        QCOMPARE(f_->service->lastError(), QStringLiteral("The network connection was lost."));
    }

    void aSwitchDuringTheContextGivesTheNewProfile()
    {
        f_->connectTwoAccounts();
        f_->model.holdsModels = true;
        Task<CodexOAuthService::InferenceContext> pending = f_->service->inferenceContext();
        QTRY_COMPARE(f_->model.modelsRequests, 1);
        f_->service->selectProfile(QStringLiteral("client-1"));
        f_->model.releaseModels();
        const auto context = test::runTask(std::move(pending));
        QCOMPARE(context.tokens.clientID, QStringLiteral("client-1"));
        QCOMPARE(context.model, QStringLiteral("m-1"));
    }
};

QTEST_GUILESS_MAIN(tst_CodexRefresh)
#include "tst_CodexRefresh.moc"
