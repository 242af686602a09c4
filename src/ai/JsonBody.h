#pragma once

#include "base/Http.h"

#include <QJsonDocument>

namespace quillmarsh {

/// A body that should have been JSON is not; its description says so without quoting the body.
class JsonParseError final : public LocalizedError
{
public:
    explicit JsonParseError(const QJsonParseError& error);
};

/// Throws JsonParseError.
[[nodiscard]] QJsonDocument parseJson(const QByteArray& body);

/// Passes 200…299; any other status, or -1 for an answer that was not HTTP, throws AIError::apiError with the
/// whole body as the message, or "Unknown error" when the body is not valid UTF-8.
void checkHTTPStatus(const HttpResponse& response);

} // namespace quillmarsh
