#include "chatgpt/KeychainService.h"

#include "base/Log.h"
#include "chatgpt/KeychainError.h"

#include <QStringDecoder>

namespace quillmarsh {

namespace {

bool isTrouble(OSStatus status)
{
    return status != errSecSuccess && status != errSecItemNotFound;
}

void logTrouble(const char* deed, const QString& account, OSStatus status)
{
    if (isTrouble(status))
        qCWarning(lcQuillmarsh, "The secret \"%s\" could not be %s: %s (status %d)", qUtf8Printable(account),
                  deed, secStatusText(status), status);
}

std::optional<QString> decoded(const QByteArray& data)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(data);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

// Free functions, because a coroutine may outlive the value that started it.

Task<> removeItem(SecItems* items, SecItemQuery query)
{
    const OSStatus status = co_await items->remove(query);
    logTrouble("removed", query.account, status);
}

Task<> saveItem(SecItems* items, SecItemQuery query, QByteArray data)
{
    co_await items->remove(query);
    const OSStatus status = co_await items->add(query, data, SecAccessible::whenUnlocked);
    if (status == errSecSuccess)
        co_return;
    logTrouble("saved", query.account, status);
    throw KeychainError::saveFailed(status);
}

Task<std::optional<QString>> loadItem(SecItems* items, SecItemQuery query)
{
    const SecItemResult result = co_await items->copyMatching(query);
    logTrouble("read", query.account, result.status);
    if (result.status != errSecSuccess)
        co_return std::nullopt;
    co_return decoded(result.data);
}

} // namespace

Task<> KeychainService::save(QString key, QString value) const
{
    return saveItem(items, {service, key}, value.toUtf8());
}

Task<std::optional<QString>> KeychainService::load(QString key) const
{
    return loadItem(items, {service, key});
}

Task<> KeychainService::remove(QString key) const
{
    return removeItem(items, {service, key});
}

} // namespace quillmarsh
