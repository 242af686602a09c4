#include "base/Task.h"

#include "base/LocalizedError.h"
#include "base/Log.h"

#include <QTimer>

#include <coroutine>
#include <functional>
#include <memory>
#include <optional>
#include <typeinfo>

namespace quillmarsh {

void throwIfStopped(const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
}

namespace {

/// One suspension until the timer or the stop. Awaited by name only: g++ 12 destroys twice what a temporary
/// of the awaiting expression holds.
class Alarm final
{
public:
    Alarm(std::chrono::nanoseconds duration, std::stop_token stop)
        : duration_(std::chrono::ceil<std::chrono::milliseconds>(duration)), stop_(std::move(stop))
    {}

    [[nodiscard]] bool isOver() const noexcept { return stop_.stop_requested() || duration_.count() <= 0; }

    void resumeLater(std::coroutine_handle<> flow)
    {
        timer_ = std::make_unique<QTimer>();
        timer_->setSingleShot(true);
        timer_->setTimerType(Qt::PreciseTimer);
        // Resuming ends this object's life, and with it the timer; that may not happen while it emits. A stop
        // that comes in the same moment must not make it emit again.
        QObject::connect(timer_.get(), &QTimer::timeout, [this, flow] {
            timer_->disconnect();
            timer_.release()->deleteLater();
            flow.resume();
        });
        timer_->start(duration_);
        onStop_.emplace(stop_, [timer = timer_.get()] {
            QMetaObject::invokeMethod(
                timer, [timer] { timer->start(0); }, Qt::QueuedConnection);
        });
    }

    void cancel() noexcept { onStop_.reset(); }

private:
    std::chrono::milliseconds duration_;
    std::stop_token stop_;
    std::unique_ptr<QTimer> timer_;
    std::optional<std::stop_callback<std::function<void()>>> onStop_;
};

struct AlarmAwaiter
{
    Alarm* alarm;

    [[nodiscard]] bool await_ready() const noexcept { return alarm->isOver(); }
    void await_suspend(std::coroutine_handle<> flow) const { alarm->resumeLater(flow); }
    void await_resume() const noexcept { alarm->cancel(); }
};

} // namespace

Task<> sleepFor(std::chrono::nanoseconds duration, std::stop_token stop)
{
    Alarm alarm(duration, std::move(stop));
    co_await AlarmAwaiter{&alarm};
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
