#pragma once

#include "base/Task.h"

#include <coroutine>
#include <utility>
#include <vector>

namespace quillmarsh::test {

/// Sleeps that end when the test says so. Unlike a real sleep one does not end by itself when it is stopped,
/// so that a test can let it end late and see that nobody listens any more.
class ManualClock final
{
public:
    struct Wait
    {
        std::chrono::nanoseconds duration;
        std::stop_token stop;
        std::coroutine_handle<> flow;
    };

    std::vector<Wait> waits; ///< every sleep so far, in order

    ManualClock() = default;
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;
    ~ManualClock()
    {
        for (std::size_t i = 0; i < waits.size(); ++i)
            elapse(i);
    }

    [[nodiscard]] Task<> sleep(std::chrono::nanoseconds duration, std::stop_token stop)
    {
        // A named awaitable: g++ 12 destroys members of an aggregate made inside the co_await twice.
        Suspension suspension(*this, {duration, std::move(stop), {}});
        co_await suspension;
    }

    /// Ends the sleep at `index`; a second time does nothing.
    void elapse(std::size_t index)
    {
        if (const auto flow = std::exchange(waits.at(index).flow, {}))
            flow.resume();
    }
    void elapseLast() { elapse(waits.size() - 1); }
    /// Sleeps that neither ended nor were stopped.
    [[nodiscard]] std::size_t running() const
    {
        std::size_t count = 0;
        for (const Wait& wait : waits)
            count += wait.flow && !wait.stop.stop_requested() ? 1 : 0;
        return count;
    }

private:
    struct Suspension
    {
        Suspension(ManualClock& owner, Wait newWait) : clock(owner), wait(std::move(newWait)) {}

        ManualClock& clock;
        Wait wait;

        [[nodiscard]] bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> flow)
        {
            wait.flow = flow;
            clock.waits.push_back(wait);
        }
        void await_resume() const noexcept {}
    };
};

} // namespace quillmarsh::test
