#include "http/Answers.h"

#include <nlohmann/json.hpp>

namespace quillmarsh::service {

namespace {

using Json = nlohmann::ordered_json;

Json quotaJson(const Quota& quota)
{
    Json json{{"limit", quota.limit}, {"remaining", quota.remaining}};
    if (!quota.resetsAt.empty()) {
        json["resetsAt"] = quota.resetsAt;
    }
    return json;
}

void write(httplib::Response& response, int status, const Json& json)
{
    response.status = status;
    // an engine behind a network may answer with broken UTF-8; that must not become a 500
    response.set_content(json.dump(-1, ' ', false, Json::error_handler_t::replace), "application/json");
}

} // namespace

void writeText(httplib::Response& response, const std::string& text, const Quota& quota)
{
    write(response, 200, Json{{"text", text}, {"quota", quotaJson(quota)}});
}

void writeProblem(httplib::Response& response, const Problem& problem, const Quota* quota)
{
    Json json{{"error", problem.message}, {"code", problem.code}};
    if (quota != nullptr) {
        json["quota"] = quotaJson(*quota);
    }
    write(response, problem.status, json);
}

} // namespace quillmarsh::service
