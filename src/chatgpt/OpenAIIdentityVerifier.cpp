#include "chatgpt/OpenAIIdentityVerifier.h"

#include "ai/JsonBody.h"
#include "base/Http.h"
#include "chatgpt/CodexOAuthError.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <openssl/evp.h>

namespace quillmarsh {

namespace {

[[noreturn]] void fail()
{
    throw CodexOAuthError(QStringLiteral("Could not verify your ChatGPT identity. Please sign in again."));
}

void require(bool condition)
{
    if (!condition)
        fail();
}

QByteArray base64UrlDecoded(const QString& text)
{
    QByteArray standard = text.toUtf8().replace('-', '+').replace('_', '/');
    while (standard.size() % 4 != 0)
        standard += '=';
    const auto result = QByteArray::fromBase64Encoding(standard, QByteArray::AbortOnBase64DecodingErrors);
    require(result.decodingStatus == QByteArray::Base64DecodingStatus::Ok);
    return result.decoded;
}

QString requiredString(const QJsonObject& object, const char* name)
{
    const QJsonValue value = object.value(QLatin1String(name));
    require(value.isString());
    return value.toString();
}

double requiredNumber(const QJsonObject& object, const char* name)
{
    const QJsonValue value = object.value(QLatin1String(name));
    require(value.isDouble());
    return value.toDouble();
}

QJsonObject selectKey(const QList<QJsonObject>& keys, const QString& kid)
{
    for (const QJsonObject& key : keys) {
        if (key.value(QLatin1String("kid")) == kid && key.value(QLatin1String("kty")) == QLatin1String("RSA"))
            return key;
    }
    fail();
}

using Key = std::unique_ptr<EVP_PKEY, decltype([](EVP_PKEY* key) { EVP_PKEY_free(key); })>;
using Digest = std::unique_ptr<EVP_MD_CTX, decltype([](EVP_MD_CTX* context) { EVP_MD_CTX_free(context); })>;

const unsigned char* bytes(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

Key publicKey(const QJsonObject& key)
{
    using Verifier = OpenAIIdentityVerifier;
    const QByteArray modulus = base64UrlDecoded(requiredString(key, "n"));
    const QByteArray exponent = base64UrlDecoded(requiredString(key, "e"));
    const QByteArray der = Verifier::field(0x30, Verifier::integer(modulus) + Verifier::integer(exponent));
    const unsigned char* position = bytes(der);
    Key result(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &position, static_cast<long>(der.size())));
    require(result && position == bytes(der) + der.size());
    return result;
}

/// RSASSA-PKCS1-v1_5 with SHA-256, OpenSSL's default for an RSA key.
void requireSignature(const Key& key, const QByteArray& message, const QByteArray& signature)
{
    const Digest context(EVP_MD_CTX_new());
    require(context && EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) == 1);
    require(EVP_DigestVerify(context.get(), bytes(signature), static_cast<size_t>(signature.size()),
                             bytes(message), static_cast<size_t>(message.size())) == 1);
}

QStringList audience(const QJsonObject& claims)
{
    const QJsonValue value = claims.value(QLatin1String("aud"));
    if (value.isString())
        return {value.toString()};
    QStringList list;
    for (const QJsonValue& entry : value.toArray()) {
        if (!entry.isString())
            return {};
        list.append(entry.toString());
    }
    return list;
}

void requireTimes(const QJsonObject& claims, double now)
{
    require(requiredNumber(claims, "exp") > now - OpenAIIdentityVerifier::leeway);
    require(requiredNumber(claims, "iat") <= now + OpenAIIdentityVerifier::leeway);
    require(!requiredString(claims, "sub").isEmpty());
    const QJsonValue notBefore = claims.value(QLatin1String("nbf"));
    require(!notBefore.isDouble() || notBefore.toDouble() <= now + OpenAIIdentityVerifier::leeway);
}

} // namespace

Task<QJsonObject> OpenAIIdentityVerifier::verify(QString idToken, QString clientID,
                                                 std::optional<QString> nonce, std::stop_token stop) const
{
    const OpenAIIdentityVerifier self = *this; // the value may be gone after the request
    const QUrl url(authOrigin + QStringLiteral("/.well-known/jwks.json"));
    HttpResponse response;
    try {
        response = co_await send(session, "GET", makeRequest(url, std::chrono::seconds(60)), {}, stop);
    } catch (const TransportError&) {
        fail();
    }
    require(response.statusCode == 200);
    co_return self.verify(idToken, clientID, nonce, keysOf(response.body), self.clock());
}

QJsonObject OpenAIIdentityVerifier::verify(const QString& idToken, const QString& clientID,
                                           const std::optional<QString>& nonce,
                                           const QList<QJsonObject>& keys, double now) const
{
    const QStringList pieces = idToken.split(u'.');
    require(pieces.size() == 3);
    const QJsonObject header = QJsonDocument::fromJson(base64UrlDecoded(pieces[0])).object();
    const QByteArray signature = base64UrlDecoded(pieces[2]);
    const QByteArray payload = base64UrlDecoded(pieces[1]);
    require(header.value(QLatin1String("alg")) == QLatin1String("RS256"));
    const Key key = publicKey(selectKey(keys, requiredString(header, "kid")));
    requireSignature(key, (pieces[0] + u'.' + pieces[1]).toUtf8(), signature);

    const QJsonDocument document = parseJson(payload);
    require(document.isObject());
    const QJsonObject claims = document.object();
    const QStringList audiences = audience(claims);
    require(requiredString(claims, "iss") == authOrigin);
    require(audiences.contains(clientID));
    requireTimes(claims, now);
    if (nonce)
        require(requiredString(claims, "nonce") == *nonce);
    if (audiences.size() >= 2)
        require(requiredString(claims, "azp") == clientID);
    return claims;
}

QList<QJsonObject> OpenAIIdentityVerifier::keysOf(const QByteArray& document)
{
    const QJsonValue keys = QJsonDocument::fromJson(document).object().value(QLatin1String("keys"));
    require(keys.isArray());
    QList<QJsonObject> list;
    for (const QJsonValue& key : keys.toArray()) {
        require(key.isObject());
        list.append(key.toObject());
    }
    return list;
}

QByteArray OpenAIIdentityVerifier::field(quint8 tag, const QByteArray& content)
{
    QByteArray length;
    for (auto rest = static_cast<quint64>(content.size()); rest > 0; rest >>= 8)
        length.prepend(static_cast<char>(rest & 0xff));
    if (content.size() < 128)
        length = QByteArray(1, static_cast<char>(content.size()));
    else
        length.prepend(static_cast<char>(0x80 + length.size()));
    return QByteArray(1, static_cast<char>(tag)) + length + content;
}

QByteArray OpenAIIdentityVerifier::integer(const QByteArray& bytes)
{
    qsizetype zeros = 0;
    while (zeros < bytes.size() && bytes[zeros] == 0)
        ++zeros;
    QByteArray magnitude = bytes.mid(zeros);
    if (!magnitude.isEmpty() && (static_cast<quint8>(magnitude[0]) & 0x80) != 0)
        magnitude.prepend('\0');
    return field(0x02, magnitude);
}

} // namespace quillmarsh
