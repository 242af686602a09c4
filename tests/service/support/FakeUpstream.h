#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>

namespace quillmarsh::service::test {

/// An AI service on 127.0.0.1 that records what it is asked and answers from a script; behind its end it
/// repeats the last entry.
class FakeUpstream final
{
public:
    using Reply = std::function<void(httplib::Response&)>;
    struct Request
    {
        std::string path;
        std::string body;
        httplib::Headers headers;
    };

    FakeUpstream();
    ~FakeUpstream();
    FakeUpstream(const FakeUpstream&) = delete;
    FakeUpstream& operator=(const FakeUpstream&) = delete;

    void script(std::vector<Reply> replies);
    [[nodiscard]] std::string origin() const { return "http://127.0.0.1:" + std::to_string(port_); }
    [[nodiscard]] std::vector<Request> requests();

    [[nodiscard]] static Reply status(int code, const std::string& body = "{}",
                                      const httplib::Headers& headers = {});
    [[nodiscard]] static Reply chat(const std::string& text, const std::string& finish = "stop");
    [[nodiscard]] static Reply message(const std::string& text, const std::string& stop = "end_turn");

private:
    void answer(const httplib::Request& request, httplib::Response& response);

    httplib::Server server_;
    std::mutex mutex_;
    std::vector<Reply> replies_;
    std::vector<Request> requests_;
    int port_ = 0;
    std::thread thread_;
};

} // namespace quillmarsh::service::test
