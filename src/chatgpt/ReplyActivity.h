#pragma once

#include "base/Task.h"

class QNetworkReply;

namespace quillmarsh {

/// Suspends the flow until the reply has something new: its head, bytes of its body, or its end. The flow
/// resumes from inside the reply's signal, so the reply may only be freed with deleteLater().
[[nodiscard]] Task<> replyActivity(QNetworkReply* reply);

} // namespace quillmarsh
