#include "support/ConnectionFixture.h"
#include "support/ImpatientSession.h"
#include "support/TestTls.h"

#include <QSignalSpy>
#include <QSslConfiguration>

using namespace quillmarsh;
using test::ConnectionFixture;
using test::FakeAuthorizationServer;

namespace {

const QString revocationMessage = QStringLiteral(
    "Signed out locally. Remote revocation wasn’t confirmed; disconnect Quillmarsh in ChatGPT settings.");

QStringList slugs(const CodexOAuthService& service)
{
    QStringList list;
    for (const ChatGPTModel& model : service.models())
        list.append(model.slug);
    return list;
}

const QStringList listedSlugs{QStringLiteral("m-1"), QStringLiteral("m-2")};

} // namespace

/// Several accounts, sign-out with revocation, and the model catalogue.
class tst_CodexAccounts final : public QObject, private test::ConnectionTest
{
    Q_OBJECT

    std::unique_ptr<test::TestTls> tls_;

    void useTls();
    void loadModels() const { test::runTask(f_->service->loadModels()); }

private slots:
    void initTestCase() { tls_ = std::make_unique<test::TestTls>(); }
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void signOutRevokesAtTheServer()
    {
        useTls();
        f_->connectAccount();
        loadModels();
        QSignalSpy profiles(f_->service.get(), &CodexOAuthService::profilesChanged);
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->lastError(), std::nullopt);
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::revokePath), 1);
        QVERIFY(f_->service->profiles().isEmpty() && f_->service->models().isEmpty());
        QCOMPARE(profiles.size(), 1);
        QCOMPARE(f_->service->activeClientID(), QString());
        QCOMPARE(f_->secItems.stored(), QByteArray("[]"));
        QCOMPARE(f_->defaultsValue("chatgpt.activeClientID"), QString());
        QCOMPARE(f_->defaultsValue("chatgpt.model.client-1"), QString());
    }

    void aSecondSignOutAtTheSameTimeDoesNothing()
    {
        useTls();
        f_->connectAccount();
        f_->secItems.held = true;
        Task<> first = f_->service->signOut();
        Task<> second = f_->service->signOut();
        f_->secItems.held = false;
        test::runTask(std::move(first));
        test::runTask(std::move(second));
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::revokePath), 1);
        QCOMPARE(f_->service->lastError(), std::nullopt);
        QCOMPARE(f_->secItems.stored(), QByteArray("[]"));
    }

    void signOutWithoutAnAccountDoesNothing()
    {
        test::runTask(f_->service->signOut());
        QVERIFY(f_->secItems.inner.calls.size() == 1 && f_->auth.http().requests().empty());
    }

    void revocationThatIsNotConfirmed_data()
    {
        QTest::addColumn<int>("discovery");
        QTest::addColumn<int>("revocation");
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<int>("requests");
        QTest::newRow("refused") << 200 << 400 << QString() << 1;
        QTest::newRow("server error") << 200 << 503 << QString() << 1;
        QTest::newRow("redirected") << 200 << 307 << QString() << 1;
        QTest::newRow("no discovery") << 404 << 200 << QString() << 0;
        QTest::newRow("discovery not 200") << 203 << 200 << QString() << 0;
        QTest::newRow("other host") << 200 << 200 << QStringLiteral("https://evil.example/revoke") << 0;
        QTest::newRow("a host within the host")
            << 200 << 200 << QStringLiteral("https://127.0.0.1.evil.example/revoke") << 0;
        QTest::newRow("host as user name")
            << 200 << 200 << QStringLiteral("https://127.0.0.1@evil.example/revoke") << 0;
        QTest::newRow("other port") << 200 << 200 << QStringLiteral("https://127.0.0.1:9/revoke") << 0;
        QTest::newRow("not https") << 200 << 200 << QStringLiteral("http://127.0.0.1/revoke") << 0;
        QTest::newRow("not a URL") << 200 << 200 << QStringLiteral("revoke") << 0;
    }
    void revocationThatIsNotConfirmed()
    {
        QFETCH(int, discovery);
        QFETCH(int, revocation);
        QFETCH(QString, endpoint);
        QFETCH(int, requests);
        useTls();
        f_->connectAccount();
        f_->auth.discoveryStatus = discovery;
        f_->auth.revocationStatus = revocation;
        if (!endpoint.isEmpty())
            f_->auth.revocationEndpoint = endpoint;
        test::runTask(f_->service->signOut());
        QVERIFY(f_->service->profiles().isEmpty());
        QCOMPARE(f_->service->lastError(), revocationMessage);
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::revokePath), requests);
    }

    void aServerThatDoesNotConfirmIsNotWaitedForForEver()
    {
        useTls();
        test::ImpatientSession session;
        CodexEnvironment environment = f_->environment();
        environment.session = &session;
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        f_->connectAccount();
        f_->auth.hold(FakeAuthorizationServer::revokePath);
        session.haste = 10; // the answers before it need their time on a busy machine
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->lastError(), revocationMessage);
        QCOMPARE(f_->auth.parked(), 1);
        QCOMPARE(session.timeouts.value(QString::fromLatin1(FakeAuthorizationServer::revokePath)), 15'000);
    }

    void signOutWithoutNetwork()
    {
        f_->connectAccount();
        CodexEnvironment environment = f_->environment();
        environment.endpoints.authOrigin = QStringLiteral("https://127.0.0.1:9");
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        test::runTask(f_->service->loaded());
        test::runTask(f_->service->signOut());
        QVERIFY(f_->service->profiles().isEmpty() && f_->secItems.storedProfiles().isEmpty());
        QCOMPARE(f_->service->lastError(), revocationMessage);
    }

    void signOutWithoutARefreshTokenAsksNobody()
    {
        f_->auth.tokenOverrides = {{QStringLiteral("refresh_token"), QJsonValue::Null}};
        f_->connectAccount();
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->lastError(), std::nullopt);
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::discoveryPath), 0);
    }

    void signOutThatCannotBeStoredStops()
    {
        f_->connectAccount();
        const auto before = f_->service->profiles();
        f_->secItems.inner.updateStatus = errSecInteractionNotAllowed;
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->lastError(), QStringLiteral("Couldn’t clear the saved session from Keychain."));
        QCOMPARE(f_->service->profiles(), before);
        QVERIFY(f_->service->tokens());
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::discoveryPath), 0);
    }

    void theNextAccountBecomesActive()
    {
        f_->connectTwoAccounts();
        f_->auth.tokenStatuses = {500};
        test::runTask(f_->service->signIn(true)); // a registration without a token, never active
        f_->service->selectProfile(QStringLiteral("client-1"));
        f_->defaults->set(QStringLiteral("chatgpt.model.client-2"), QStringLiteral("m-2"));
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
        QCOMPARE(f_->defaultsValue("chatgpt.activeClientID"), QStringLiteral("client-2"));
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-2"));
        test::runTask(f_->service->signOut());
        QCOMPARE(f_->service->activeClientID(), QString());
        QCOMPARE(f_->service->profiles().size(), 1);
    }

    void signOutEndsASignIn()
    {
        f_->connectAccount();
        f_->auth.visit = FakeAuthorizationServer::Visit::neverReturns;
        Task<> attempt = f_->service->signIn(true);
        QTRY_COMPARE(f_->auth.visitedUrls.size(), 2);
        test::runTask(f_->service->signOut());
        test::runTask(std::move(attempt));
        QVERIFY(!f_->service->isAuthenticating());
        QVERIFY(f_->service->profiles().isEmpty());
    }

    /// The store may be slow to forget the account, and the user quick to connect the next one.
    void aSignInDuringASignOutGoesOn()
    {
        useTls();
        f_->connectAccount();
        f_->secItems.held = true;
        Task<> leaving = f_->service->signOut();
        QTRY_COMPARE(f_->secItems.waiting, 1);
        Task<> joining = f_->service->signIn(true);
        f_->secItems.held = false;
        test::runTask(std::move(leaving));
        test::runTask(std::move(joining));
        QVERIFY(!f_->service->isAuthenticating());
        QCOMPARE(f_->service->lastError(), std::nullopt);
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-2"));
        QCOMPARE(f_->service->profiles().size(), 1);
        QCOMPARE(f_->secItems.storedProfiles(), f_->service->profiles());
    }

    void selectingAProfile()
    {
        f_->connectTwoAccounts();
        f_->defaults->set(QStringLiteral("chatgpt.model.client-1"), QStringLiteral("m-2"));
        QSignalSpy active(f_->service.get(), &CodexOAuthService::activeClientIDChanged);
        f_->service->selectProfile(QStringLiteral("client-1"));
        QCOMPARE(f_->service->tokens()->subject, QStringLiteral("user-1"));
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-2"));
        QCOMPARE(f_->defaultsValue("chatgpt.activeClientID"), QStringLiteral("client-1"));
        f_->service->selectProfile(QStringLiteral("client-1"));
        QCOMPARE(active.size(), 1);
        f_->restart();
        QCOMPARE(f_->service->activeClientID(), QStringLiteral("client-1"));
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-2"));
    }

    void onlyListedModelsAreOffered()
    {
        f_->connectAccount();
        QSignalSpy loading(f_->service.get(), &CodexOAuthService::isLoadingModelsChanged);
        loadModels();
        QCOMPARE(slugs(*f_->service), listedSlugs);
        QCOMPARE(f_->service->models().first().displayName, QStringLiteral("Model 1"));
        QCOMPARE(loading.size(), 2);
        QVERIFY(!f_->service->isLoadingModels());
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-1"));
        QCOMPARE(f_->defaultsValue("chatgpt.model.client-1"), QStringLiteral("m-1"));
        QVERIFY(!f_->model.http().requests()[0].headers.value("authorization").isEmpty());
    }

    void aListedChoiceIsKeptAndAnotherReplaced()
    {
        f_->connectAccount();
        f_->service->setSelectedModel(QStringLiteral("m-2"));
        loadModels();
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-2"));
        f_->service->setSelectedModel(QStringLiteral("m-hidden"));
        loadModels();
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-1"));
    }

    void noModels()
    {
        f_->connectAccount();
        f_->service->setSelectedModel(QStringLiteral("m-1"));
        f_->model.catalog = R"({"models":[]})";
        loadModels();
        QCOMPARE(f_->service->lastError(),
                 QStringLiteral("No models are available for this ChatGPT account."));
        QCOMPARE(f_->service->selectedModel(), QString());
        QCOMPARE(f_->defaultsValue("chatgpt.model.client-1"), QString());
    }

    void aCatalogueOfAnotherForm_data()
    {
        QTest::addColumn<QByteArray>("catalog");
        for (const char* bad : {"", "[]", "{}", R"({"models":{}})", R"({"models":[1]})", R"({"models":[{}]})",
                                R"({"models":[{"slug":"a","display_name":"A"}]})",
                                R"({"models":[{"slug":5,"display_name":"A","visibility":"list"}]})"})
            QTest::newRow(bad) << QByteArray(bad);
    }
    void aCatalogueOfAnotherForm()
    {
        QFETCH(QByteArray, catalog);
        f_->connectAccount();
        f_->model.catalog = catalog;
        loadModels();
        QCOMPARE(f_->service->lastError(), QStringLiteral("Invalid response from AI service"));
        QVERIFY(f_->service->models().isEmpty() && !f_->service->isLoadingModels());
    }

    void statusesOfTheCatalogue()
    {
        f_->connectAccount();
        f_->model.modelsStatuses = {503};
        loadModels();
        QCOMPARE(f_->service->lastError(),
                 QStringLiteral("Couldn’t load ChatGPT models (HTTP 503). Try reconnecting."));
        loadModels();
        QCOMPARE(f_->service->lastError(), std::nullopt); // its own message goes with the next success
        f_->model.modelsStatuses = {401, 401};
        loadModels();
        QCOMPARE(f_->service->lastError(),
                 QStringLiteral("Couldn’t load ChatGPT models (HTTP 401). Try reconnecting."));
        QCOMPARE(f_->model.modelsRequests, 4);
        for (const int status : {300, 302, 307, 404}) {
            f_->model.modelsStatuses = {status};
            loadModels();
            QCOMPARE(f_->service->lastError(),
                     QStringLiteral("Couldn’t load ChatGPT models (HTTP %1). Try reconnecting.").arg(status));
        }
    }

    void aListThatDoesNotArrive()
    {
        f_->connectAccount();
        f_->model.http().setResponder(
            [](const test::RecordedRequest&, QTcpSocket& socket) { socket.abort(); });
        loadModels();
        QCOMPARE(f_->service->lastError(), QStringLiteral("The network connection was lost."));
        QVERIFY(f_->service->models().isEmpty() && !f_->service->isLoadingModels());
        f_->model.http().setResponder([](const test::RecordedRequest&, QTcpSocket& socket) {
            socket.write("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"models\":[]}");
            socket.disconnectFromHost();
        });
        loadModels();
        QCOMPARE(f_->service->lastError(), QStringLiteral("The network connection was lost."));
    }

    void aListThatDoesNotArriveLeavesTheOldOne()
    {
        f_->connectAccount();
        loadModels();
        f_->service->setSelectedModel(QStringLiteral("m-2"));
        f_->model.modelsStatuses = {500};
        loadModels();
        QCOMPARE(slugs(*f_->service), listedSlugs);
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-2"));
    }

    void aReconnectionForgetsTheModels()
    {
        f_->connectAccount();
        loadModels();
        QSignalSpy models(f_->service.get(), &CodexOAuthService::modelsChanged);
        f_->connectAccount();
        QCOMPARE(models.size(), 1);
        QVERIFY(f_->service->models().isEmpty());
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("m-1"));
    }

    /// Whoever hears of the models hears of those of the profile that is active by then.
    void aSwitchIsToldWhenAllOfItIsInPlace()
    {
        f_->connectTwoAccounts();
        loadModels();
        QString active;
        connect(f_->service.get(), &CodexOAuthService::modelsChanged, this,
                [&] { active = f_->service->activeClientID(); });
        f_->service->selectProfile(QStringLiteral("client-1"));
        QCOMPARE(active, QStringLiteral("client-1"));
    }

    void aWithdrawnTokenIsRefreshedOnce()
    {
        f_->connectAccount();
        f_->auth.withdraw(f_->service->tokens()->accessToken);
        loadModels();
        QCOMPARE(slugs(*f_->service), listedSlugs);
        QCOMPARE(f_->model.modelsRequests, 2);
        QCOMPARE(f_->auth.count(FakeAuthorizationServer::tokenPath), 2);
    }

    void withoutPlanUsageNothingIsAsked()
    {
        loadModels();
        f_->auth.account.scopes = QStringLiteral("openid");
        test::runTask(f_->service->signIn(false));
        loadModels();
        QCOMPARE(f_->model.modelsRequests, 0);
    }

    void aSwitchDuringALoadDropsItsResult()
    {
        f_->connectTwoAccounts();
        f_->defaults->set(QStringLiteral("chatgpt.model.client-1"), QStringLiteral("kept"));
        f_->model.holdsModels = true;
        Task<> load = f_->service->loadModels();
        QTRY_COMPARE(f_->model.modelsRequests, 1);
        f_->service->selectProfile(QStringLiteral("client-1"));
        QVERIFY(!f_->service->isLoadingModels());
        f_->model.releaseModels();
        test::runTask(std::move(load));
        QVERIFY(f_->service->models().isEmpty());
        QCOMPARE(f_->service->selectedModel(), QStringLiteral("kept"));
    }

    void loadsAreShared()
    {
        f_->connectAccount();
        f_->model.holdsModels = true;
        Task<> first = f_->service->loadModels();
        Task<> second = f_->service->loadModels();
        QTRY_COMPARE(f_->model.modelsRequests, 1);
        f_->model.releaseModels();
        test::runTask(std::move(first));
        test::runTask(std::move(second));
        QCOMPARE(f_->model.modelsRequests, 1);
    }

    void aSetterThatChangesNothingIsSilent()
    {
        f_->connectAccount();
        QSignalSpy selected(f_->service.get(), &CodexOAuthService::selectedModelChanged);
        f_->service->setSelectedModel(QString());
        QCOMPARE(selected.size(), 0);
        f_->service->setSelectedModel(QStringLiteral("m-1"));
        f_->service->setSelectedModel(QStringLiteral("m-1"));
        QCOMPARE(selected.size(), 1);
    }
};

void tst_CodexAccounts::useTls()
{
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificate(tls_->certificate());
    QSslConfiguration::setDefaultConfiguration(trusting);
    f_ = std::make_unique<ConnectionFixture>(tls_.get());
}

QTEST_GUILESS_MAIN(tst_CodexAccounts)
#include "tst_CodexAccounts.moc"
