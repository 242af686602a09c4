#include "support/TestSigningKey.h"

#include <QJsonDocument>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

namespace quillmarsh::test {

namespace {

QByteArray number(EVP_PKEY* key, const char* name)
{
    BIGNUM* value = nullptr;
    if (EVP_PKEY_get_bn_param(key, name, &value) != 1)
        qFatal("The test key has no number %s", name);
    QByteArray bytes(BN_num_bytes(value), '\0');
    BN_bn2bin(value, reinterpret_cast<unsigned char*>(bytes.data()));
    BN_free(value);
    return bytes;
}

} // namespace

TestSigningKey::TestSigningKey(QString kid, unsigned int bits)
    : kid_(std::move(kid)), key_(EVP_RSA_gen(bits), [](EVP_PKEY* key) { EVP_PKEY_free(key); })
{
    if (!key_)
        qFatal("No test key could be made");
}

TestSigningKey::~TestSigningKey() = default;

QByteArray TestSigningKey::modulus() const
{
    return number(key_.get(), OSSL_PKEY_PARAM_RSA_N);
}

QByteArray TestSigningKey::exponent() const
{
    return number(key_.get(), OSSL_PKEY_PARAM_RSA_E);
}

QJsonObject TestSigningKey::jwk() const
{
    return {{QStringLiteral("kid"), kid_},
            {QStringLiteral("kty"), QStringLiteral("RSA")},
            {QStringLiteral("use"), QStringLiteral("sig")},
            {QStringLiteral("n"), base64Url(modulus())},
            {QStringLiteral("e"), base64Url(exponent())}};
}

QByteArray TestSigningKey::signature(const QByteArray& message, bool sha512) const
{
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    EVP_DigestSignInit(context, nullptr, sha512 ? EVP_sha512() : EVP_sha256(), nullptr, key_.get());
    const auto* const bytes = reinterpret_cast<const unsigned char*>(message.constData());
    size_t size = 0;
    EVP_DigestSign(context, nullptr, &size, bytes, static_cast<size_t>(message.size()));
    QByteArray signature(static_cast<qsizetype>(size), '\0');
    auto* const out = reinterpret_cast<unsigned char*>(signature.data());
    if (EVP_DigestSign(context, out, &size, bytes, static_cast<size_t>(message.size())) != 1)
        qFatal("The test key could not sign");
    EVP_MD_CTX_free(context);
    return signature;
}

QString TestSigningKey::token(const QJsonObject& claims) const
{
    const QJsonObject header{{QStringLiteral("alg"), QStringLiteral("RS256")}, {QStringLiteral("kid"), kid_}};
    return token(header, QJsonDocument(claims).toJson(QJsonDocument::Compact));
}

QString TestSigningKey::token(const QJsonObject& header, const QByteArray& payload) const
{
    const QString message =
        base64Url(QJsonDocument(header).toJson(QJsonDocument::Compact)) + u'.' + base64Url(payload);
    return message + u'.' + base64Url(signature(message.toUtf8()));
}

QString TestSigningKey::base64Url(const QByteArray& bytes)
{
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace quillmarsh::test
