#pragma once

#include "base/Task.h"

#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <exception>
#include <optional>

namespace quillmarsh::test {

/// Runs a task on the event loop until it ends and hands back its value or throws its exception. A task that
/// has not ended after `limit`, of which a busy machine needs its part, fails the test.
template <typename T>
T runTask(Task<T> task, std::chrono::milliseconds limit = std::chrono::minutes(1))
{
    std::exception_ptr error;
    bool done = false;
    QEventLoop loop; // not QTest::qWaitFor, which sleeps 10 ms between two looks
    std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> value;
    auto observe = [&](Task<T> inner) -> Task<> {
        try {
            if constexpr (std::is_void_v<T>)
                co_await std::move(inner);
            else
                value.emplace(co_await std::move(inner));
        } catch (...) {
            error = std::current_exception();
        }
        done = true;
        loop.quit();
    };
    const Task<> observer = observe(std::move(task));
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    if (!done)
        loop.exec();
    if (!done)
        qFatal("A coroutine has not ended within its limit");
    if (error)
        std::rethrow_exception(error);
    if constexpr (!std::is_void_v<T>)
        return std::move(*value);
}

} // namespace quillmarsh::test
