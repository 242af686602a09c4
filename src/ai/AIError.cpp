#include "ai/AIError.h"

namespace quillmarsh {

AIError AIError::apiError(qint64 statusCode, const QString& message)
{
    // Joined rather than formatted: the server's words may hold placeholders.
    const QString description =
        QStringLiteral("API error (") + QString::number(statusCode) + QStringLiteral("): ") + message;
    return {Kind::apiError, description, statusCode};
}

AIError AIError::cloudLimit(const QString& message)
{
    return {Kind::cloudLimit, message};
}

AIError AIError::invalidResponse()
{
    return {Kind::invalidResponse, QStringLiteral("Invalid response from AI service")};
}

AIError AIError::noAPIKey()
{
    return {Kind::noAPIKey, QStringLiteral("No API key configured")};
}

AIError AIError::textTooLong()
{
    return {Kind::textTooLong, QStringLiteral("Selected text is too long (max 10,000 characters)")};
}

} // namespace quillmarsh
