#pragma once

#include "base/LocalizedError.h"
#include "base/Task.h"

#include <QFuture>
#include <QPromise>

#include <exception>
#include <memory>
#include <optional>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

/// How a task ended that somebody may have stopped waiting for.
template <typename T>
struct RaceResult
{
    QPromise<void> over;
    std::optional<T> value;
    std::exception_ptr error;
};

template <typename T>
Task<> finishRace(Task<T> task, std::shared_ptr<RaceResult<T>> result)
{
    try {
        T value = co_await std::move(task);
        result->value.emplace(std::move(value));
    } catch (...) {
        result->error = std::current_exception();
    }
    result->over.finish();
}

/// What `task` comes to, or Cancelled as soon as `stop` is requested, from the event loop. For what cannot be
/// stopped itself, such as a question to the user: it then goes on alone, and whatever it comes to is
/// dropped.
template <typename T>
Task<T> orStopped(Task<T> task, std::stop_token stop)
{
    const auto result = std::make_shared<RaceResult<T>>();
    result->over.start();
    detach(finishRace(std::move(task), result));
    const std::stop_callback onStop(stop, [result] { result->over.finish(); });
    const QFuture<void> over = result->over.future();
    if (!over.isFinished())
        co_await over;
    throwIfStopped(stop);
    if (result->error)
        std::rethrow_exception(result->error);
    co_return std::move(*result->value);
}

} // namespace quillmarsh
