#pragma once

#include <QByteArray>
#include <QString>

namespace quillmarsh {

/// Whom a signature has to come from.
struct SignatureRequirement
{
    QByteArray anchor;          ///< PEM certificate in which the chain has to end; empty: nothing verifies
    QString organizationalUnit; ///< of the signer's certificate
};

/// A detached CMS signature (RFC 5652) over `content`, DER, made with SHA-256. `certificates` is a PEM file's
/// content: the signer's certificate first, then those between it and the anchor. `key` is the signer's PEM
/// key; OpenSSL asks on the terminal when it is encrypted. Throws CodesignError.
[[nodiscard]] QByteArray signContent(const QByteArray& content, const QByteArray& certificates,
                                     const QByteArray& key);

/// Throws CodesignError unless `signature` is exactly one detached signature over `content` by one signer
/// whose certificate is valid now, is no authority, may sign code, has exactly the required unit, and chains
/// to the anchor. Digests weaker than SHA-256 and keys below 112 bits of strength are refused.
void verifyContent(const QByteArray& content, const QByteArray& signature,
                   const SignatureRequirement& requirement);

} // namespace quillmarsh
