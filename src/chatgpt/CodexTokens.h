#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace quillmarsh {

/// One connected ChatGPT account ("profile"), known by its `clientID`.
struct CodexTokens
{
    /// A token is refreshed when it expires within this many seconds.
    static constexpr double freshnessMargin = 300;

    QString clientID;             ///< the OAuth client that the server registered for this profile
    QString subject;              ///< the "sub" claim of the verified ID token
    QString accessToken;          ///< empty while a registration is not finished
    QString refreshToken;         ///< may be empty
    QString idToken;              ///< the last one, as received
    double expiresAt = 0;         ///< of the access token, seconds since 1970 UTC
    std::optional<QString> email; ///< the "email" claim
    QStringList scopes;           ///< as granted

    /// Whether rewrites may run on the account's plan.
    [[nodiscard]] bool canUsePlan() const;
    /// Whether the access token still serves at `now` (seconds since 1970 UTC).
    [[nodiscard]] bool isFresh(double now) const { return expiresAt > now + freshnessMargin; }

    bool operator==(const CodexTokens&) const = default;

    /// The JSON array of `profiles`, keys in declaration order; none when a number cannot be written.
    [[nodiscard]] static std::optional<QByteArray> encode(const QList<CodexTokens>& profiles);
    /// None unless `json` is an array in which every entry is complete ("email" alone may be missing or
    /// null).
    [[nodiscard]] static std::optional<QList<CodexTokens>> decode(const QByteArray& json);
};

} // namespace quillmarsh
