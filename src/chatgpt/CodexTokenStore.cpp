#include "chatgpt/CodexTokenStore.h"

#include "base/Log.h"

namespace quillmarsh {

namespace {

// Free functions, because a coroutine may outlive the value that started it.

Task<StoredProfiles> readItem(SecItems* items, SecItemQuery query)
{
    const SecItemResult result = co_await items->copyMatching(query);
    StoredProfiles stored{result.status, std::nullopt};
    if (result.status == errSecSuccess)
        stored.profiles = CodexTokens::decode(result.data);
    if (!stored.isKnown())
        qCWarning(lcQuillmarsh, "The ChatGPT accounts could not be read: %s (status %d)",
                  secStatusText(result.status), result.status);
    else if (result.status == errSecSuccess && !stored.profiles)
        qCWarning(lcQuillmarsh, "The stored ChatGPT accounts are damaged and count as none");
    co_return stored;
}

Task<std::optional<QList<CodexTokens>>> loadItem(SecItems* items, SecItemQuery query)
{
    const StoredProfiles stored = co_await readItem(items, std::move(query));
    co_return stored.profiles;
}

Task<> saveItem(SecItems* items, SecItemQuery query, std::optional<QByteArray> data)
{
    if (!data)
        throw CodexTokenStoreError::encodeFailed();
    const OSStatus updated = co_await items->update(query, *data);
    if (updated == errSecSuccess)
        co_return;
    if (updated != errSecItemNotFound)
        throw CodexTokenStoreError::osStatus(updated);
    const OSStatus added = co_await items->add(query, *data, SecAccessible::afterFirstUnlockThisDeviceOnly);
    if (added != errSecSuccess)
        throw CodexTokenStoreError::saveFailed(added);
}

} // namespace

CodexTokenStoreError CodexTokenStoreError::encodeFailed()
{
    return {Domain::codexTokenStore, -1, QStringLiteral("encode failed")};
}

CodexTokenStoreError CodexTokenStoreError::saveFailed(OSStatus status)
{
    return {Domain::codexTokenStore, status, QStringLiteral("save failed")};
}

CodexTokenStoreError CodexTokenStoreError::osStatus(OSStatus status)
{
    const QString sentence = QStringLiteral("The operation couldn’t be completed. (OSStatus error %1.)");
    return {Domain::osStatus, status, sentence.arg(status)};
}

Task<std::optional<QList<CodexTokens>>> CodexTokenStore::load() const
{
    return loadItem(items, {service, account});
}

Task<StoredProfiles> CodexTokenStore::read() const
{
    return readItem(items, {service, account});
}

Task<> CodexTokenStore::save(QList<CodexTokens> profiles) const
{
    return saveItem(items, {service, account}, CodexTokens::encode(profiles));
}

} // namespace quillmarsh
