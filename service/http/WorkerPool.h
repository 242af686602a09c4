#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>

namespace quillmarsh::service {

/// Threads that are started when they are needed, up to a limit. Every open connection holds one of them.
class WorkerPool final : public httplib::TaskQueue
{
public:
    explicit WorkerPool(size_t limit) : limit_(limit) {}

    void enqueue(std::function<void()> job) override;
    void shutdown() override;
    /// A connection waits for a thread, so idle ones should give theirs up. May be called from any thread.
    [[nodiscard]] bool isUnderPressure();

private:
    void work();

    const size_t limit_;
    std::mutex mutex_;
    std::condition_variable jobReady_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> threads_;
    size_t idle_ = 0;
    bool ending_ = false;
};

} // namespace quillmarsh::service
