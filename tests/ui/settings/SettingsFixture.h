#pragma once

#include "ai/CloudUsage.h"
#include "base/NotificationCenter.h"
#include "chatgpt/CodexOAuthService.h"
#include "chatgpt/CodexTokenStore.h"
#include "rewrite/RewriteFixture.h"
#include "support/HttpTestServer.h"
#include "ui/settings/SettingsEnvironment.h"
#include "ui/update/CannedNetwork.h"
#include "update/InstallationModel.h"
#include "update/UpdateService.h"

#include <QKeyEvent>
#include <QNetworkAccessManager>

namespace quillmarsh::test {

/// Everything the settings window works with: the real services on a platform of fakes, the ChatGPT models
/// endpoint on a loopback server.
class SettingsFixture
{
public:
    /// The native scan code that a test's keyboard reports for a virtual key.
    static constexpr quint32 scanOffset = 1000;

    SettingsFixture()
    {
        models.answer(200, R"({"models":[{"slug":"swift","display_name":"Swift","visibility":"list"},)"
                           R"({"slug":"careful","display_name":"Careful","visibility":"list"}]})");
        rewrite.makeService();
        makeAccounts({});
    }

    /// Starts the account service anew with these stored profiles; the first is active.
    void makeAccounts(const QList<CodexTokens>& profiles)
    {
        oauth.reset();
        if (const auto json = CodexTokens::encode(profiles); json && !profiles.isEmpty()) {
            rewrite.platform.secItems->items[{"com.quillmarsh.app", "chatgpt-plan-profiles-v1"}] = *json;
            rewrite.defaults.set(QStringLiteral("chatgpt.activeClientID"), profiles.front().clientID);
        }
        CodexEnvironment environment;
        environment.secItems = rewrite.platform.secItems;
        environment.defaults = &rewrite.defaults;
        environment.session = &session;
        environment.endpoints.openAIApiBase = models.origin() + QStringLiteral("/v1");
        environment.openBrowser = [this](QUrl page) { return rewrite.platform.workspace->open(page); };
        oauth = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        runTask(oauth->loaded());
    }

    [[nodiscard]] static CodexTokens account(const QString& email, bool canUsePlan = true)
    {
        CodexTokens tokens;
        tokens.clientID = QStringLiteral("client-") + email;
        tokens.subject = QStringLiteral("subject-") + email;
        tokens.accessToken = QStringLiteral("access");
        tokens.refreshToken = QStringLiteral("refresh");
        tokens.expiresAt = secondsSince1970() + 3600;
        tokens.email = email;
        if (canUsePlan)
            tokens.scopes = {QStringLiteral("chatgpt.tokens.use.direct"), QStringLiteral("resource.invoke")};
        return tokens;
    }

    SettingsEnvironment environment()
    {
        return {rewrite.settings,
                *rewrite.service,
                *oauth,
                cloudUsage,
                updates,
                installation,
                rewrite.defaults,
                notifications,
                *rewrite.platform.workspace,
                *rewrite.platform.keyboardLayout,
                KeychainService{rewrite.platform.secItems},
                virtualKeys,
                [this](const KeyCombination& combination) { return owned.contains(combination); },
                [this] { ++beeps; },
                [this](bool focused) { demoFocus << focused; },
                true};
    }

    static std::optional<quint16> virtualKey(quint32 scanCode)
    {
        if (scanCode < scanOffset)
            return std::nullopt;
        return static_cast<quint16>(scanCode - scanOffset);
    }

    static QKeyEvent keyEvent(quint16 virtualKey, Qt::Key key, Qt::KeyboardModifiers modifiers = {},
                              bool isAutoRepeat = false, QEvent::Type type = QEvent::KeyPress)
    {
        return QKeyEvent(type, key, modifiers, scanOffset + virtualKey, 0, 0, QString(), isAutoRepeat);
    }

    [[nodiscard]] QByteArray storedSecret(const QString& account)
    {
        const auto& items = rewrite.platform.secItems->items;
        const auto found = items.find({QStringLiteral("com.quillmarsh.app"), account});
        return found == items.end() ? QByteArray() : found->second;
    }

    UpdateEnvironment makeUpdateEnvironment()
    {
        return UpdateEnvironment::standard(*rewrite.platform.bundle, *rewrite.platform.processRunner,
                                           *rewrite.platform.workspace);
    }

    RewriteFixture rewrite;
    NotificationCenter notifications;
    HttpTestServer models;
    QNetworkAccessManager session;
    std::unique_ptr<CodexOAuthService> oauth;
    CloudUsage cloudUsage;
    UpdateEnvironment updateEnvironment = makeUpdateEnvironment();
    CannedNetwork updateNetwork;
    UpdateService updates{&updateNetwork, updateEnvironment, QStringLiteral("1.0.0"), false};
    InstallationModel installation{updateEnvironment};
    std::function<std::optional<quint16>(quint32)> virtualKeys = virtualKey;
    QList<KeyCombination> owned; ///< by another program
    QList<bool> demoFocus;
    int beeps = 0;
};

} // namespace quillmarsh::test
