#include "chatgpt/CodexProfiles.h"

#include "base/LocalizedError.h"
#include "base/Log.h"

namespace quillmarsh {

CodexProfiles::CodexProfiles(CodexTokenStore store, QObject* parent)
    : QObject(parent), store_(std::move(store))
{}

std::optional<CodexTokens> CodexProfiles::find(const QString& clientID) const
{
    for (const CodexTokens& tokens : list_) {
        if (tokens.clientID == clientID)
            return tokens;
    }
    return std::nullopt;
}

Task<> CodexProfiles::load()
{
    if (known_)
        co_return;
    const QPointer<CodexProfiles> self(this);
    const int readings = readings_;
    const auto turn = co_await queue_.enter();
    if (self && readings == readings_) // else it was read while this waited
        co_await readIfUnknown();
}

Task<> CodexProfiles::open()
{
    const QPointer<CodexProfiles> self(this);
    const auto turn = co_await queue_.enter();
    if (!self)
        throw Cancelled();
    if (known_)
        co_return;
    const OSStatus unlocked = co_await store_.items->unlock();
    if (unlocked != errSecSuccess)
        throw CodexTokenStoreError::osStatus(unlocked);
    if (!self)
        throw Cancelled();
    co_await readIfUnknown();
    if (!self)
        throw Cancelled();
    if (status_ == errSecIO)
        known_ = true; // an open store that does not give its item out: asking again would change nothing
    if (!known_)
        throw CodexTokenStoreError::osStatus(status_);
}

Task<> CodexProfiles::readIfUnknown()
{
    if (known_)
        co_return;
    const QPointer<CodexProfiles> self(this);
    const StoredProfiles stored = co_await store_.read();
    if (!self)
        throw Cancelled();
    ++readings_;
    status_ = stored.status;
    known_ = stored.isKnown();
    const QList<CodexTokens> all = stored.profiles.value_or(QList<CodexTokens>());
    const QList<CodexTokens> accounts = withoutPlaceholders(all);
    publish(accounts);
    if (accounts.size() == all.size())
        co_return;
    try {
        co_await store_.save(accounts);
    } catch (const CodexTokenStoreError& error) {
        qCWarning(lcQuillmarsh, "An unfinished ChatGPT registration could not be removed (status %d)",
                  error.code());
    }
}

Task<bool> CodexProfiles::apply(Change change, Condition wanted)
{
    const QPointer<CodexProfiles> self(this);
    const auto turn = co_await queue_.enter();
    if (!self)
        throw Cancelled();
    co_await readIfUnknown();
    if (!self)
        throw Cancelled();
    if (!known_)
        throw CodexTokenStoreError::osStatus(status_);
    if (!wanted())
        co_return false;
    const CodexTokenStore store = store_;
    const QList<CodexTokens> before = list_;
    const QList<CodexTokens> after = change(before);
    co_await store.save(after);
    if (self && wanted()) {
        publish(after);
        co_return true;
    }
    if (!self) // whoever took over may have stored since
        co_return false;
    known_ = false; // until the store has its old content again
    co_await store.save(before);
    if (self)
        known_ = true;
    co_return false;
}

Task<> CodexProfiles::settled()
{
    const auto turn = co_await queue_.enter();
}

void CodexProfiles::publish(const QList<CodexTokens>& list)
{
    if (list_ == list)
        return;
    list_ = list;
    emit changed();
}

CodexProfiles::Change CodexProfiles::saving(CodexTokens tokens)
{
    return [tokens](QList<CodexTokens> profiles) {
        for (CodexTokens& profile : profiles) {
            if (profile.clientID == tokens.clientID) {
                profile = tokens;
                return profiles;
            }
        }
        profiles.append(tokens);
        return profiles;
    };
}

CodexProfiles::Change CodexProfiles::removing(QString clientID)
{
    return [clientID](QList<CodexTokens> profiles) {
        profiles.removeIf([&](const CodexTokens& tokens) { return tokens.clientID == clientID; });
        return profiles;
    };
}

QList<CodexTokens> CodexProfiles::withoutPlaceholders(QList<CodexTokens> profiles)
{
    profiles.removeIf([](const CodexTokens& tokens) { return tokens.accessToken.isEmpty(); });
    return profiles;
}

} // namespace quillmarsh
