#pragma once

#include "base/Http.h"
#include "chatgpt/ChatGPTModel.h"
#include "chatgpt/CodexEnvironment.h"
#include "chatgpt/CodexProfiles.h"
#include "chatgpt/TokenEndpoint.h"
#include "chatgpt/TokenRefreshes.h"

#include <QUuid>

namespace quillmarsh {

/// Connects the user's ChatGPT accounts: browser sign-in, several profiles with one active, refresh before
/// expiry, sign-out with revocation, the model catalogue, and a valid token for each rewrite. Main thread
/// only. Work that outlives a user action carries the generation it began under; under another generation
/// its result changes nothing, in memory or in the store.
class CodexOAuthService final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isAuthenticating READ isAuthenticating NOTIFY isAuthenticatingChanged)
    Q_PROPERTY(QString activeClientID READ activeClientID NOTIFY activeClientIDChanged)
    Q_PROPERTY(bool isLoadingModels READ isLoadingModels NOTIFY isLoadingModelsChanged)
    Q_PROPERTY(QString selectedModel READ selectedModel WRITE setSelectedModel NOTIFY selectedModelChanged)

public:
    enum class StoredState { load, ignore };
    enum class Refresh { ifNeeded, forced };

    struct InferenceContext
    {
        CodexTokens tokens;
        QString model; ///< slug
    };

    /// With StoredState::ignore the store counts as empty and nothing that was remembered is read.
    CodexOAuthService(CodexEnvironment environment, StoredState storedState, QObject* parent = nullptr);
    ~CodexOAuthService() override;

    /// The one service of the process. Until one is installed: a service that has no profiles and can have
    /// none.
    [[nodiscard]] static CodexOAuthService& shared();
    /// Called by the composition root; null takes the installed one away again, before the application ends.
    static void installShared(std::unique_ptr<CodexOAuthService> service);

    [[nodiscard]] bool isAuthenticating() const { return isAuthenticating_; }
    /// In stored order. A registration that is not finished has an empty access token.
    [[nodiscard]] const QList<CodexTokens>& profiles() const { return profiles_.list(); }
    [[nodiscard]] const QString& activeClientID() const { return activeClientID_; }
    /// The last message for the user, if any.
    [[nodiscard]] const std::optional<QString>& lastError() const { return lastError_; }
    [[nodiscard]] const QList<ChatGPTModel>& models() const { return models_; }
    [[nodiscard]] bool isLoadingModels() const { return isLoadingModels_; }
    [[nodiscard]] const QString& selectedModel() const { return selectedModel_; }
    /// Remembered for the active profile.
    void setSelectedModel(const QString& slug);

    /// The active profile, if it has an access token.
    [[nodiscard]] std::optional<CodexTokens> tokens() const;
    [[nodiscard]] std::optional<CodexTokens> selectedProfile() const
    {
        return profiles_.find(activeClientID_);
    }
    /// Completes when the stored profiles are there. A store that was locked is asked again. Never throws.
    Task<> loaded();
    /// tokens(), once the stored profiles are there.
    Task<std::optional<CodexTokens>> loadedTokens();

    /// One attempt, until it ends; its failure is in lastError. `addAccount` connects a further account,
    /// otherwise the selected profile is reconnected if there is one. Nothing while an attempt runs.
    Task<> signIn(bool addAccount);
    /// Ends the attempt that runs, if any, without a message.
    void cancelSignIn();
    /// Makes the profile the active one; ends a sign-in and a refresh under way.
    void selectProfile(const QString& clientID);
    /// Removes the selected profile here, then asks the server to forget it.
    Task<> signOut();

    /// The active profile's record with a token that serves for at least five more minutes. Callers that
    /// need the same refresh share it. Throws CodexOAuthError, AIError, TransportError or Cancelled.
    Task<CodexTokens> refreshIfNeeded(Refresh mode, std::stop_token stop = {});
    /// What a rewrite needs. Throws as refreshIfNeeded() does.
    Task<InferenceContext> inferenceContext(std::stop_token stop = {});
    /// Refreshes the list of models of the active profile; its failure is in lastError. Callers share one
    /// loading; `stop` ends only the waiting, with Cancelled.
    Task<> loadModels(std::stop_token stop = {});
    /// Replaces or appends the record, in the store and then here. Throws CodexTokenStoreError.
    Task<> save(CodexTokens tokens);
    /// Completes when every refresh has ended and every change is stored: a server hands a token out once, so
    /// the process stays until then. Never throws.
    Task<> settled();

    [[nodiscard]] const CodexEnvironment& environment() const { return environment_; }

signals:
    void isAuthenticatingChanged();
    void profilesChanged();
    void activeClientIDChanged();
    void lastErrorChanged();
    void modelsChanged();
    void isLoadingModelsChanged();
    void selectedModelChanged();

private:
    using NetworkFailure = std::optional<TransportError>;
    using SharedModels = SharedResult<NetworkFailure>;

    struct Attempt
    {
        QUuid generation;
        std::optional<CodexTokens> existing; ///< the profile to reconnect
        std::stop_token stop;
    };

    Task<> runAttempt(Attempt attempt);
    Task<> recordRegistration(Attempt attempt, QString clientID);
    Task<> adopt(Attempt attempt, CodexTokens tokens);
    void endAttempt(const QUuid& generation, const std::optional<QString>& failure);

    TokenRefreshes::Shared startRefresh(const CodexTokens& profile);
    Task<CodexTokens> refreshed(CodexTokens profile, QUuid generation, std::stop_token stop);

    /// loadModels(), telling whether the network failed.
    Task<NetworkFailure> modelsLoaded(std::stop_token stop);
    Task<> runModels(std::shared_ptr<SharedModels> load, QUuid generation);
    Task<QList<ChatGPTModel>> fetchModels(std::stop_token stop);
    void publishModels(const QList<ChatGPTModel>& models);
    void resetModels();
    [[nodiscard]] bool offersSelectedModel() const;

    void activate(const QString& clientID);
    void activateFirst();
    Task<bool> removeProfile(CodexTokens profile);
    Task<> revoke(CodexTokens profile);
    void setAuthenticating(bool on);
    void setLoadingModels(bool on);
    void setLastError(const std::optional<QString>& message);
    void renewGeneration() { generation_ = QUuid::createUuid(); }
    [[nodiscard]] CodexProfiles::Condition stillUnder(const QUuid& generation);
    [[nodiscard]] QString storedModel(const QString& clientID) const;
    [[nodiscard]] TokenEndpoint tokenEndpoint() const;
    void remember(const QString& key, const QString& value);

    CodexEnvironment environment_;
    CodexProfiles profiles_;
    bool loadsStoredState_;
    bool isAuthenticating_ = false;
    QString activeClientID_;
    std::optional<QString> lastError_;
    QList<ChatGPTModel> models_;
    bool isLoadingModels_ = false;
    QString selectedModel_;
    std::optional<QString> modelsMessage_; ///< what the last loading of models put into lastError

    QUuid generation_ = QUuid::createUuid();
    QUuid modelsGeneration_ = QUuid::createUuid();
    std::stop_source loginStop_;
    TokenRefreshes refreshes_;
    std::shared_ptr<SharedModels> modelsLoad_;
};

} // namespace quillmarsh
