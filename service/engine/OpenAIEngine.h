#pragma once

#include "engine/Engine.h"
#include "engine/Upstream.h"

namespace quillmarsh::service {

/// Any service with the chat-completions interface: the vendor, or llama.cpp, vLLM or Ollama on a machine of
/// one's own.
class OpenAIEngine final : public Engine
{
public:
    explicit OpenAIEngine(const UpstreamConfig& config) : config_(config), upstream_(config) {}

    [[nodiscard]] std::string name() const override { return "openai"; }
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job, Deadline deadline) override;

private:
    UpstreamConfig config_;
    Upstream upstream_;
};

} // namespace quillmarsh::service
