#pragma once

#include "engine/UpstreamEngine.h"

namespace quillmarsh::service {

/// A service with the messages interface.
class AnthropicEngine final : public UpstreamEngine
{
public:
    explicit AnthropicEngine(const UpstreamConfig& config) : UpstreamEngine(config) {}

    [[nodiscard]] std::string name() const override { return "anthropic"; }

private:
    [[nodiscard]] std::string path() const override { return "/v1/messages"; }
    [[nodiscard]] std::vector<std::string> headers() const override;
    [[nodiscard]] nlohmann::json bodyFor(const RewriteJob& job) const override;
    [[nodiscard]] std::optional<std::string> textOf(const nlohmann::json& answer) const override;
};

} // namespace quillmarsh::service
