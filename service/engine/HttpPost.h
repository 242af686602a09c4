#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using CURL = void;

namespace quillmarsh::service {

/// One POST of a JSON body and its answer.
struct PostRequest
{
    std::string url;
    std::vector<std::string> headers; ///< "name: value"
    std::string body;
    std::chrono::milliseconds connectLimit{};
    std::chrono::milliseconds wholeLimit{}; ///< from the connect to the last byte
};

struct PostReply
{
    int status = 0; ///< HTTP; 0 when there was no answer
    std::string body;
    std::chrono::seconds retryAfter{0};
    bool timedOut = false; ///< after the connection was made: the request may have been heard
};

/// Sends requests over kept-alive connections. May be used from any thread.
class HttpPost final
{
public:
    HttpPost();
    ~HttpPost();
    HttpPost(const HttpPost&) = delete;
    HttpPost& operator=(const HttpPost&) = delete;

    /// Sends once; never throws, never follows a redirection, never takes more than a megabyte of answer.
    [[nodiscard]] PostReply send(const PostRequest& request);

private:
    struct Cleanup
    {
        void operator()(CURL* handle) const;
    };
    using Handle = std::unique_ptr<CURL, Cleanup>;

    [[nodiscard]] Handle borrow();
    void giveBack(Handle handle);

    std::mutex mutex_;
    std::vector<Handle> idle_; ///< handles keep their connections
};

} // namespace quillmarsh::service
