#include "chatgpt/CodexResponsesService.h"

#include "ai/AIError.h"
#include "ai/SystemPrompt.h"
#include "base/Http.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/CodexOAuthService.h"
#include "chatgpt/ReplyActivity.h"
#include "chatgpt/ResponsesStreamAccumulator.h"
#include "chatgpt/ServerSentEventLines.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>

namespace quillmarsh {

namespace {

/// Ends what is not wanted any more, from the event loop: a flow may run inside the reply's own signal.
struct DeleteLater
{
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};

/// The status, or -1 as long as no head has arrived.
int statusOf(const QNetworkReply& reply)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return status.isValid() ? status.toInt() : -1;
}

[[noreturn]] void throwWithoutStatus(const QNetworkReply& reply)
{
    if (isCut(reply))
        throw TransportError(reply.error());
    throw AIError::invalidResponse();
}

[[noreturn]] void throwStatus(int status)
{
    if (status == 429)
        throw CodexOAuthError(QStringLiteral(
            "Your ChatGPT usage limit was reached. Manage usage in ChatGPT or try again later."));
    throw CodexOAuthError(
        QStringLiteral("ChatGPT request failed (HTTP %1). Check your connection in Settings.").arg(status));
}

QNetworkRequest streamRequest(const QUrl& endpoint, const QString& accessToken)
{
    QNetworkRequest request = makeRequest(endpoint, std::chrono::seconds(60));
    request.setRawHeader("Authorization", "Bearer " + accessToken.toUtf8());
    request.setRawHeader("Content-Type", "application/json");
    request.setRawHeader("Accept", "text/event-stream");
    request.setRawHeader("User-Agent", "Quillmarsh/1.0");
    return request;
}

/// False at the end mark, after which nothing is read.
bool takeLine(QByteArrayView line, ResponsesStreamAccumulator& accumulator)
{
    constexpr QByteArrayView field("data:");
    if (!line.startsWith(field))
        return true;
    const QByteArrayView payload = line.sliced(field.size()).trimmed();
    if (payload == QByteArrayView("[DONE]"))
        return false;
    accumulator.consume(QByteArray::fromRawData(payload.data(), payload.size()));
    return true;
}

} // namespace

CodexResponsesService::CodexResponsesService()
    : CodexResponsesService(CodexOAuthService::shared(), sharedUrlSession(),
                            CodexEndpoints::current().openAIApiBase)
{}

CodexResponsesService::CodexResponsesService(CodexOAuthService& service, QNetworkAccessManager& session,
                                             const QString& apiBase)
    : context_{&service, &session, QUrl(apiBase + QStringLiteral("/responses"))}
{}

Task<QString> CodexResponsesService::rewriteText(QString text, QString, std::optional<QString> instruction,
                                                 std::stop_token stop)
{
    return rewrite(context_, std::move(text), std::move(instruction), std::move(stop));
}

Task<QString> CodexResponsesService::rewrite(Context context, QString text,
                                             std::optional<QString> instruction, std::stop_token stop)
{
    throwIfStopped(stop);
    if (!context.service)
        throw Cancelled();
    const CodexOAuthService::InferenceContext inference = co_await context.service->inferenceContext(stop);
    const Request request{text, instruction, inference.tokens, inference.model};
    co_return co_await call(context, request, Attempt::first, stop);
}

QByteArray CodexResponsesService::requestBody(const QString& text, const std::optional<QString>& instruction,
                                              const QString& model)
{
    const QJsonObject content{{QStringLiteral("type"), QStringLiteral("input_text")},
                              {QStringLiteral("text"), text}};
    const QJsonObject message{{QStringLiteral("role"), QStringLiteral("user")},
                              {QStringLiteral("content"), QJsonArray{content}}};
    const QJsonObject body{{QStringLiteral("model"), model},
                           {QStringLiteral("instructions"), buildSystemPrompt(instruction)},
                           {QStringLiteral("input"), QJsonArray{message}},
                           {QStringLiteral("stream"), true},
                           {QStringLiteral("store"), false}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

Task<QString> CodexResponsesService::call(Context context, Request request, Attempt attempt,
                                          std::stop_token stop)
{
    throwIfStopped(stop);
    std::unique_ptr<QNetworkReply, DeleteLater> reply(
        startRequest(*context.session, "POST", streamRequest(context.endpoint, request.tokens.accessToken),
                     requestBody(request.text, request.instruction, request.model)));
    const std::stop_callback abortOnStop(stop, [guard = QPointer(reply.get())] {
        QMetaObject::invokeMethod(guard, &QNetworkReply::abort, Qt::QueuedConnection);
    });
    while (statusOf(*reply) < 0 && !reply->isFinished())
        co_await replyActivity(reply.get());
    throwIfStopped(stop);
    const int status = statusOf(*reply);
    if (status < 0)
        throwWithoutStatus(*reply);
    if (status >= 200 && status <= 299)
        co_return co_await readStream(reply.get(), stop);
    if (status != 401 || attempt == Attempt::afterRefresh)
        throwStatus(status);
    reply.reset();
    const Request renewed = co_await renew(context, request, stop);
    co_return co_await call(context, renewed, Attempt::afterRefresh, stop);
}

Task<CodexResponsesService::Request> CodexResponsesService::renew(Context context, Request request,
                                                                  std::stop_token stop)
{
    if (!context.service)
        throw Cancelled();
    const QString before = request.tokens.clientID;
    request.tokens = co_await context.service->refreshIfNeeded(CodexOAuthService::Refresh::forced, stop);
    if (!context.service)
        throw Cancelled();
    if (request.tokens.clientID != before) { // the user has switched profiles meanwhile
        const auto inference = co_await context.service->inferenceContext(stop);
        request.tokens = inference.tokens;
        request.model = inference.model;
    }
    co_return request;
}

Task<QString> CodexResponsesService::readStream(QNetworkReply* reply, std::stop_token stop)
{
    ResponsesStreamAccumulator accumulator;
    ServerSentEventLines lines;
    const auto take = [&accumulator](QByteArrayView line) { return takeLine(line, accumulator); };
    for (bool wantsMore = true; wantsMore;) {
        if (reply->bytesAvailable() > 0) {
            wantsMore = lines.feed(reply->readAll(), take);
        } else if (reply->isFinished()) {
            break;
        } else {
            co_await replyActivity(reply);
            throwIfStopped(stop);
        }
    }
    const bool wasCut = reply->isFinished() && isCut(*reply);
    if (wasCut && !accumulator.completed)
        throw TransportError(reply->error());
    if (!wasCut) // else the last line is only a part, behind an answer that is whole
        lines.finish(take);
    co_return accumulator.result();
}

} // namespace quillmarsh
