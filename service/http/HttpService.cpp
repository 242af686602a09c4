#include "http/HttpService.h"

#include "base/Log.h"
#include "base/Text.h"
#include "http/Answers.h"

namespace quillmarsh::service {

namespace {

using httplib::Request;
using httplib::Response;
using Verdict = httplib::Server::HandlerResponse;

constexpr size_t maximumBody = 256UL * 1024UL;
/// With the marks of its chunks, when it comes in chunks.
constexpr size_t maximumChunkedBody = 2 * maximumBody;
constexpr const char* rewritePath = "/api/rewrite";

const Problem tooLarge{413, "body_too_large", "The request is too large (max 256 KiB)."};
const Problem tooSlow{408, "request_timeout", "The request didn’t arrive in time."};

void abandonRequest()
{
    if (Connection* connection = Connection::current()) {
        connection->abandonRequest();
    }
}

Problem problemFor(const Request& request, int status)
{
    static const std::vector<std::string> paths{rewritePath, "/healthz", "/metrics", "/update.json",
                                                "/api/download"};
    if (status == 404 && std::find(paths.begin(), paths.end(), request.path) != paths.end()) {
        return {405, "method_not_allowed", "This address doesn’t take that kind of request."};
    }
    switch (status) {
    case 404:
        return {404, "not_found", "There is nothing at this address."};
    case 413:
        return tooLarge;
    case 414:
        return {414, "address_too_long", "The address of the request is too long."};
    default:
        return status >= 500 ? Problem{status, "internal", "Something went wrong in the rewrite service."}
                             : Problem{status, "bad_request", "The request is malformed."};
    }
}

bool isJson(const Request& request)
{
    const std::string type = asciiLower(request.get_header_value("Content-Type"));
    return trimmed(type.substr(0, type.find(';'))) == "application/json";
}

bool isEncoded(const Request& request)
{
    const std::string encoding = asciiLower(request.get_header_value("Content-Encoding"));
    return !encoding.empty() && encoding != "identity";
}

bool hasBody(const Request& request)
{
    return request.get_header_value<std::uint64_t>("Content-Length") > 0 ||
           request.has_header("Transfer-Encoding");
}

std::optional<Problem> objectionTo(const Request& request)
{
    if (isEncoded(request)) { // decompressing would let a small body become a huge one
        return Problem{415, "unsupported_encoding", "Compressed requests aren’t accepted."};
    }
    if (!isJson(request)) {
        return Problem{415, "unsupported_media_type",
                       "The request must have the content type application/json."};
    }
    if (request.get_header_value<std::uint64_t>("Content-Length") > maximumBody) {
        return tooLarge;
    }
    return std::nullopt;
}

/// A body that nobody reads must not be taken for the next request of the connection.
httplib::Server::HandlerResponse checkOtherRequest(const Request& request, Response& response)
{
    const bool isForReading = request.method == "GET" || request.method == "HEAD";
    if (!isForReading || hasBody(request)) {
        abandonRequest();
    }
    if (isForReading) {
        return Verdict::Unhandled;
    }
    writeProblem(response, problemFor(request, 404));
    return Verdict::Handled;
}

} // namespace

HttpService::HttpService(GuardedServer& server, RewriteHandler& rewrites, const UpdateFiles& updates,
                         Metrics& metrics)
    : server_(server), rewrites_(rewrites), updates_(updates), metrics_(metrics)
{
    server_.set_payload_max_length(maximumBody);
    server_.set_default_headers({{"X-Content-Type-Options", "nosniff"}, {"Cache-Control", "no-store"}});
    server_.set_pre_routing_handler(
        [this](const Request& request, Response& response) { return checkRequest(request, response); });
    server_.set_error_handler([](const Request& request, Response& response) {
        if (response.body.empty()) {
            abandonRequest(); // whatever body the request had was not read
            writeProblem(response, problemFor(request, response.status));
        }
    });
    server_.set_exception_handler([](const Request&, Response& response, std::exception_ptr) {
        logWarning("a request ended with an unexpected failure");
        writeProblem(response, {500, "internal", "Something went wrong in the rewrite service."});
    });
    addRoutes();
}

void HttpService::get(const std::string& path, const std::string& name, Handler handler)
{
    server_.Get(path, [this, name, handler = std::move(handler)](const Request& request, Response& response) {
        const auto start = std::chrono::steady_clock::now();
        handler(request, response);
        metrics_.countAnswer(name, response.status < 0 ? 200 : response.status,
                             std::chrono::steady_clock::now() - start);
    });
}

void HttpService::addRoutes()
{
    get("/healthz", "health", [](const Request&, Response& response) {
        response.set_content("{\"status\":\"ok\"}", "application/json");
    });
    get("/metrics", "metrics", [this](const Request&, Response& response) {
        response.set_content(metrics_.text(), "text/plain; version=0.0.4");
    });
    get("/update\\.json", "update",
        [this](const Request&, Response& response) { updates_.answerManifest(response); });
    get("/api/download", "download",
        [this](const Request&, Response& response) { updates_.answerDownload(response); });
    server_.Post(rewritePath, [this](const Request& request, Response& response,
                                     const httplib::ContentReader& reader) {
        const auto start = std::chrono::steady_clock::now();
        rewrite(request, response, reader);
        metrics_.countAnswer("rewrite", response.status, std::chrono::steady_clock::now() - start);
    });
}

/// Everything that can be refused before the body is read.
httplib::Server::HandlerResponse HttpService::checkRequest(const Request& request, Response& response)
{
    if (request.method != "POST" || request.path != rewritePath) {
        return checkOtherRequest(request, response);
    }
    const bool admitted = rewrites_.admit(request, response);
    const std::optional<Problem> problem = admitted ? objectionTo(request) : std::nullopt;
    if (admitted && !problem) {
        return Verdict::Unhandled;
    }
    if (problem) {
        rewrites_.refuse(request, *problem, response);
    }
    abandonRequest();
    metrics_.countAnswer("rewrite", response.status, {});
    return Verdict::Handled;
}

void HttpService::rewrite(const Request& request, Response& response, const httplib::ContentReader& reader)
{
    Connection::current()->admitBody(maximumChunkedBody);
    std::string body;
    bool oversized = false;
    const bool complete = reader([&](const char* bytes, size_t count) {
        oversized = body.size() + count > maximumBody; // a chunked body has no length in its header
        if (!oversized) {
            body.append(bytes, count);
        }
        return !oversized;
    });
    if (!complete || oversized) {
        abandonRequest();
        rewrites_.refuse(request, oversized ? tooLarge : tooSlow, response);
        return;
    }
    rewrites_.answer(request, body, response);
}

} // namespace quillmarsh::service
