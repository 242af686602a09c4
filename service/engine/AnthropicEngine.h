#pragma once

#include "engine/Engine.h"
#include "engine/Upstream.h"

namespace quillmarsh::service {

/// A service with the messages interface.
class AnthropicEngine final : public Engine
{
public:
    explicit AnthropicEngine(const UpstreamConfig& config) : config_(config), upstream_(config) {}

    [[nodiscard]] std::string name() const override { return "anthropic"; }
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job, Deadline deadline) override;

private:
    UpstreamConfig config_;
    Upstream upstream_;
};

} // namespace quillmarsh::service
