#pragma once

#include "base/Task.h"
#include "chatgpt/CodexTokens.h"

#include <QObject>
#include <QVariantList>

namespace quillmarsh {

class AppSettings;
class CodexOAuthService;
class Workspace;

/// The panel of the ChatGPT plan: signing in, the connected accounts, and the model that rewrites use.
class ChatGPTPanelModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY changed)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY changed)
    Q_PROPERTY(QString accountName READ accountName NOTIFY changed)
    Q_PROPERTY(QString initials READ initials NOTIFY changed)
    Q_PROPERTY(bool needsReconnect READ needsReconnect NOTIFY changed)
    Q_PROPERTY(bool isAuthenticating READ isAuthenticating NOTIFY changed)
    Q_PROPERTY(QVariantList accounts READ accounts NOTIFY changed)
    Q_PROPERTY(int accountIndex READ accountIndex NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(QVariantList models READ models NOTIFY modelsChanged)
    Q_PROPERTY(int modelIndex READ modelIndex NOTIFY modelsChanged)
    Q_PROPERTY(bool isLoadingModels READ isLoadingModels NOTIFY modelsChanged)

public:
    enum class State { disconnected, waitingForBrowser, connected };
    Q_ENUM(State)

    /// All outlive the model.
    ChatGPTPanelModel(CodexOAuthService& oauth, Workspace& workspace, QObject* parent = nullptr);

    [[nodiscard]] State state() const;
    [[nodiscard]] bool isConnected() const { return state() == State::connected; }
    [[nodiscard]] QString accountName() const;
    /// At most two letters for the avatar.
    [[nodiscard]] QString initials() const;
    /// The account may not use its plan until it is signed in again.
    [[nodiscard]] bool needsReconnect() const;
    /// Also while a further account is being added.
    [[nodiscard]] bool isAuthenticating() const;
    /// One map per stored account: "title" and, where it cannot be used, "subtitle".
    [[nodiscard]] QVariantList accounts() const;
    [[nodiscard]] int accountIndex() const;
    [[nodiscard]] QString error() const;
    [[nodiscard]] QVariantList models() const;
    [[nodiscard]] int modelIndex() const;
    [[nodiscard]] bool isLoadingModels() const;

    Q_INVOKABLE void signIn();
    Q_INVOKABLE void addAccount();
    Q_INVOKABLE void cancelSignIn();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void chooseAccount(int index);
    Q_INVOKABLE void chooseModel(int index);
    Q_INVOKABLE void refreshModels();
    Q_INVOKABLE void openUsagePage();
    /// Fills the model list when the account has none yet.
    void loadModelsIfNeeded();

signals:
    void changed();
    void modelsChanged();

private:
    [[nodiscard]] QList<CodexTokens> visibleProfiles() const;

    CodexOAuthService& oauth_;
    Workspace& workspace_;
};

/// "ada.lovelace@example.com" gives "AL", "sam@example.com" gives "S", nothing gives "?".
[[nodiscard]] QString accountInitials(const QString& name);
/// The e-mail, or a general name without one.
[[nodiscard]] QString accountName(const CodexTokens& profile);

} // namespace quillmarsh
