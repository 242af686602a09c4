#pragma once

#include "ai/AIServiceProtocol.h"
#include "ai/CloudUsage.h"

class QNetworkAccessManager;

namespace quillmarsh {

/// What the hosted service answers. Every member is optional; a body that does not decode as a whole, a
/// member of a wrong type included, counts as one without members.
struct CloudResponse
{
    std::optional<QString> text;  ///< the rewritten text
    std::optional<QString> error; ///< a message meant for the user
    std::optional<QString> code;  ///< machine-readable reason, not interpreted here
    std::optional<CloudQuota> quota;
};

/// Never throws.
[[nodiscard]] CloudResponse decodeCloudResponse(const QByteArray& body);

/// Rewrites through the product's own hosted service, which chooses the model and composes the prompt itself.
/// The user needs no key; the installation identifies itself with a bearer token.
class CloudAIService final : public AIServiceProtocol
{
public:
    /// Hands out the installation token; it may come from a store that has to be asked.
    using TokenSource = std::function<Task<QString>()>;

    CloudAIService(QNetworkAccessManager& session, TokenSource installationToken, CloudUsage& usage);

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override;
    [[nodiscard]] QUrl endpoint() const override;

private:
    QNetworkAccessManager* session_;
    TokenSource installationToken_;
    CloudUsage* usage_;
};

} // namespace quillmarsh
