#include "ai/OpenAIService.h"

#include "ai/AIError.h"
#include "ai/JsonBody.h"
#include "ai/SystemPrompt.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds timeout{30};

QJsonObject message(const char* role, const QString& content)
{
    return {{QStringLiteral("role"), QLatin1String(role)}, {QStringLiteral("content"), content}};
}

QByteArray requestBody(const QString& model, const QString& text, const std::optional<QString>& instruction)
{
    const QJsonArray messages{message("system", buildSystemPrompt(instruction)), message("user", text)};
    const QJsonObject body{{QStringLiteral("model"), model}, {QStringLiteral("messages"), messages}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

OpenAIChatService::OpenAIChatService(QNetworkAccessManager& session, const QString& apiUrl, QString model)
    : session_(&session), apiUrl_(fixedUrl(apiUrl)), model_(std::move(model))
{}

Task<QString> OpenAIChatService::rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                                             std::stop_token stop)
{
    QNetworkRequest request = makeRequest(endpoint(), timeout);
    request.setRawHeader("Content-Type", "application/json");
    request.setRawHeader("Authorization", "Bearer " + apiKey.toUtf8());
    const HttpResponse response =
        co_await send(session_, "POST", request, requestBody(model_, text, instruction), stop);
    checkHTTPStatus(response);
    co_return parseOpenAIChatResponse(response.body);
}

Task<QString> OpenAIService::rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                                         std::stop_token stop)
{
    return inner_.rewriteText(std::move(text), std::move(apiKey), std::move(instruction), std::move(stop));
}

QString parseOpenAIChatResponse(const QByteArray& body)
{
    const QJsonValue choices = parseJson(body)[QStringLiteral("choices")];
    const QJsonArray list = choices.toArray();
    for (const QJsonValue& choice : list) {
        if (!choice.isObject())
            throw AIError::invalidResponse();
    }
    const QJsonValue content = list.isEmpty() ? QJsonValue() : list[0][u"message"][u"content"];
    if (!content.isString())
        throw AIError::invalidResponse();
    return content.toString();
}

} // namespace quillmarsh
