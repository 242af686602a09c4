#pragma once

#include "base/UserDefaults.h"
#include "chatgpt/CodexOAuthService.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/FakeAuthorizationServer.h"
#include "support/FakeModelServer.h"
#include "support/FakePlatform.h"

#include <QTemporaryDir>
#include <QTest>

namespace quillmarsh::test {

/// The fake secret store, with its answers held back for as long as a test likes.
class HeldSecItems final : public SecItems
{
public:
    FakeSecItems inner;
    bool held = false;
    int waiting = 0;
    std::function<OSStatus()> onUnlock = [] { return errSecSuccess; }; ///< what the user does at the prompt

    Task<SecItemResult> copyMatching(SecItemQuery query) override
    {
        co_await opened();
        co_return co_await inner.copyMatching(query);
    }
    Task<OSStatus> update(SecItemQuery query, QByteArray data) override
    {
        co_await opened();
        co_return co_await inner.update(query, data);
    }
    Task<OSStatus> add(SecItemQuery query, QByteArray data, SecAccessible accessible) override
    {
        co_await opened();
        co_return co_await inner.add(query, data, accessible);
    }
    Task<OSStatus> remove(SecItemQuery query) override
    {
        co_await opened();
        co_return co_await inner.remove(query);
    }
    Task<OSStatus> unlock() override
    {
        co_await opened();
        co_return onUnlock();
    }

    [[nodiscard]] QByteArray stored() const
    {
        const auto found = inner.items.find(
            {QStringLiteral("com.quillmarsh.app"), QStringLiteral("chatgpt-plan-profiles-v1")});
        return found == inner.items.end() ? QByteArray() : found->second;
    }
    [[nodiscard]] QList<CodexTokens> storedProfiles() const
    {
        return CodexTokens::decode(stored()).value_or(QList<CodexTokens>());
    }
    void store(const QList<CodexTokens>& profiles)
    {
        inner.items[{QStringLiteral("com.quillmarsh.app"), QStringLiteral("chatgpt-plan-profiles-v1")}] =
            *CodexTokens::encode(profiles);
    }

private:
    Task<> opened()
    {
        ++waiting;
        while (held)
            co_await sleepFor(std::chrono::milliseconds(1));
        --waiting;
    }
};

/// An account connection with everything it talks to, over real sockets.
struct ConnectionFixture
{
    FakeModelServer model;
    FakeAuthorizationServer auth;
    HeldSecItems secItems;
    QTemporaryDir folder;
    std::unique_ptr<UserDefaults> defaults;
    QNetworkAccessManager session;
    double now = secondsSince1970();
    std::unique_ptr<CodexOAuthService> service;

    explicit ConnectionFixture(const TestTls* tls = nullptr);

    [[nodiscard]] CodexEnvironment environment();
    /// A new service over the same store, as after a start of the product.
    void restart(CodexOAuthService::StoredState state = CodexOAuthService::StoredState::load);
    /// Signs in and expects it to succeed.
    void connectAccount(bool addAccount = false);
    /// The second one, of "two@example.com", is active.
    void connectTwoAccounts();
    [[nodiscard]] QString defaultsValue(const char* key) const;
};

/// The message that a task fails with; "cancelled", or empty when it succeeds.
template <typename T>
QString failureOf(Task<T> task)
{
    try {
        runTask(std::move(task));
    } catch (const Cancelled&) {
        return QStringLiteral("cancelled");
    } catch (const std::exception& error) {
        return errorDescription(error);
    }
    return {};
}

/// A connection for each function of a test object that derives from it; the servers may not have met
/// anything that they would object to.
class ConnectionTest
{
protected:
    void setUp()
    {
        failOnWarnings();
        f_ = std::make_unique<ConnectionFixture>();
    }

    void tearDown()
    {
        QCOMPARE(f_->auth.violations + f_->model.violations, QStringList());
        f_.reset();
    }

    std::unique_ptr<ConnectionFixture> f_;
};

inline ConnectionFixture::ConnectionFixture(const TestTls* tls) : auth(model.apiBase(), tls)
{
    defaults = std::make_unique<UserDefaults>(folder.filePath(QStringLiteral("defaults.ini")));
    model.accepts = [this](const QString& token) { return auth.accepts(token); };
    restart();
}

inline CodexEnvironment ConnectionFixture::environment()
{
    CodexEnvironment made;
    made.secItems = &secItems;
    made.defaults = defaults.get();
    made.session = &session;
    made.endpoints = {auth.origin(), model.apiBase()};
    made.openBrowser = [this](QUrl url) { return auth.openInBrowser(url); };
    made.now = [this] { return now; };
    return made;
}

inline void ConnectionFixture::restart(CodexOAuthService::StoredState state)
{
    service.reset();
    service = std::make_unique<CodexOAuthService>(environment(), state);
    if (state == CodexOAuthService::StoredState::load)
        runTask(service->loaded());
}

inline void ConnectionFixture::connectAccount(bool addAccount)
{
    runTask(service->signIn(addAccount));
    if (service->lastError() || !service->tokens())
        qFatal("The account was not connected: %s", qUtf8Printable(service->lastError().value_or(QString())));
}

inline void ConnectionFixture::connectTwoAccounts()
{
    connectAccount();
    auth.account = {QStringLiteral("user-2"), QStringLiteral("two@example.com"), auth.account.scopes};
    connectAccount(true);
}

inline QString ConnectionFixture::defaultsValue(const char* key) const
{
    return defaults->string(QLatin1String(key)).value_or(QString());
}

} // namespace quillmarsh::test
