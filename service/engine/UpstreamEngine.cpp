#include "engine/UpstreamEngine.h"

#include <nlohmann/json.hpp>

#include "engine/Prompt.h"

namespace quillmarsh::service {

EngineAnswer UpstreamEngine::rewrite(const RewriteJob& job, Deadline deadline)
{
    const auto reply = upstream_.post(path(), headers(), bodyFor(job), deadline);
    if (const auto* failure = std::get_if<EngineAnswer>(&reply)) {
        return *failure;
    }
    const std::optional<std::string> text = textOf(std::get<nlohmann::json>(reply));
    return text ? EngineAnswer::done(withEdgesOf(job.text, *text))
                : EngineAnswer::failed(
                      "engine_answer_unreadable",
                      "The AI service behind this rewrite service gave an answer that can’t be "
                      "used. Try again.");
}

} // namespace quillmarsh::service
