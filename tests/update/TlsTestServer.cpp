#include "update/TlsTestServer.h"

#include "update/BundleFixture.h"

#include <QSslConfiguration>
#include <QSslKey>

namespace quillmarsh::test {

namespace {

QByteArray wholeAnswer(int status, const QByteArray& body, const QByteArray& headerLines)
{
    return "HTTP/1.1 " + QByteArray::number(status) +
           " Answer\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n" +
           headerLines + "\r\n" + body;
}

} // namespace

TlsTestServer::TlsTestServer()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(
        QSslCertificate(TestCertificates::certificate(QStringLiteral("server"))));
    configuration.setPrivateKey(QSslKey(TestCertificates::key(QStringLiteral("server")), QSsl::Ec));
    server_.setSslConfiguration(configuration);
    connect(&server_, &QSslServer::pendingConnectionAvailable, this, [this] {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this,
                    [this, socket] { read(static_cast<QSslSocket*>(socket)); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    if (!server_.listen(QHostAddress::LocalHost))
        qFatal("The test server cannot listen");
}

QString TlsTestServer::host() const
{
    return QStringLiteral("127.0.0.1:%1").arg(server_.serverPort());
}

void TlsTestServer::read(QSslSocket* socket)
{
    if (!socket->peek(1 << 16).contains("\r\n\r\n"))
        return;
    const QByteArray request = socket->readAll();
    requests_.append(request);
    const QByteArray path = request.split(' ').value(1);
    const Responder responder = responders_.value(path, answer(404, "nothing here"));
    responder(*socket);
}

TlsTestServer::Responder TlsTestServer::answer(int status, const QByteArray& body,
                                               const QByteArray& headerLines)
{
    return [=](QSslSocket& socket) {
        socket.write(wholeAnswer(status, body, headerLines));
        socket.disconnectFromHost();
    };
}

TlsTestServer::Responder TlsTestServer::cutAfter(qsizetype bytes, const QByteArray& body)
{
    return [=](QSslSocket& socket) {
        socket.write(wholeAnswer(200, body, {}).left(bytes));
        socket.disconnectFromHost();
    };
}

void TlsTestServer::trustTestAuthority(const QByteArray& anchor)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates({QSslCertificate(anchor)});
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace quillmarsh::test
