#include "support/FakeUpstream.h"

#include <nlohmann/json.hpp>

namespace quillmarsh::service::test {

FakeUpstream::FakeUpstream()
{
    server_.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
        answer(request, response);
    });
    port_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

FakeUpstream::~FakeUpstream()
{
    server_.stop();
    thread_.join();
}

void FakeUpstream::script(std::vector<Reply> replies)
{
    const std::lock_guard lock(mutex_);
    replies_ = std::move(replies);
    requests_.clear();
}

std::vector<FakeUpstream::Request> FakeUpstream::requests()
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

void FakeUpstream::answer(const httplib::Request& request, httplib::Response& response)
{
    Reply reply;
    {
        const std::lock_guard lock(mutex_);
        reply = replies_.at(std::min(requests_.size(), replies_.size() - 1));
        requests_.push_back({request.path, request.body, request.headers});
    }
    reply(response);
}

FakeUpstream::Reply FakeUpstream::status(int code, const std::string& body, const httplib::Headers& headers)
{
    return [=](httplib::Response& response) {
        response.status = code;
        for (const auto& [name, value] : headers) {
            response.set_header(name, value);
        }
        response.set_content(body, "application/json");
    };
}

FakeUpstream::Reply FakeUpstream::chat(const std::string& text, const std::string& finish)
{
    const nlohmann::json body{
        {"choices", {{{"message", {{"role", "assistant"}, {"content", text}}}, {"finish_reason", finish}}}}};
    return status(200, body.dump());
}

FakeUpstream::Reply FakeUpstream::message(const std::string& text, const std::string& stop)
{
    const nlohmann::json body{{"content", {{{"type", "text"}, {"text", text}}}}, {"stop_reason", stop}};
    return status(200, body.dump());
}

} // namespace quillmarsh::service::test
