#include "chatgpt/OAuthCallbackServer.h"

#include "chatgpt/CallbackConnection.h"
#include "chatgpt/CallbackPage.h"
#include "chatgpt/CodexOAuthError.h"

#include <QNetworkProxy>
#include <QTcpSocket>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

OAuthCallbackServer::OAuthCallbackServer(QString state, QString issuer)
    : OAuthCallbackServer(std::move(state), std::move(issuer), Limits{})
{}

OAuthCallbackServer::OAuthCallbackServer(QString state, QString issuer, Limits limits)
    : state_(std::move(state)), issuer_(std::move(issuer)), limits_(limits), future_(outcome_.future())
{
    outcome_.start();
    listener_.setProxy(QNetworkProxy::NoProxy);
    listener_.setMaxPendingConnections(acceptedAtOnce);
    // Queued: the listener takes connections in a loop of its own until so many are pending.
    connect(&listener_, &QTcpServer::newConnection, this, &OAuthCallbackServer::acceptPending,
            Qt::QueuedConnection);
    timeout_.setSingleShot(true);
    timeout_.setTimerType(Qt::PreciseTimer);
    connect(&timeout_, &QTimer::timeout, this, [this] {
        finish(
            std::make_exception_ptr(CodexOAuthError(QStringLiteral("Sign-in timed out. Please try again."))));
    });
}

OAuthCallbackServer::~OAuthCallbackServer()
{
    finish(std::make_exception_ptr(Cancelled()));
    for (CallbackConnection* connection : std::as_const(connections_))
        connection->disconnect(this);
}

Task<quint16> OAuthCallbackServer::start()
{
    if (!listener_.listen(QHostAddress(QHostAddress::LocalHost), 0)) {
        const LocalizedError error(
            QStringLiteral("Couldn’t listen for your browser: %1").arg(listener_.errorString()));
        finish(std::make_exception_ptr(error));
        throw error;
    }
    timeout_.start(limits_.attempt);
    co_return listener_.serverPort();
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
    timeout_.stop();
    listener_.close();
}

void OAuthCallbackServer::acceptPending()
{
    while (QTcpSocket* const socket = listener_.nextPendingConnection())
        admit(socket);
}

void OAuthCallbackServer::admit(QTcpSocket* socket)
{
    if (connections_.size() >= limits_.connections)
        connections_.first()->cancel();
    auto* const connection = new CallbackConnection(socket, limits_.requestBytes, limits_.connection, this);
    connections_.append(connection);
    connect(connection, &CallbackConnection::requested, this,
            [this, connection](const QString& request) { answer(*connection, request); });
    connect(connection, &CallbackConnection::ended, this, [this, connection] {
        connections_.removeOne(connection);
        connection->deleteLater();
    });
    connection->start();
}

/// The outcome is recorded only after the response, because it closes the listener.
void OAuthCallbackServer::answer(CallbackConnection& connection, const QString& request)
{
    const auto target = CallbackPage::requestTarget(request);
    const auto callback = target ? parse(*target, state_, issuer_) : std::nullopt;
    const bool succeeds = callback && !finished_;
    connection.respond(
        CallbackPage::response(succeeds ? CallbackPage::Verdict::accepted : CallbackPage::Verdict::refused));
    if (succeeds)
        finish(*callback);
}

} // namespace quillmarsh
