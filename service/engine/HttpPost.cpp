#include "engine/HttpPost.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include <curl/curl.h>

#include "base/Text.h"

namespace quillmarsh::service {

namespace {

constexpr size_t maximumReply = 1024UL * 1024UL;
constexpr size_t maximumIdle = 16;
/// A longer wish than this is a mistake of the upstream.
constexpr int maximumRetryAfter = 3600;

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

size_t takeHeader(char* bytes, size_t size, size_t count, void* user)
{
    const std::string_view line(bytes, size * count);
    constexpr std::string_view name = "retry-after:";
    if (asciiLower(line.substr(0, name.size())) == name) {
        const std::string_view value = trimmed(line.substr(name.size()));
        int seconds = 0; // the form with a date is not used by anybody who asks programs to wait
        std::from_chars(value.data(), value.data() + value.size(), seconds);
        static_cast<PostReply*>(user)->retryAfter =
            std::chrono::seconds(std::clamp(seconds, 0, maximumRetryAfter));
    }
    return size * count;
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
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply);
    const CURLcode code = curl_easy_perform(curl);
    if (code == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        reply.status = static_cast<int>(status);
    }
    reply.timedOut = code == CURLE_OPERATION_TIMEDOUT;
    giveBack(std::move(handle));
    return reply;
}

} // namespace quillmarsh::service
