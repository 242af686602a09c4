#include "engine/HttpPost.h"

#include <algorithm>

#include <curl/curl.h>

namespace quillmarsh::service {

namespace {

constexpr size_t maximumReply = 1024UL * 1024UL;
constexpr size_t maximumIdle = 16;
/// A longer wish than this is a mistake of the upstream.
constexpr curl_off_t maximumRetryAfter = 3600;

struct FreeList
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

size_t takeBody(char* bytes, size_t size, size_t count, void* user)
{
    auto& reply = *static_cast<PostReply*>(user);
    if (reply.body.size() + size * count > maximumReply) {
        return 0;
    }
    reply.body.append(bytes, size * count);
    return size * count;
}

/// The wish of the upstream, as a number or as a date.
std::chrono::seconds retryAfterOf(CURL* curl)
{
    curl_off_t seconds = 0;
    curl_easy_getinfo(curl, CURLINFO_RETRY_AFTER, &seconds);
    return std::chrono::seconds(std::clamp<curl_off_t>(seconds, 0, maximumRetryAfter));
}

/// A connection that could not even be made in time was never asked anything.
bool wasConnected(CURL* curl)
{
    curl_off_t microseconds = 0;
    curl_easy_getinfo(curl, CURLINFO_CONNECT_TIME_T, &microseconds);
    return microseconds > 0;
}

} // namespace

void HttpPost::Cleanup::operator()(CURL* handle) const
{
    curl_easy_cleanup(handle);
}

HttpPost::HttpPost()
{
    static const CURLcode once = curl_global_init(CURL_GLOBAL_DEFAULT);
    (void)once;
}

HttpPost::~HttpPost() = default;

HttpPost::Handle HttpPost::borrow()
{
    const std::lock_guard lock(mutex_);
    if (idle_.empty()) {
        return Handle(curl_easy_init());
    }
    Handle handle = std::move(idle_.back());
    idle_.pop_back();
    curl_easy_reset(handle.get());
    return handle;
}

void HttpPost::giveBack(Handle handle)
{
    const std::lock_guard lock(mutex_);
    if (idle_.size() < maximumIdle) {
        idle_.push_back(std::move(handle));
    }
}

PostReply HttpPost::send(const PostRequest& request)
{
    PostReply reply;
    Handle handle = borrow();
    curl_slist* raw = nullptr;
    for (const std::string& header : request.headers) {
        raw = curl_slist_append(raw, header.c_str());
    }
    raw = curl_slist_append(raw, "Expect:"); // no round trip before the body
    const std::unique_ptr<curl_slist, FreeList> headers(raw);
    CURL* curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.connectLimit.count()));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.wholeLimit.count()));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply);
    const CURLcode code = curl_easy_perform(curl);
    if (code == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        reply.status = static_cast<int>(status);
        reply.retryAfter = retryAfterOf(curl);
    }
    reply.timedOut = code == CURLE_OPERATION_TIMEDOUT && wasConnected(curl);
    giveBack(std::move(handle));
    return reply;
}

} // namespace quillmarsh::service
