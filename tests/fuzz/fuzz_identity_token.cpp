// The pure token check. An input is a token as it stands (its first byte is "t"; nobody can have signed it,
// so it may never be accepted), or a header and, after a line feed, a payload, which are signed here with a
// key made for this run: whatever of that is accepted has to hold every claim.
#include "FuzzInput.h"

#include "base/LocalizedError.h"
#include "chatgpt/OpenAIIdentityVerifier.h"
#include "support/TestSigningKey.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace quillmarsh;

namespace {

constexpr double now = 1'800'000'000;

/// Small, so that most of the time goes into the check.
const test::TestSigningKey& key()
{
    static const test::TestSigningKey made(QStringLiteral("k"), 512);
    return made;
}

QString signedToken(const QByteArray& header, const QByteArray& payload)
{
    const QString message =
        test::TestSigningKey::base64Url(header) + u'.' + test::TestSigningKey::base64Url(payload);
    return message + u'.' + test::TestSigningKey::base64Url(key().signature(message.toUtf8()));
}

void requireHeader(const QByteArray& header)
{
    const QJsonObject object = QJsonDocument::fromJson(header).object();
    fuzz::require(object[u"alg"] == QLatin1String("RS256") && object[u"kid"] == key().kid());
}

void requireClaims(const QJsonObject& claims, const std::optional<QString>& nonce)
{
    const QJsonValue audience = claims[u"aud"];
    const QJsonArray list = audience.isString() ? QJsonArray{audience} : audience.toArray();
    fuzz::require(list.contains(QStringLiteral("c")));
    fuzz::require(list.size() < 2 || claims[u"azp"] == QLatin1String("c"));
    fuzz::require(claims[u"iss"] == QLatin1String("https://a.example"));
    fuzz::require(claims[u"exp"].toDouble() > now - 5);
    fuzz::require(claims[u"iat"].isDouble() && claims[u"iat"].toDouble() <= now + 5);
    fuzz::require(!claims[u"nbf"].isDouble() || claims[u"nbf"].toDouble() <= now + 5);
    fuzz::require(!claims[u"sub"].toString().isEmpty());
    fuzz::require(!nonce || claims[u"nonce"] == *nonce);
}

/// The claims, if the check accepts `token`.
std::optional<QJsonObject> verified(const QString& token, const std::optional<QString>& nonce)
{
    static const QList<QJsonObject> keys{key().jwk()};
    static const OpenAIIdentityVerifier verifier{nullptr, QStringLiteral("https://a.example")};
    try {
        return verifier.verify(token, QStringLiteral("c"), nonce, keys, now);
    } catch (const LocalizedError&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input = fuzz::bytes(data, size);
    if (input.startsWith('t')) {
        fuzz::require(!verified(QString::fromUtf8(input.mid(1)), std::nullopt));
        return 0;
    }
    const qsizetype end = input.indexOf('\n');
    const QByteArray header = input.left(end);
    const QByteArray payload = end < 0 ? QByteArray() : input.mid(end + 1);
    const QString token = signedToken(header, payload);
    for (const auto& nonce : {std::optional<QString>(), std::optional<QString>(QStringLiteral("n"))}) {
        const auto claims = verified(token, nonce);
        if (!claims)
            continue;
        requireHeader(header);
        requireClaims(*claims, nonce);
    }
    return 0;
}
