#include "chatgpt/PKCE.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

#include <array>

namespace quillmarsh {

PKCE PKCE::generate()
{
    std::array<quint32, 16> random{};
    QRandomGenerator::system()->fillRange(random.data(), random.size());
    const QByteArray bytes(reinterpret_cast<const char*>(random.data()), sizeof random);
    const QString verifier = base64Url(bytes);
    return {verifier, challengeFor(verifier)};
}

QString PKCE::base64Url(const QByteArray& bytes)
{
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString PKCE::challengeFor(const QString& verifier)
{
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

} // namespace quillmarsh
