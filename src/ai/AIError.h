#pragma once

#include "base/LocalizedError.h"

namespace quillmarsh {

/// The error family of one rewrite. Server texts are passed on verbatim.
class AIError final : public LocalizedError
{
public:
    enum class Kind { apiError, cloudLimit, invalidResponse, noAPIKey, textTooLong };

    /// `statusCode` is the HTTP status, -1 for an answer that was not HTTP at all.
    [[nodiscard]] static AIError apiError(qint64 statusCode, const QString& message);
    [[nodiscard]] static AIError cloudLimit(const QString& message);
    [[nodiscard]] static AIError invalidResponse();
    [[nodiscard]] static AIError noAPIKey();
    [[nodiscard]] static AIError textTooLong();

    [[nodiscard]] Kind kind() const { return kind_; }
    /// 0 unless the kind is apiError.
    [[nodiscard]] qint64 statusCode() const { return statusCode_; }

private:
    AIError(Kind kind, const QString& description, qint64 statusCode = 0)
        : LocalizedError(description), kind_(kind), statusCode_(statusCode)
    {}

    Kind kind_;
    qint64 statusCode_;
};

} // namespace quillmarsh
