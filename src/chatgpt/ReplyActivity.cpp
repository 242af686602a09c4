#include "chatgpt/ReplyActivity.h"

#include <QNetworkReply>

#include <coroutine>
#include <memory>

namespace quillmarsh {

namespace {

/// Owned by the flow under a name, not by the awaiting expression: g++ 12 destroys twice what a temporary of
/// that holds.
class Activity final
{
public:
    explicit Activity(QNetworkReply* reply) : reply_(reply) {}

    [[nodiscard]] bool isThere() const { return reply_->isFinished() || reply_->bytesAvailable() > 0; }

    void resumeWhenThere(std::coroutine_handle<> flow)
    {
        context_ = std::make_unique<QObject>();
        const auto onSignal = [this, flow] { resume(flow); };
        QObject::connect(reply_, &QNetworkReply::metaDataChanged, context_.get(), onSignal);
        QObject::connect(reply_, &QNetworkReply::readyRead, context_.get(), onSignal);
        QObject::connect(reply_, &QNetworkReply::finished, context_.get(), onSignal);
    }

private:
    /// Resuming ends this object's life; the first signal is the only one.
    void resume(std::coroutine_handle<> flow)
    {
        QObject::disconnect(reply_, nullptr, context_.get(), nullptr);
        context_.release()->deleteLater();
        flow.resume();
    }

    QNetworkReply* reply_;
    std::unique_ptr<QObject> context_;
};

struct ActivityAwaiter
{
    Activity* activity;

    [[nodiscard]] bool await_ready() const { return activity->isThere(); }
    void await_suspend(std::coroutine_handle<> flow) const { activity->resumeWhenThere(flow); }
    void await_resume() const noexcept {}
};

} // namespace

Task<> replyActivity(QNetworkReply* reply)
{
    Activity activity(reply);
    co_await ActivityAwaiter{&activity};
}

} // namespace quillmarsh
