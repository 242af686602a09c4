#include "chatgpt/CodexOAuthService.h"

#include "base/Log.h"
#include "base/UserDefaults.h"

namespace quillmarsh {

namespace {

const QString activeKey = QStringLiteral("chatgpt.activeClientID");

QString modelKey(const QString& clientID)
{
    return QStringLiteral("chatgpt.model.") + clientID;
}

/// Stands where no secret store was given.
class NoSecItems final : public SecItems
{
public:
    Task<SecItemResult> copyMatching(SecItemQuery) override
    {
        co_return SecItemResult{errSecItemNotFound, {}};
    }
    Task<OSStatus> update(SecItemQuery, QByteArray) override { co_return errSecNotAvailable; }
    Task<OSStatus> add(SecItemQuery, QByteArray, SecAccessible) override { co_return errSecNotAvailable; }
    Task<OSStatus> remove(SecItemQuery) override { co_return errSecNotAvailable; }
};

std::unique_ptr<CodexOAuthService>& installedService()
{
    static std::unique_ptr<CodexOAuthService> service;
    return service;
}

} // namespace

CodexOAuthService::CodexOAuthService(CodexEnvironment environment, StoredState storedState, QObject* parent)
    : QObject(parent), environment_(std::move(environment)),
      profiles_(CodexTokenStore{environment_.secItems}), loadsStoredState_(storedState == StoredState::load)
{
    connect(&profiles_, &CodexProfiles::changed, this, &CodexOAuthService::profilesChanged);
    if (!loadsStoredState_) {
        profiles_.startEmpty();
        return;
    }
    if (environment_.defaults)
        activeClientID_ = environment_.defaults->string(activeKey).value_or(QString());
    selectedModel_ = storedModel(activeClientID_);
    detach(loaded());
}

CodexOAuthService::~CodexOAuthService()
{
    cancelSignIn();
    refreshes_.cancel();
    resetModels();
}

CodexOAuthService& CodexOAuthService::shared()
{
    if (installedService())
        return *installedService();
    static NoSecItems noSecrets;
    static CodexEnvironment environment;
    environment.secItems = &noSecrets;
    static CodexOAuthService none(environment, StoredState::ignore);
    return none;
}

void CodexOAuthService::installShared(std::unique_ptr<CodexOAuthService> service)
{
    installedService() = std::move(service);
}

Task<> CodexOAuthService::loaded()
{
    if (loadsStoredState_)
        co_await profiles_.load();
}

Task<std::optional<CodexTokens>> CodexOAuthService::loadedTokens()
{
    const QPointer<CodexOAuthService> self(this);
    co_await loaded();
    if (!self)
        throw Cancelled();
    co_return tokens();
}

std::optional<CodexTokens> CodexOAuthService::tokens() const
{
    auto profile = selectedProfile();
    if (profile && profile->accessToken.isEmpty())
        profile.reset();
    return profile;
}

void CodexOAuthService::selectProfile(const QString& clientID)
{
    if (isAuthenticating_)
        cancelSignIn();
    renewGeneration();
    refreshes_.cancel();
    setLastError(std::nullopt);
    activate(clientID);
}

/// Also stores which profile is active and shows its stored model. Told only when all of it is in place.
void CodexOAuthService::activate(const QString& clientID)
{
    remember(activeKey, clientID);
    const bool isOther = std::exchange(activeClientID_, clientID) != clientID;
    const QString model = storedModel(clientID);
    const bool hasOtherModel = std::exchange(selectedModel_, model) != model;
    resetModels();
    if (isOther)
        emit activeClientIDChanged();
    if (hasOtherModel)
        emit selectedModelChanged();
}

void CodexOAuthService::activateFirst()
{
    for (const CodexTokens& profile : profiles()) {
        if (!profile.accessToken.isEmpty())
            return activate(profile.clientID);
    }
    activate(QString());
}

Task<> CodexOAuthService::signOut()
{
    const QPointer<CodexOAuthService> self(this);
    co_await loaded();
    if (!self)
        throw Cancelled();
    const auto profile = selectedProfile();
    if (!profile)
        co_return;
    cancelSignIn();
    refreshes_.cancel();
    setLastError(std::nullopt);
    const bool removed = co_await removeProfile(*profile);
    if (removed && self)
        co_await revoke(*profile);
}

Task<bool> CodexOAuthService::removeProfile(CodexTokens profile)
{
    const QPointer<CodexOAuthService> self(this);
    bool removed = false;
    const auto isThere = [self, profile] { return self && self->profiles_.find(profile.clientID); };
    try {
        removed = co_await profiles_.apply(CodexProfiles::removing(profile.clientID), isThere);
    } catch (const CodexTokenStoreError&) {
        if (self)
            setLastError(QStringLiteral("Couldn’t clear the saved session from Keychain."));
        co_return false;
    }
    if (!self)
        throw Cancelled();
    if (!removed) // by an earlier sign-out, while this one waited
        co_return false;
    if (!isAuthenticating_) // else a sign-in has begun meanwhile, under a generation of its own
        renewGeneration();
    refreshes_.cancel();
    if (environment_.defaults)
        environment_.defaults->remove(modelKey(profile.clientID));
    if (activeClientID_ == profile.clientID)
        activateFirst();
    co_return true;
}

Task<> CodexOAuthService::revoke(CodexTokens profile)
{
    const QPointer<CodexOAuthService> self(this);
    if (profile.refreshToken.isEmpty())
        co_return;
    try {
        co_await tokenEndpoint().revoke(profile);
    } catch (const std::exception&) {
        if (self)
            setLastError(QStringLiteral("Signed out locally. Remote revocation wasn’t confirmed; disconnect "
                                        "Quillmarsh in ChatGPT settings."));
    }
}

Task<> CodexOAuthService::save(CodexTokens tokens)
{
    co_await profiles_.apply(CodexProfiles::saving(std::move(tokens)), [] { return true; });
}

void CodexOAuthService::setSelectedModel(const QString& slug)
{
    if (selectedModel_ == slug)
        return;
    selectedModel_ = slug;
    if (!activeClientID_.isEmpty())
        remember(modelKey(activeClientID_), slug);
    emit selectedModelChanged();
}

QString CodexOAuthService::storedModel(const QString& clientID) const
{
    if (!environment_.defaults || clientID.isEmpty())
        return {};
    return environment_.defaults->string(modelKey(clientID)).value_or(QString());
}

void CodexOAuthService::remember(const QString& key, const QString& value)
{
    if (environment_.defaults)
        environment_.defaults->set(key, value);
}

CodexProfiles::Condition CodexOAuthService::stillUnder(const QUuid& generation)
{
    return [self = QPointer(this), generation] { return self && self->generation_ == generation; };
}

TokenEndpoint CodexOAuthService::tokenEndpoint() const
{
    return {environment_.session, environment_.endpoints.authOrigin};
}

void CodexOAuthService::setAuthenticating(bool on)
{
    if (std::exchange(isAuthenticating_, on) != on)
        emit isAuthenticatingChanged();
}

void CodexOAuthService::setLastError(const std::optional<QString>& message)
{
    if (std::exchange(lastError_, message) != message)
        emit lastErrorChanged();
}

} // namespace quillmarsh
