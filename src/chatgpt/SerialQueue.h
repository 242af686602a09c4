#pragma once

#include "base/Task.h"

#include <QFuture>
#include <QPromise>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

/// Lets flows take turns: `const auto turn = co_await queue.enter();` continues when every earlier turn is
/// over; the turn is over when its object is gone.
class SerialQueue final
{
public:
    class Turn final
    {
    public:
        explicit Turn(std::shared_ptr<QPromise<void>> promise) : promise_(std::move(promise)) {}
        ~Turn()
        {
            if (promise_)
                promise_->finish();
        }
        Turn(Turn&&) = default;
        Turn& operator=(Turn&&) = delete;

    private:
        std::shared_ptr<QPromise<void>> promise_;
    };

    Task<Turn> enter()
    {
        const Promise before = std::exchange(tail_, std::make_shared<QPromise<void>>());
        return wait(before, tail_);
    }

private:
    using Promise = std::shared_ptr<QPromise<void>>;

    static Task<Turn> wait(Promise before, Promise own)
    {
        own->start();
        if (before) {
            const QFuture<void> ended = before->future();
            before.reset();
            co_await ended;
        }
        co_return Turn(own);
    }

    Promise tail_;
};

} // namespace quillmarsh
