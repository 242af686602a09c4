#include "engine/CircuitBreaker.h"

#include <algorithm>

namespace quillmarsh::service {

bool CircuitBreaker::allows()
{
    const std::lock_guard lock(mutex_);
    if (now_() < closedUntil_ || probing_) {
        return false;
    }
    probing_ = failures_ >= limit_;
    return true;
}

void CircuitBreaker::succeeded()
{
    const std::lock_guard lock(mutex_);
    failures_ = 0;
    probing_ = false;
    closedUntil_ = {};
}

void CircuitBreaker::failed(std::chrono::milliseconds retryAfter)
{
    const std::lock_guard lock(mutex_);
    ++failures_;
    probing_ = false;
    const auto pause = std::max(retryAfter, failures_ >= limit_ ? pause_ : std::chrono::milliseconds(0));
    closedUntil_ = std::max(closedUntil_, now_() + pause);
}

std::chrono::milliseconds CircuitBreaker::wait()
{
    const std::lock_guard lock(mutex_);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(closedUntil_ - now_());
    return std::max(left, std::chrono::milliseconds(0));
}

} // namespace quillmarsh::service
