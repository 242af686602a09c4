#pragma once

#include "chatgpt/CodexEnvironment.h"

#include <QJsonObject>
#include <QList>

#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace quillmarsh {

/// Checks the ID token of a token response: an RS256 signature by a key of the authorization server, and the
/// standard claims with five seconds of leeway. Every failure is the CodexOAuthError "Could not verify your
/// ChatGPT identity. Please sign in again.", but for a correctly signed payload that is not JSON, which
/// throws JsonParseError.
struct OpenAIIdentityVerifier
{
    static constexpr double leeway = 5; ///< seconds

    QNetworkAccessManager* session = nullptr;
    QString authOrigin; ///< the expected issuer, and where the keys are
    std::function<double()> clock = secondsSince1970;

    /// Fetches the keys anew and checks at the current time. Returns the claims. `nonce` is given for a
    /// sign-in and absent for a refresh. Throws Cancelled when `stop` is requested.
    Task<QJsonObject> verify(QString idToken, QString clientID, std::optional<QString> nonce,
                             std::stop_token stop) const;
    /// The check alone. `now` is in seconds since 1970 UTC.
    [[nodiscard]] QJsonObject verify(const QString& idToken, const QString& clientID,
                                     const std::optional<QString>& nonce, const QList<QJsonObject>& keys,
                                     double now) const;

    /// The "keys" of a key-set document; throws when there is no such array or it holds anything but objects.
    [[nodiscard]] static QList<QJsonObject> keysOf(const QByteArray& document);
    /// One DER element: `tag`, the length in its shortest form, `content`.
    [[nodiscard]] static QByteArray field(quint8 tag, const QByteArray& content);
    /// A DER INTEGER of big-endian unsigned `bytes`.
    [[nodiscard]] static QByteArray integer(const QByteArray& bytes);
};

} // namespace quillmarsh
