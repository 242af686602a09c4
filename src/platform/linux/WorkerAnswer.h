#pragma once

#include "platform/linux/XWorker.h"

#include <QCoreApplication>

#include <coroutine>

namespace quillmarsh {

/// Awaits a job of the worker that answers through a callback, once, from the worker's thread; the flow goes
/// on in the main thread. The worker answers what is open as it ends; an answer that kept it alive would,
/// when the event loop is over and nobody is resumed any more, leave its thread running into the
/// application's end.
template <typename Value>
class WorkerAnswer final
{
public:
    using Reply = std::function<void(Value)>;
    using Job = std::function<void(XWorker::Parts&, Reply)>;

    /// `worker` is asked as the wait begins and may be gone when it ends.
    WorkerAnswer(XWorker& worker, Job job) : worker_(worker), job_(std::move(job)) {}

    [[nodiscard]] bool await_ready() const noexcept { return false; }

    void await_suspend(std::coroutine_handle<> flow)
    {
        // The worker's own copy of the job: the flow may be resumed before post() has returned.
        worker_.post([this, flow, job = job_](XWorker::Parts& parts) {
            job(parts, [this, flow](Value value) {
                QMetaObject::invokeMethod(
                    QCoreApplication::instance(),
                    [this, flow, answer = std::move(value)]() mutable {
                        value_.emplace(std::move(answer));
                        flow.resume();
                    },
                    Qt::QueuedConnection);
            });
        });
    }

    Value await_resume() { return std::move(*value_); }

private:
    XWorker& worker_;
    Job job_;
    std::optional<Value> value_;
};

} // namespace quillmarsh
