#include "ai/InstallationToken.h"

#include "base/Log.h"

#include <QFuture>
#include <QRandomGenerator>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

namespace {

constexpr int tokenBytes = 32;

QString randomToken()
{
    QByteArray bytes(tokenBytes, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(QRandomGenerator::system()->generate() & 0xFF);
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

bool isToken(const QByteArray& data)
{
    const auto decoded = QByteArray::fromBase64Encoding(data, QByteArray::Base64UrlEncoding |
                                                                  QByteArray::AbortOnBase64DecodingErrors);
    return decoded && (*decoded).size() == tokenBytes;
}

} // namespace

Task<QString> InstallationToken::value()
{
    if (!token_) {
        token_ = std::make_shared<QPromise<QString>>();
        token_->start();
        detach(load(items_, token_));
    }
    const QFuture<QString> token = token_->future();
    if (!token.isFinished())
        co_await token;
    co_return token.result();
}

Task<> InstallationToken::load(SecItems* items, std::shared_ptr<QPromise<QString>> token)
{
    const QString value = co_await loadOrCreate(items);
    token->addResult(value);
    token->finish();
}

Task<QString> InstallationToken::loadOrCreate(SecItems* items)
{
    const SecItemQuery query{QStringLiteral("com.quillmarsh.app"),
                             QStringLiteral("quillmarsh-cloud-installation")};
    const SecItemResult stored = co_await items->copyMatching(query);
    if (stored.status == errSecSuccess && isToken(stored.data))
        co_return QString::fromLatin1(stored.data);
    const QString token = randomToken();
    OSStatus status = stored.status;
    // A store that could not be read is left alone: it may hold a good token behind its lock.
    if (status == errSecItemNotFound)
        status = co_await items->add(query, token.toLatin1(), SecAccessible::afterFirstUnlockThisDeviceOnly);
    else if (status == errSecSuccess)
        status = co_await items->update(query, token.toLatin1());
    if (status != errSecSuccess)
        qCWarning(lcQuillmarsh,
                  "The installation token could not be kept (status %d); it lasts until the end", status);
    co_return token;
}

} // namespace quillmarsh
