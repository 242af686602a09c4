#include "support/HttpTestServer.h"

#include <QHostAddress>

namespace quillmarsh::test {

namespace {

/// Takes one whole request off the front of `buffer`, if it holds one.
std::optional<RecordedRequest> takeRequest(QByteArray& buffer)
{
    const qsizetype headEnd = buffer.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return std::nullopt;
    RecordedRequest request;
    const QList<QByteArray> lines = buffer.left(headEnd).replace("\r\n", "\n").split('\n');
    const QList<QByteArray> first = lines.value(0).split(' ');
    request.method = first.value(0);
    request.target = first.value(1);
    for (const QByteArray& line : lines.mid(1))
        request.headers.insert(line.left(line.indexOf(':')).toLower(),
                               line.mid(line.indexOf(':') + 1).trimmed());
    const qsizetype length = request.headers.value("content-length").toLongLong();
    if (buffer.size() < headEnd + 4 + length)
        return std::nullopt;
    request.body = buffer.mid(headEnd + 4, length);
    buffer.remove(0, headEnd + 4 + length);
    return request;
}

} // namespace

HttpTestServer::HttpTestServer(QObject* parent)
    : HttpTestServer(std::make_unique<QTcpServer>(), QStringLiteral("http"), parent)
{}

HttpTestServer::HttpTestServer(std::unique_ptr<QTcpServer> listener, QString scheme, QObject* parent)
    : QObject(parent), server_(std::move(listener)), scheme_(std::move(scheme))
{
    connect(server_.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpTestServer::accept);
    if (!server_->listen(QHostAddress::LocalHost))
        qFatal("The loopback test server cannot listen");
    answer(200, "{}");
}

QString HttpTestServer::origin() const
{
    return QStringLiteral("%1://127.0.0.1:%2").arg(scheme_).arg(server_->serverPort());
}

void HttpTestServer::answer(int status, const QByteArray& body, const QByteArray& headerLines)
{
    responder_ = [=](const RecordedRequest&, QTcpSocket& socket) {
        respond(socket, status, body, headerLines);
    };
}

void HttpTestServer::stayMute()
{
    responder_ = [](const RecordedRequest&, QTcpSocket&) {};
}

void HttpTestServer::respond(QTcpSocket& socket, int status, const QByteArray& body,
                             const QByteArray& headerLines)
{
    socket.write("HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Type: application/json\r\n" +
                 headerLines + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    socket.flush();
}

void HttpTestServer::accept()
{
    while (QTcpSocket* socket = server_->nextPendingConnection()) {
        ++connections_;
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1); // as real servers do
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] { read(socket, *buffer); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            ++closed_;
            socket->deleteLater();
        });
    }
}

void HttpTestServer::read(QTcpSocket* socket, QByteArray& buffer)
{
    buffer += socket->readAll();
    while (const auto request = takeRequest(buffer)) {
        requests_.push_back(*request);
        responder_(*request, *socket);
    }
}

} // namespace quillmarsh::test
