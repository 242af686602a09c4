#include "engine/AnthropicEngine.h"

#include <nlohmann/json.hpp>

#include "engine/Prompt.h"

namespace quillmarsh::service {

using Json = nlohmann::json;

std::vector<std::string> AnthropicEngine::headers() const
{
    return {"x-api-key: " + config().key, "anthropic-version: 2023-06-01"};
}

Json AnthropicEngine::bodyFor(const RewriteJob& job) const
{
    return {{"model", config().model},
            {"max_tokens", config().maximumTokens},
            {"system", systemPrompt(job.instruction)},
            {"messages", Json::array({{{"role", "user"}, {"content", job.text}}})}};
}

std::optional<std::string> AnthropicEngine::textOf(const Json& answer) const
{
    const Json none;
    const Json& blocks = answer.contains("content") ? answer["content"] : none;
    const Json& block = blocks.is_array() && !blocks.empty() ? blocks[0] : none;
    const Json& reason = answer.contains("stop_reason") ? answer["stop_reason"] : none;
    const bool cutOff =
        reason == "max_tokens" || reason == "model_context_window_exceeded" || reason == "refusal";
    if (cutOff || !block.is_object() || !block.contains("text") || !block["text"].is_string()) {
        return std::nullopt;
    }
    return block["text"].get<std::string>();
}

} // namespace quillmarsh::service
