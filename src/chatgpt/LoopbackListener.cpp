#include "chatgpt/LoopbackListener.h"

#include "chatgpt/CallbackConnection.h"

#include <QNetworkProxy>
#include <QTcpSocket>

namespace quillmarsh {

LoopbackListener::LoopbackListener(Alarms alarms, QObject* parent)
    : QObject(parent), alarms_(std::move(alarms))
{
    listener_.setProxy(QNetworkProxy::NoProxy);
    listener_.setMaxPendingConnections(acceptedAtOnce);
    // Queued: the listener takes connections in a loop of its own until so many are pending.
    connect(&listener_, &QTcpServer::newConnection, this, &LoopbackListener::acceptPending,
            Qt::QueuedConnection);
}

LoopbackListener::~LoopbackListener()
{
    for (CallbackConnection* connection : std::as_const(connections_))
        connection->disconnect(this);
}

bool LoopbackListener::listen()
{
    return listener_.listen(QHostAddress(QHostAddress::LocalHost), 0);
}

void LoopbackListener::acceptPending()
{
    while (QTcpSocket* const socket = listener_.nextPendingConnection())
        admit(socket);
}

void LoopbackListener::admit(QTcpSocket* socket)
{
    if (connections_.size() >= connectionLimit)
        connections_.first()->cancel();
    auto* const connection = new CallbackConnection(socket, requestLimit, this);
    connections_.append(connection);
    connect(connection, &CallbackConnection::requested, this,
            [this, connection](const QString& request) { emit requested(*connection, request); });
    connect(connection, &CallbackConnection::ended, this, [this, connection] {
        connections_.removeOne(connection);
        connection->deleteLater();
    });
    connection->start(alarms_, requestPatience);
}

} // namespace quillmarsh
