#include "base/Task.h"

#include "base/LocalizedError.h"
#include "base/Log.h"

#include <typeinfo>

namespace quillmarsh {

void throwIfStopped(const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
}

Sleep::Sleep(std::chrono::nanoseconds duration, std::stop_token stop)
    : duration_(std::chrono::ceil<std::chrono::milliseconds>(duration)), stop_(std::move(stop))
{}

bool Sleep::await_ready() const noexcept
{
    return stop_.stop_requested() || duration_.count() <= 0;
}

void Sleep::await_suspend(std::coroutine_handle<> flow)
{
    timer_ = std::make_unique<QTimer>();
    timer_->setSingleShot(true);
    timer_->setTimerType(Qt::PreciseTimer);
    // Resuming ends this object's life, and with it the timer; that may not happen while it emits.
    QObject::connect(timer_.get(), &QTimer::timeout, [this, flow] {
        timer_.release()->deleteLater();
        flow.resume();
    });
    timer_->start(duration_);
    onStop_ = std::make_unique<StopCallback>(stop_, [timer = timer_.get()] {
        QMetaObject::invokeMethod(
            timer, [timer] { timer->start(0); }, Qt::QueuedConnection);
    });
}

void Sleep::await_resume() noexcept
{
    onStop_.reset();
}

namespace {

Task<> runDetached(Task<> task)
{
    try {
        co_await std::move(task);
    } catch (const Cancelled&) {
    } catch (const std::exception& error) {
        qCWarning(lcQuillmarsh, "A background task failed (%s)", typeid(error).name());
    }
}

} // namespace

void detach(Task<> task)
{
    runDetached(std::move(task));
}

} // namespace quillmarsh
