#pragma once

#include "ai/AIServiceProtocol.h"

class QNetworkAccessManager;

namespace quillmarsh {

/// Rewrites through Anthropic's messages interface with the user's own key: one request, no streaming, no
/// retry.
class AnthropicService final : public AIServiceProtocol
{
public:
    explicit AnthropicService(QNetworkAccessManager& session) : session_(&session) {}

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override;
    [[nodiscard]] QUrl endpoint() const override;

private:
    QNetworkAccessManager* session_;
};

/// The text of the first content block, unchanged. Throws JsonParseError for a body that is not JSON,
/// AIError::invalidResponse for any other shape, also when only a later block holds text.
[[nodiscard]] QString parseAnthropicResponse(const QByteArray& body);

} // namespace quillmarsh
