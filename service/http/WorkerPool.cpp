#include "http/WorkerPool.h"

namespace quillmarsh::service {

void WorkerPool::enqueue(std::function<void()> job)
{
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    if (idle_ < jobs_.size() && threads_.size() < limit_) {
        threads_.emplace_back([this] { work(); });
    }
    jobReady_.notify_one();
}

void WorkerPool::work()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        ++idle_;
        jobReady_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
        --idle_;
        if (jobs_.empty()) {
            return;
        }
        const std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

bool WorkerPool::isUnderPressure()
{
    const std::lock_guard lock(mutex_);
    return jobs_.size() > idle_;
}

void WorkerPool::shutdown()
{
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    jobReady_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

} // namespace quillmarsh::service
