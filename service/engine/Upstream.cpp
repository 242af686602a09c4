#include "engine/Upstream.h"

#include <algorithm>
#include <thread>

#include <nlohmann/json.hpp>

namespace quillmarsh::service {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const char* const unavailable =
    "The AI service behind this rewrite service is unavailable right now. Try again in a "
    "moment.";
const char* const busy = "The AI service behind this rewrite service is busy. Try again in a moment.";
const char* const refused = "The AI service behind this rewrite service refused the request. Whoever runs it "
                            "has to look at its settings.";

/// The pause before the second attempt when the upstream does not ask for another, and the longest one that a
/// waiting user is put through.
constexpr milliseconds retryPause(200);
constexpr seconds longestPause(3);
/// With less than this an upstream is not asked: its failure would not be its own.
constexpr milliseconds leastTime(100);

milliseconds leftUntil(Engine::Deadline deadline)
{
    return std::chrono::floor<milliseconds>(deadline - std::chrono::steady_clock::now());
}

bool deservesRetry(const PostReply& reply)
{
    // a time-out is not retried: the request may have been heard, and the user has waited long enough
    return reply.status >= 500 || (reply.status == 0 && !reply.timedOut && reply.body.empty());
}

} // namespace

std::variant<nlohmann::json, EngineAnswer> Upstream::post(const std::string& path,
                                                          std::vector<std::string> headers,
                                                          const nlohmann::json& body,
                                                          Engine::Deadline deadline)
{
    if (leftUntil(deadline) < leastTime) {
        return EngineAnswer::failed("engine_timeout", unavailable, seconds(1));
    }
    if (!breaker_.allows()) {
        const auto wait = std::max(std::chrono::ceil<seconds>(breaker_.wait()), seconds(1));
        return EngineAnswer::failed("engine_unavailable", unavailable, wait);
    }
    headers.emplace_back("Content-Type: application/json");
    headers.emplace_back("Accept: application/json");
    PostRequest request{config_.baseUrl + path, std::move(headers), body.dump(), config_.connectLimit, {}};
    const PostReply reply = sendWithRetry(request, deadline);
    if (reply.status < 200 || reply.status > 299) {
        return failure(reply);
    }
    nlohmann::json answer = nlohmann::json::parse(reply.body, nullptr, false);
    if (!answer.is_object()) {
        breaker_.failed();
        return EngineAnswer::failed("engine_answer_unreadable", unavailable);
    }
    breaker_.succeeded();
    return answer;
}

PostReply Upstream::sendWithRetry(PostRequest& request, Engine::Deadline deadline)
{
    request.wholeLimit = std::max(milliseconds(1), std::min(config_.answerLimit, leftUntil(deadline)));
    PostReply reply = http_.send(request);
    const milliseconds pause = std::max<milliseconds>(retryPause, reply.retryAfter);
    if (!deservesRetry(reply) || pause > longestPause || leftUntil(deadline) < pause + seconds(1)) {
        return reply;
    }
    std::this_thread::sleep_for(pause);
    request.wholeLimit = std::max(milliseconds(1), std::min(config_.answerLimit, leftUntil(deadline)));
    return http_.send(request);
}

EngineAnswer Upstream::failure(const PostReply& reply)
{
    if (reply.status == 429) {
        const seconds wait = std::max(reply.retryAfter, seconds(1));
        breaker_.failed(wait);
        return EngineAnswer::failed("engine_busy", busy, wait);
    }
    if (reply.status >= 300 && reply.status <= 499) {
        // the upstream is well; a key, a model or a limit is not. The circuit stays closed.
        breaker_.succeeded();
        return EngineAnswer::failed("engine_refused_" + std::to_string(reply.status), refused);
    }
    breaker_.failed(reply.retryAfter);
    return EngineAnswer::failed(reply.timedOut ? "engine_timeout" : "engine_unavailable", unavailable,
                                std::max(reply.retryAfter, seconds(1)));
}

} // namespace quillmarsh::service
