#pragma once

#include <QString>

namespace quillmarsh {

/// Whether `text` has more than `limit` user-perceived characters (extended grapheme clusters, UAX #29): an
/// emoji with its modifiers is one, CR LF is one.
[[nodiscard]] bool isLongerThan(const QString& text, qsizetype limit);

} // namespace quillmarsh
