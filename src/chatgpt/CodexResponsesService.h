#pragma once

#include "ai/AIServiceProtocol.h"
#include "chatgpt/CodexTokens.h"

class QNetworkAccessManager;
class QNetworkReply;

namespace quillmarsh {

class CodexOAuthService;

/// Rewrites on the user's ChatGPT plan: one streamed request to the Responses endpoint. The API key is not
/// used. Throws CodexOAuthError, AIError, TransportError or Cancelled; a part of an answer is never returned.
class CodexResponsesService final : public AIServiceProtocol
{
public:
    /// With the account connection and the network session of the process.
    CodexResponsesService();
    /// `apiBase` ends in "/v1". Service and session outlive every call.
    CodexResponsesService(CodexOAuthService& service, QNetworkAccessManager& session, const QString& apiBase);

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override;
    [[nodiscard]] QUrl endpoint() const override { return context_.endpoint; }

    /// The body of the request.
    [[nodiscard]] static QByteArray
    requestBody(const QString& text, const std::optional<QString>& instruction, const QString& model);

private:
    struct Context
    {
        QPointer<CodexOAuthService> service;
        QNetworkAccessManager* session;
        QUrl endpoint;
    };

    struct Request
    {
        QString text;
        std::optional<QString> instruction;
        CodexTokens tokens;
        QString model;
    };

    enum class Attempt { first, afterRefresh };

    // Static: a call outlives the back end that began it.
    static Task<QString> rewrite(Context context, QString text, std::optional<QString> instruction,
                                 std::stop_token stop);
    static Task<QString> call(Context context, Request request, Attempt attempt, std::stop_token stop);
    /// The request with a token that replaces the refused one.
    static Task<Request> renew(Context context, Request request, std::stop_token stop);
    static Task<QString> readStream(QNetworkReply* reply, std::stop_token stop);

    Context context_;
};

} // namespace quillmarsh
