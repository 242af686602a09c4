#pragma once

#include <QList>
#include <QPair>
#include <QString>

namespace quillmarsh {

/// Name and value.
using OAuthQueryItems = QList<QPair<QString, QString>>;

/// The encoding of the authorization query and of every form sent to the token endpoint.
struct OAuthQueryEncoder
{
    /// "name=value" pairs joined by "&", in order. Everything but letters, marks and digits of any script and
    /// "-._~" becomes %XX of its UTF-8 bytes. Text that is not well-formed Unicode stays as it is.
    [[nodiscard]] static QString encode(const OAuthQueryItems& items);
};

} // namespace quillmarsh
