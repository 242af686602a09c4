#include "chatgpt/OAuthCallbackServer.h"

#include "chatgpt/CallbackConnection.h"
#include "chatgpt/CallbackPage.h"
#include "chatgpt/CodexOAuthError.h"

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

OAuthCallbackServer::OAuthCallbackServer(QString state, QString issuer, Alarms alarms)
    : state_(std::move(state)), issuer_(std::move(issuer)), alarms_(std::move(alarms)), listener_(alarms_),
      future_(outcome_.future())
{
    outcome_.start();
    connect(&listener_, &LoopbackListener::requested, this, &OAuthCallbackServer::answer);
}

OAuthCallbackServer::~OAuthCallbackServer()
{
    finish(std::make_exception_ptr(Cancelled()));
}

Task<quint16> OAuthCallbackServer::start()
{
    if (!listener_.listen()) {
        const LocalizedError error(
            QStringLiteral("Couldn’t listen for your browser: %1").arg(listener_.error()));
        finish(std::make_exception_ptr(error));
        throw error;
    }
    timeout_ = alarms_(patience, [this] {
        finish(
            std::make_exception_ptr(CodexOAuthError(QStringLiteral("Sign-in timed out. Please try again."))));
    });
    co_return listener_.port();
}

Task<OAuthCallbackServer::Callback> OAuthCallbackServer::waitForCallback()
{
    QFuture<Callback> future = future_; // the server may be gone when the outcome is read
    co_return co_await future;
}

void OAuthCallbackServer::finish(const Callback& callback)
{
    record([&] { outcome_.addResult(callback); });
}

void OAuthCallbackServer::finish(std::exception_ptr failure)
{
    record([&] { outcome_.setException(failure); });
}

void OAuthCallbackServer::record(const std::function<void()>& setOutcome)
{
    if (finished_)
        return;
    finished_ = true;
    setOutcome();
    outcome_.finish();
    timeout_.reset();
    listener_.close();
}

OAuthCallbackServer::Reply OAuthCallbackServer::replyTo(const QString& request) const
{
    const auto target = CallbackPage::requestTarget(request);
    const auto callback = target && !finished_ ? parse(*target, state_, issuer_) : std::nullopt;
    return {
        CallbackPage::response(callback ? CallbackPage::Verdict::accepted : CallbackPage::Verdict::refused),
        callback};
}

/// The outcome is recorded only after the response, because it closes the listener.
void OAuthCallbackServer::answer(CallbackConnection& connection, const QString& request)
{
    const Reply reply = replyTo(request);
    connection.respond(reply.response);
    if (reply.callback)
        finish(*reply.callback);
}

} // namespace quillmarsh
