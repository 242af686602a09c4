#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <memory>

typedef struct evp_pkey_st EVP_PKEY;

namespace quillmarsh::test {

/// An RSA key made at run time, which signs tokens as an authorization server does.
class TestSigningKey final
{
public:
    explicit TestSigningKey(QString kid, unsigned int bits = 2048);
    ~TestSigningKey();

    TestSigningKey(const TestSigningKey&) = delete;
    TestSigningKey& operator=(const TestSigningKey&) = delete;

    [[nodiscard]] const QString& kid() const { return kid_; }
    /// The public half as an entry of a key set.
    [[nodiscard]] QJsonObject jwk() const;
    [[nodiscard]] QByteArray modulus() const;
    [[nodiscard]] QByteArray exponent() const;
    /// RSASSA-PKCS1-v1_5 over SHA-256, or over SHA-512.
    [[nodiscard]] QByteArray signature(const QByteArray& message, bool sha512 = false) const;
    /// A compact token with this key's header.
    [[nodiscard]] QString token(const QJsonObject& claims) const;
    [[nodiscard]] QString token(const QJsonObject& header, const QByteArray& payload) const;

    [[nodiscard]] static QString base64Url(const QByteArray& bytes);

private:
    QString kid_;
    std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key_;
};

} // namespace quillmarsh::test
