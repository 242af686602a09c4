#include "ai/AnthropicService.h"

#include "ai/AIError.h"
#include "ai/JsonBody.h"
#include "ai/SystemPrompt.h"
#include "base/Deployment.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds timeout{30};
constexpr int maxTokens = 4096;

QByteArray requestBody(const QString& text, const std::optional<QString>& instruction)
{
    const QJsonObject message{{QStringLiteral("role"), QStringLiteral("user")},
                              {QStringLiteral("content"), text}};
    const QJsonObject body{{QStringLiteral("model"), QStringLiteral("claude-sonnet-4-20250514")},
                           {QStringLiteral("max_tokens"), maxTokens},
                           {QStringLiteral("system"), buildSystemPrompt(instruction)},
                           {QStringLiteral("messages"), QJsonArray{message}}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

QUrl AnthropicService::endpoint() const
{
    return fixedUrl(Deployment::current().anthropicApiBase + QStringLiteral("/v1/messages"));
}

Task<QString> AnthropicService::rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                                            std::stop_token stop)
{
    QNetworkRequest request = makeRequest(endpoint(), timeout);
    request.setRawHeader("content-type", "application/json");
    request.setRawHeader("x-api-key", apiKey.toUtf8());
    request.setRawHeader("anthropic-version", "2023-06-01");
    const HttpResponse response =
        co_await send(session_, "POST", request, requestBody(text, instruction), stop);
    checkHTTPStatus(response);
    co_return parseAnthropicResponse(response.body);
}

QString parseAnthropicResponse(const QByteArray& body)
{
    const QJsonArray content = parseJson(body)[QStringLiteral("content")].toArray();
    for (const QJsonValue& block : content) {
        if (!block.isObject())
            throw AIError::invalidResponse();
    }
    const QJsonValue text = content.isEmpty() ? QJsonValue() : content[0][u"text"];
    if (!text.isString())
        throw AIError::invalidResponse();
    return text.toString();
}

} // namespace quillmarsh
