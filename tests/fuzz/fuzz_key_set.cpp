// The key set: its reader, and every key in it as the key of a token.
#include "FuzzInput.h"

#include "base/LocalizedError.h"
#include "chatgpt/OpenAIIdentityVerifier.h"

using namespace quillmarsh;

namespace {

QString tokenFor(const QString& kid)
{
    const auto text = [](const QByteArray& bytes) {
        return QString::fromLatin1(
            bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    };
    return text(R"({"alg":"RS256","kid":")" + kid.toUtf8() + "\"}") + QStringLiteral(".e30.") +
           text(QByteArray(256, 'x'));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const OpenAIIdentityVerifier verifier{nullptr, QStringLiteral("https://a.example")};
    try {
        const QList<QJsonObject> keys = OpenAIIdentityVerifier::keysOf(fuzz::bytes(data, size));
        if (keys.isEmpty())
            return 0;
        const QString kid = keys.first().value(QLatin1String("kid")).toString();
        static_cast<void>(verifier.verify(tokenFor(kid), QStringLiteral("c"), std::nullopt, keys, 0));
    } catch (const LocalizedError&) {
    }
    return 0;
}
