#pragma once

#include "base/LocalizedError.h"
#include "base/Task.h"

#include <QFuture>
#include <QFutureWatcher>
#include <QPromise>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

/// One piece of work that several flows wait for. Each of them may stop waiting; the work goes on until its
/// own stop is requested.
template <typename T>
struct SharedResult
{
    QPromise<T> promise;
    std::stop_source stop;

    SharedResult() { promise.start(); }
    ~SharedResult()
    {
        if (!promise.future().isFinished())
            fail(std::make_exception_ptr(Cancelled()));
    }
    SharedResult(const SharedResult&) = delete;
    SharedResult& operator=(const SharedResult&) = delete;

    void succeed(const T& value)
    {
        promise.addResult(value);
        promise.finish();
    }
    void fail(std::exception_ptr error)
    {
        promise.setException(error);
        promise.finish();
    }
};

/// The value or exception of `future`; Cancelled when `stop` is requested first. Resumes from the event loop.
template <typename T>
Task<T> resultOf(QFuture<T> future, std::stop_token stop)
{
    const auto waker = std::make_shared<QPromise<void>>();
    waker->start();
    QFutureWatcher<T> watcher;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, [waker] { waker->finish(); });
    watcher.setFuture(future);
    const std::stop_callback onStop(stop, [waker] { waker->finish(); });
    co_await waker->future();
    throwIfStopped(stop);
    co_return future.result();
}

} // namespace quillmarsh
