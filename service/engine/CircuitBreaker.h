#pragma once

#include <chrono>
#include <functional>
#include <mutex>

namespace quillmarsh::service {

/// Keeps requests away from an upstream that fails: after a number of failures in a row nothing is sent for a
/// while, then one request tries whether it is back. An upstream's own "Retry-After" closes the door as well.
class CircuitBreaker final
{
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;

    CircuitBreaker(int failures, std::chrono::milliseconds pause, Now now = Clock::now)
        : limit_(failures), pause_(pause), now_(std::move(now))
    {}

    /// Whether a request may be sent. A true answer must be followed by `succeeded` or `failed`.
    [[nodiscard]] bool allows();
    void succeeded();
    /// `retryAfter`: how long the upstream asked to be left alone; zero when it did not say.
    void failed(std::chrono::milliseconds retryAfter = {});
    /// How long until a request may be sent; zero when it may be sent now.
    [[nodiscard]] std::chrono::milliseconds wait();

private:
    const int limit_;
    const std::chrono::milliseconds pause_;
    const Now now_;
    std::mutex mutex_;
    int failures_ = 0;
    bool probing_ = false;
    Clock::time_point closedUntil_{};
};

} // namespace quillmarsh::service
