#pragma once

#include "base/Task.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace quillmarsh {

/// The one operation of every back end. A back end is made afresh for each rewrite and keeps no state.
class AIServiceProtocol
{
public:
    virtual ~AIServiceProtocol() = default;

    /// The rewritten form of `text` (the selection exactly as captured). `apiKey` is ignored by back ends
    /// that use none; without an `instruction` the text is corrected only. Throws an AIError, another
    /// LocalizedError, or Cancelled once `stop` is requested; a stop also closes the connection.
    virtual Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                                      std::stop_token stop) = 0;
    /// Where the request will go, so that a connection can be opened while the selection is still being read.
    [[nodiscard]] virtual QUrl endpoint() const = 0;
};

} // namespace quillmarsh
