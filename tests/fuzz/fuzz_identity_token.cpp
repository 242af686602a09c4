// The pure token check, with a real public key that nobody can sign for: nothing may ever be accepted.
#include "FuzzInput.h"

#include "base/LocalizedError.h"
#include "chatgpt/OpenAIIdentityVerifier.h"

using namespace quillmarsh;

namespace {

QJsonObject publicKey()
{
    QByteArray modulus(256, '\x5a');
    modulus[0] = '\xc1';
    modulus[255] = '\x35';
    const auto text = [](const QByteArray& bytes) {
        return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding));
    };
    return {{QStringLiteral("kid"), QStringLiteral("k")},
            {QStringLiteral("kty"), QStringLiteral("RSA")},
            {QStringLiteral("n"), text(modulus)},
            {QStringLiteral("e"), QStringLiteral("AQAB")}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QList<QJsonObject> keys{publicKey()};
    static const OpenAIIdentityVerifier verifier{nullptr, QStringLiteral("https://a.example")};
    const QString token = QString::fromUtf8(fuzz::bytes(data, size));
    try {
        static_cast<void>(verifier.verify(token, QStringLiteral("c"), std::nullopt, keys, 1'800'000'000));
        fuzz::require(false);
    } catch (const LocalizedError&) {
    }
    return 0;
}
