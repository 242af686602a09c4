#pragma once

#include <variant>

#include <nlohmann/json_fwd.hpp>

#include "Config.h"
#include "engine/CircuitBreaker.h"
#include "engine/Engine.h"
#include "engine/HttpPost.h"

namespace quillmarsh::service {

/// One AI service: time limits, one retry when the connection failed or the answer was a 5xx, its
/// "Retry-After", and a circuit breaker. Nothing that it says about a failure reaches the user or the log: it
/// may quote the text.
class Upstream final
{
public:
    explicit Upstream(const UpstreamConfig& config)
        : config_(config), breaker_(config.breakerFailures, config.breakerPause)
    {}

    /// Posts `body` to a path below the base URL. Returns the answer's JSON, or the failure.
    [[nodiscard]] std::variant<nlohmann::json, EngineAnswer> post(const std::string& path,
                                                                  std::vector<std::string> headers,
                                                                  const nlohmann::json& body,
                                                                  Engine::Deadline deadline);

private:
    [[nodiscard]] PostReply sendWithRetry(PostRequest& request, Engine::Deadline deadline);
    [[nodiscard]] EngineAnswer failure(const PostReply& reply);

    UpstreamConfig config_;
    CircuitBreaker breaker_;
    HttpPost http_;
};

} // namespace quillmarsh::service
