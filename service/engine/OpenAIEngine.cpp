#include "engine/OpenAIEngine.h"

#include <nlohmann/json.hpp>

#include "engine/Prompt.h"

namespace quillmarsh::service {

using Json = nlohmann::json;

std::vector<std::string> OpenAIEngine::headers() const
{
    return config().key.empty() ? std::vector<std::string>{}
                                : std::vector<std::string>{"Authorization: Bearer " + config().key};
}

Json OpenAIEngine::bodyFor(const RewriteJob& job) const
{
    return {{"model", config().model},
            {"messages",
             {{{"role", "system"}, {"content", systemPrompt(job.instruction)}},
              {{"role", "user"}, {"content", job.text}}}}};
}

std::optional<std::string> OpenAIEngine::textOf(const Json& answer) const
{
    const Json none;
    const Json& choices = answer.contains("choices") ? answer["choices"] : none;
    const Json& choice = choices.is_array() && !choices.empty() ? choices[0] : none;
    const Json& message = choice.is_object() && choice.contains("message") ? choice["message"] : none;
    const Json& reason =
        choice.is_object() && choice.contains("finish_reason") ? choice["finish_reason"] : none;
    const bool cutOff = reason == "length" || reason == "content_filter";
    if (cutOff || !message.is_object() || !message.contains("content") || !message["content"].is_string()) {
        return std::nullopt;
    }
    return message["content"].get<std::string>();
}

} // namespace quillmarsh::service
