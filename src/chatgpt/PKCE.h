#pragma once

#include <QByteArray>
#include <QString>

namespace quillmarsh {

/// The proof key of one sign-in attempt (RFC 7636, method S256). Never stored, never logged.
struct PKCE
{
    QString verifier;  ///< 86 characters of base64url: 64 random bytes
    QString challenge; ///< 43 characters: the SHA-256 of the verifier

    [[nodiscard]] static PKCE generate();
    /// base64url without padding (RFC 4648, section 5).
    [[nodiscard]] static QString base64Url(const QByteArray& bytes);
    [[nodiscard]] static QString challengeFor(const QString& verifier);
};

} // namespace quillmarsh
