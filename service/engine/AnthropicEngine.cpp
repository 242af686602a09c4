#include "engine/AnthropicEngine.h"

#include <nlohmann/json.hpp>

#include "engine/Prompt.h"

namespace quillmarsh::service {

namespace {

using Json = nlohmann::json;

const EngineAnswer unreadable = EngineAnswer::failed(
    "engine_answer_unreadable", "The AI service behind this rewrite service gave an answer that "
                                "can’t be used. Try again.");

/// The first block's text. One that was cut off is no answer: pasting it would lose the end of the user's
/// text.
EngineAnswer readAnswer(const Json& answer, const std::string& original)
{
    const Json none;
    const Json& blocks = answer.contains("content") ? answer["content"] : none;
    const Json& block = blocks.is_array() && !blocks.empty() ? blocks[0] : none;
    const bool cutOff = answer.contains("stop_reason") && answer["stop_reason"] == "max_tokens";
    if (cutOff || !block.is_object() || !block.contains("text") || !block["text"].is_string()) {
        return unreadable;
    }
    return EngineAnswer::done(withEdgesOf(original, block["text"].get<std::string>()));
}

} // namespace

EngineAnswer AnthropicEngine::rewrite(const RewriteJob& job, Deadline deadline)
{
    const Json body{{"model", config_.model},
                    {"max_tokens", config_.maximumTokens},
                    {"system", systemPrompt(job.instruction)},
                    {"messages", {{{"role", "user"}, {"content", job.text}}}}};
    std::vector<std::string> headers{"x-api-key: " + config_.key, "anthropic-version: 2023-06-01"};
    const auto reply = upstream_.post("/v1/messages", std::move(headers), body, deadline);
    const auto* failure = std::get_if<EngineAnswer>(&reply);
    return failure != nullptr ? *failure : readAnswer(std::get<Json>(reply), job.text);
}

} // namespace quillmarsh::service
