#include "http/RewriteRequest.h"

#include <set>

#include <nlohmann/json.hpp>

#include "base/Text.h"

namespace quillmarsh::service {

namespace {

using Json = nlohmann::json;

/// Deeper than any request that can be right; stops a body of a hundred thousand brackets early.
constexpr int maximumDepth = 8;

/// What the parser's callback finds out about the top-level object on the way.
struct Shape
{
    std::set<std::string> members;
    bool duplicate = false;
    bool tooDeep = false;

    bool operator()(int depth, Json::parse_event_t event, Json& value)
    {
        tooDeep = tooDeep || depth > maximumDepth;
        if (event == Json::parse_event_t::key && depth == 1) {
            duplicate = !members.insert(value.get<std::string>()).second || duplicate;
        }
        return !tooDeep;
    }
};

Problem bad(const char* code, const char* message)
{
    return {400, code, message};
}

std::optional<Problem> checkText(const std::string& text)
{
    if (trimmed(text).empty()) {
        return bad("empty_text", "There is no text to rewrite.");
    }
    if (countCharacters(text, maximumCharacters + 1) > maximumCharacters) {
        return Problem{413, "text_too_long", "The text is too long (max 10,000 characters)."};
    }
    return std::nullopt;
}

std::optional<Problem> checkMembers(const Json& request)
{
    for (const auto& [name, value] : request.items()) {
        if (name != "text" && name != "instruction") {
            return bad("unknown_member", "The request has a member that this service does not know. It takes "
                                         "\"text\" and \"instruction\".");
        }
        if (!value.is_string()) {
            return bad("wrong_type", "\"text\" and \"instruction\" must be strings.");
        }
    }
    if (!request.contains("text")) {
        return bad("missing_text", "The request has no \"text\".");
    }
    return std::nullopt;
}

std::variant<RewriteJob, Problem> readMembers(const Json& request)
{
    if (auto problem = checkMembers(request)) {
        return *problem;
    }
    RewriteJob job{request["text"].get<std::string>(), std::nullopt};
    if (auto problem = checkText(job.text)) {
        return *problem;
    }
    if (request.contains("instruction")) {
        job.instruction = request["instruction"].get<std::string>();
        if (countCharacters(*job.instruction, maximumCharacters + 1) > maximumCharacters) {
            return Problem{413, "instruction_too_long",
                           "The instruction is too long (max 10,000 characters)."};
        }
    }
    return job;
}

} // namespace

std::variant<RewriteJob, Problem> readRewriteRequest(std::string_view body)
{
    if (!isValidUtf8(body)) {
        return bad("invalid_utf8", "The request is not valid UTF-8.");
    }
    Shape shape;
    const Json request = Json::parse(body, std::ref(shape), false);
    if (shape.tooDeep) {
        return bad("invalid_json", "The request is nested too deeply.");
    }
    if (request.is_discarded()) {
        return bad("invalid_json", "The request is not valid JSON.");
    }
    if (!request.is_object()) {
        return bad("wrong_type", "The request must be a JSON object.");
    }
    if (shape.duplicate) {
        return bad("duplicate_member", "The request has a member twice.");
    }
    return readMembers(request);
}

} // namespace quillmarsh::service
