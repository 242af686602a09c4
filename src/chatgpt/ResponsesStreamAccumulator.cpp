#include "chatgpt/ResponsesStreamAccumulator.h"

#include "ai/AIError.h"
#include "chatgpt/CodexOAuthError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillmarsh {

namespace {

constexpr QLatin1String typeKey("type");

QString outputText(const QJsonObject& response)
{
    QString text;
    for (const QJsonValue& item : response.value(QLatin1String("output")).toArray()) {
        for (const QJsonValue& part : item[QLatin1String("content")].toArray()) {
            if (part[typeKey] == QLatin1String("output_text"))
                text += part[QLatin1String("text")].toString();
        }
    }
    return text;
}

QString errorCode(const QJsonObject& holder)
{
    const QJsonValue error = holder.value(QLatin1String("error"));
    return error[QLatin1String("code")].toString();
}

[[noreturn]] void throwFailure(const QString& code)
{
    const bool isLimit = code.startsWith(QLatin1String("subscription_sharing_usage_")) ||
                         code == QLatin1String("rate_limit_exceeded");
    if (isLimit)
        throw CodexOAuthError(QStringLiteral(
            "ChatGPT plan usage is unavailable or its limit was reached. Manage usage in ChatGPT settings."));
    throw CodexOAuthError(QStringLiteral(
        "ChatGPT didn’t finish the rewrite. Your selection hasn’t been replaced; please try again."));
}

} // namespace

void ResponsesStreamAccumulator::consume(const QByteArray& data)
{
    const QJsonObject event = QJsonDocument::fromJson(data).object();
    const QJsonValue typeValue = event.value(typeKey);
    if (!typeValue.isString())
        throw AIError::invalidResponse();
    const QString type = typeValue.toString();
    const QJsonObject response = event.value(QLatin1String("response")).toObject();
    if (type == QLatin1String("response.output_text.delta")) {
        text += event.value(QLatin1String("delta")).toString();
    } else if (type == QLatin1String("response.completed")) {
        if (response.value(QLatin1String("status")) != QLatin1String("completed"))
            throw AIError::invalidResponse();
        if (const QString whole = outputText(response); !whole.isEmpty())
            finalText = whole;
        completed = true;
    } else if (type == QLatin1String("response.failed") || type == QLatin1String("response.incomplete")) {
        throwFailure(errorCode(response));
    } else if (type == QLatin1String("error")) {
        const QJsonValue code = event.value(QLatin1String("code"));
        throwFailure(code.isString() ? code.toString() : errorCode(event));
    }
}

QString ResponsesStreamAccumulator::result() const
{
    const QString answer = finalText.value_or(text).trimmed();
    if (!completed || answer.isEmpty())
        throw AIError::invalidResponse();
    return answer;
}

} // namespace quillmarsh
