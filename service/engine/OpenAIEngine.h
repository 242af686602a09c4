#pragma once

#include "engine/UpstreamEngine.h"

namespace quillmarsh::service {

/// Any service with the chat-completions interface: the vendor, or llama.cpp, vLLM or Ollama on a machine of
/// one's own.
class OpenAIEngine final : public UpstreamEngine
{
public:
    explicit OpenAIEngine(const UpstreamConfig& config) : UpstreamEngine(config) {}

    [[nodiscard]] std::string name() const override { return "openai"; }

private:
    [[nodiscard]] std::string path() const override { return "/chat/completions"; }
    [[nodiscard]] std::vector<std::string> headers() const override;
    [[nodiscard]] nlohmann::json bodyFor(const RewriteJob& job) const override;
    [[nodiscard]] std::optional<std::string> textOf(const nlohmann::json& answer) const override;
};

} // namespace quillmarsh::service
