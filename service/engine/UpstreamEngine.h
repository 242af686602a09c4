#pragma once

#include <nlohmann/json_fwd.hpp>

#include "engine/Engine.h"
#include "engine/Upstream.h"

namespace quillmarsh::service {

/// An engine behind a network. A concrete one only knows how its interface writes a job and an answer.
class UpstreamEngine : public Engine
{
public:
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job, Deadline deadline) final;

protected:
    explicit UpstreamEngine(const UpstreamConfig& config) : config_(config), upstream_(config) {}

    [[nodiscard]] const UpstreamConfig& config() const { return config_; }

private:
    /// Below the base URL.
    [[nodiscard]] virtual std::string path() const = 0;
    /// What identifies the operator, as "name: value".
    [[nodiscard]] virtual std::vector<std::string> headers() const = 0;
    [[nodiscard]] virtual nlohmann::json bodyFor(const RewriteJob& job) const = 0;
    /// The text of an answer. Nothing when there is none, or when it was cut off: pasting that would lose the
    /// end of the user's text.
    [[nodiscard]] virtual std::optional<std::string> textOf(const nlohmann::json& answer) const = 0;

    UpstreamConfig config_;
    Upstream upstream_;
};

} // namespace quillmarsh::service
