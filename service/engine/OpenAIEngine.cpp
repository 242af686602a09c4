#include "engine/OpenAIEngine.h"

#include <nlohmann/json.hpp>

#include "engine/Prompt.h"

namespace quillmarsh::service {

namespace {

using Json = nlohmann::json;

const EngineAnswer unreadable = EngineAnswer::failed(
    "engine_answer_unreadable", "The AI service behind this rewrite service gave an answer that "
                                "can’t be used. Try again.");

/// The first choice's text. One that was cut off is no answer: pasting it would lose the end of the user's
/// text.
EngineAnswer readAnswer(const Json& answer, const std::string& original)
{
    const Json none;
    const Json& choices = answer.contains("choices") ? answer["choices"] : none;
    const Json& choice = choices.is_array() && !choices.empty() ? choices[0] : none;
    const Json& message = choice.is_object() && choice.contains("message") ? choice["message"] : none;
    const bool cutOff =
        choice.is_object() && choice.contains("finish_reason") && choice["finish_reason"] == "length";
    if (cutOff || !message.is_object() || !message.contains("content") || !message["content"].is_string()) {
        return unreadable;
    }
    return EngineAnswer::done(withEdgesOf(original, message["content"].get<std::string>()));
}

} // namespace

EngineAnswer OpenAIEngine::rewrite(const RewriteJob& job, Deadline deadline)
{
    const Json body{{"model", config_.model},
                    {"messages",
                     {{{"role", "system"}, {"content", systemPrompt(job.instruction)}},
                      {{"role", "user"}, {"content", job.text}}}}};
    std::vector<std::string> headers;
    if (!config_.key.empty()) {
        headers.push_back("Authorization: Bearer " + config_.key);
    }
    const auto reply = upstream_.post("/chat/completions", std::move(headers), body, deadline);
    const auto* failure = std::get_if<EngineAnswer>(&reply);
    return failure != nullptr ? *failure : readAnswer(std::get<Json>(reply), job.text);
}

} // namespace quillmarsh::service
