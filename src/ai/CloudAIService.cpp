#include "ai/CloudAIService.h"

#include "ai/AIError.h"
#include "base/Deployment.h"
#include "base/Http.h"
#include "base/Race.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds timeout{60};

QByteArray requestBody(const QString& text, const std::optional<QString>& instruction)
{
    QJsonObject body{{QStringLiteral("text"), text}};
    if (instruction)
        body.insert(QStringLiteral("instruction"), *instruction);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

/// Absent and null read as none; any other type than a string makes the whole record undecodable.
bool readString(const QJsonObject& object, const char* key, std::optional<QString>& target)
{
    const QJsonValue value = object[QLatin1String(key)];
    if (value.isString())
        target = value.toString();
    return value.isString() || value.isUndefined() || value.isNull();
}

bool readInteger(const QJsonObject& object, const char* key, qint64& target)
{
    const QJsonValue value = object[QLatin1String(key)];
    target = value.toInteger(0);
    return target == value.toInteger(1); // anything else yields the number given for it
}

bool readQuota(const QJsonObject& object, std::optional<CloudQuota>& target)
{
    const QJsonValue value = object[QStringLiteral("quota")];
    if (value.isUndefined() || value.isNull())
        return true;
    CloudQuota quota;
    const QJsonObject record = value.toObject();
    const bool decodes = value.isObject() && readInteger(record, "limit", quota.limit) &&
                         readInteger(record, "remaining", quota.remaining) &&
                         readString(record, "resetsAt", quota.resetsAt);
    if (decodes)
        target = quota;
    return decodes;
}

QString refusal(int statusCode, const CloudResponse& answer)
{
    if (statusCode == 401 || statusCode == 403)
        return answer.error.value_or(QStringLiteral("Quillmarsh Cloud didn’t accept this installation."));
    return answer.error.value_or(QStringLiteral("Cloud AI is temporarily unavailable."));
}

QString textOrThrow(int statusCode, const CloudResponse& answer)
{
    if (statusCode == 200) {
        if (!answer.text || answer.text->isEmpty())
            throw AIError::invalidResponse();
        return *answer.text;
    }
    if (statusCode == 429)
        throw AIError::cloudLimit(
            answer.error.value_or(QStringLiteral("Cloud limit reached. Please try again later.")));
    throw AIError::apiError(statusCode, refusal(statusCode, answer));
}

} // namespace

CloudResponse decodeCloudResponse(const QByteArray& body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return {};
    const QJsonObject object = document.object();
    CloudResponse answer;
    const bool decodes = readString(object, "text", answer.text) &&
                         readString(object, "error", answer.error) &&
                         readString(object, "code", answer.code) && readQuota(object, answer.quota);
    return decodes ? answer : CloudResponse{};
}

CloudAIService::CloudAIService(QNetworkAccessManager& session, TokenSource installationToken,
                               CloudUsage& usage)
    : session_(&session), installationToken_(std::move(installationToken)), usage_(&usage)
{}

QUrl CloudAIService::endpoint() const
{
    return fixedUrl(Deployment::current().cloudOrigin + QStringLiteral("/api/rewrite"));
}

Task<QString> CloudAIService::rewriteText(QString text, QString, std::optional<QString> instruction,
                                          std::stop_token stop)
{
    const QString token = co_await orStopped(installationToken_(), stop);
    QNetworkRequest request = makeRequest(endpoint(), timeout);
    request.setRawHeader("Content-Type", "application/json");
    request.setRawHeader("Authorization", "Bearer " + token.toLatin1());
    const HttpResponse response =
        co_await send(session_, "POST", request, requestBody(text, instruction), stop);
    if (response.statusCode == -1)
        throw AIError::invalidResponse();
    const CloudResponse answer = decodeCloudResponse(response.body);
    if (answer.quota)
        usage_->setQuota(*answer.quota);
    co_return textOrThrow(response.statusCode, answer);
}

} // namespace quillmarsh
