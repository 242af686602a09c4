#pragma once

#include "ai/AIServiceProtocol.h"

class QNetworkAccessManager;

namespace quillmarsh {

/// Rewrites through OpenAI's chat-completions interface with the user's own key: one request, no streaming,
/// no retry.
class OpenAIChatService final : public AIServiceProtocol
{
public:
    /// `apiUrl` is the full endpoint address, `model` the model identifier.
    OpenAIChatService(QNetworkAccessManager& session, const QString& apiUrl, QString model);

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override;
    [[nodiscard]] QUrl endpoint() const override { return apiUrl_; }

private:
    QNetworkAccessManager* session_;
    QUrl apiUrl_;
    QString model_;
};

/// What the rest of the system sees; forwards to the chat-completions client.
class OpenAIService final : public AIServiceProtocol
{
public:
    explicit OpenAIService(OpenAIChatService inner) : inner_(std::move(inner)) {}

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override;
    [[nodiscard]] QUrl endpoint() const override { return inner_.endpoint(); }

private:
    OpenAIChatService inner_;
};

/// The assistant's text of a chat-completions answer, unchanged: choices[0].message.content. Throws
/// JsonParseError for a body that is not JSON, AIError::invalidResponse for any other shape.
[[nodiscard]] QString parseOpenAIChatResponse(const QByteArray& body);

} // namespace quillmarsh
