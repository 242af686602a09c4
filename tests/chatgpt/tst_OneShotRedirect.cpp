#include "chatgpt/OneShotRedirect.h"
#include "platform/LoopbackPeer.h"
#include "platform/linux/SocketTable.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/ManualAlarms.h"

#include <QFile>
#include <QTcpSocket>

#include <unistd.h>

using namespace quillmarsh;

namespace {

const QUrl target(QStringLiteral("https://auth.example.com/authorize?state=S&id_token_hint=a.b.c&x=%2B%20"));

/// What `address` answers to a request line with `path` in it.
QByteArray ask(const QUrl& address, const QString& path, const QByteArray& method = "GET")
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(address.port()));
    socket.write(method + ' ' + path.toUtf8() + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    if (!QTest::qWaitFor([&] { return socket.state() == QTcpSocket::UnconnectedState; }))
        return "(not closed)";
    return socket.readAll();
}

} // namespace

class tst_OneShotRedirect final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theFirstWhoAsksIsSentOnAndNobodyElse()
    {
        OneShotRedirect redirect(target, {});
        const QUrl address = redirect.start().value();
        QCOMPARE(address.host(), QStringLiteral("127.0.0.1"));
        QCOMPARE(ask(address, address.path()),
                 QByteArray("HTTP/1.1 302 Found\r\nLocation: ") + target.toEncoded() +
                     "\r\nCache-Control: no-store\r\nReferrer-Policy: no-referrer\r\nContent-Length: 0\r\n"
                     "Connection: close\r\n\r\n");
        QCOMPARE(ask(address, address.path()), QByteArray()); // nobody listens any more
    }

    void twoAtTheSameTime()
    {
        test::ManualAlarms clock;
        OneShotRedirect redirect(target, {}, clock.alarms());
        const QUrl address = redirect.start().value();
        QTcpSocket second;
        second.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(address.port()));
        QTRY_COMPARE(second.state(), QTcpSocket::ConnectedState);
        QTRY_COMPARE(clock.pending(), 1); // accepted before the listener closes
        QVERIFY(ask(address, address.path()).startsWith("HTTP/1.1 302 "));
        second.write("GET " + address.path().toUtf8() + " HTTP/1.1\r\n\r\n");
        QTRY_COMPARE(second.state(), QTcpSocket::UnconnectedState);
        QVERIFY(second.readAll().startsWith("HTTP/1.1 400 "));
    }

    void theAddressSaysNothing()
    {
        OneShotRedirect one(target, {});
        OneShotRedirect other(target, {});
        const QUrl address = one.start().value();
        QCOMPARE(address.path().size(), 44); // 256 bits
        QVERIFY(address.path() != other.start().value().path());
        QVERIFY(!address.hasQuery() && !address.toString().contains(QLatin1String("example")));
    }

    void anythingElseIsRefusedAndUsesNothingUp()
    {
        OneShotRedirect redirect(target, {});
        const QUrl address = redirect.start().value();
        for (const QString& path : {QStringLiteral("/"), address.path().chopped(1), address.path() + u'x',
                                    address.path() + u'?', address.path().toLower()})
            QVERIFY2(ask(address, path).startsWith("HTTP/1.1 400 "), qPrintable(path));
        QVERIFY(ask(address, address.path(), "HEAD").startsWith("HTTP/1.1 400 "));
        QVERIFY(ask(address, address.path(), "POST").startsWith("HTTP/1.1 400 "));
        QVERIFY(ask(address, address.path()).startsWith("HTTP/1.1 302 "));
    }

    void anotherUsersProgramIsRefusedAndUsesNothingUp()
    {
        bool isForeign = true;
        QList<quint16> ports;
        OneShotRedirect redirect(target, [&](quint16 port, quint16 peerPort) {
            ports = {port, peerPort};
            return isForeign;
        });
        const QUrl address = redirect.start().value();
        const QByteArray answer = ask(address, address.path());
        QVERIFY(answer.startsWith("HTTP/1.1 400 ") && !answer.contains("a.b.c"));
        QCOMPARE(ports.first(), address.port());
        QVERIFY(ports.last() != 0 && ports.last() != ports.first());
        isForeign = false;
        QVERIFY(ask(address, address.path()).startsWith("HTTP/1.1 302 "));
    }

    void itIsGoneWithItsOwner()
    {
        auto redirect = std::make_unique<OneShotRedirect>(target, OneShotRedirect::PeerCheck());
        const QUrl address = redirect->start().value();
        redirect.reset();
        QCOMPARE(ask(address, address.path()), QByteArray());
    }

    void theKernelNamesTheOwner()
    {
        const QByteArray table =
            "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout\n"
            "   0: 0100007F:1F90 0100007F:C001 01 00000000:00000000 00:00000000 00000000  1000        0 1\n"
            "   1: 0100007F:C001 0100007F:1F90 01 00000000:00000000 00:00000000 00000000  1001        0 1\n"
            "   2: 0000000000000000FFFF00000100007F:C002 0000000000000000FFFF00000100007F:1F90 01 "
            "00000000:00000000 00:00000000 00000000  1002        0 1\n";
        QCOMPARE(peerOwner(table, 0x1f90, 0xc001), 1001U);
        QCOMPARE(peerOwner(table, 0xc001, 0x1f90), 1000U);
        QCOMPARE(peerOwner(table, 0x1f90, 0xc002), 1002U);
        QCOMPARE(peerOwner(table, 0x1f90, 0xc003), std::nullopt);
        QCOMPARE(peerOwner({}, 0x1f90, 0xc001), std::nullopt);
    }

    void aConnectionOfOurOwnIsFound()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort());
        QTRY_COMPARE(socket.state(), QTcpSocket::ConnectedState);
        QFile table(QStringLiteral("/proc/self/net/tcp"));
        QVERIFY(table.open(QIODevice::ReadOnly));
        QCOMPARE(peerOwner(table.readAll(), server.serverPort(), socket.localPort()), ::getuid());
        QVERIFY(!isOfAnotherUser(server.serverPort(), socket.localPort()));
    }
};

QTEST_GUILESS_MAIN(tst_OneShotRedirect)
#include "tst_OneShotRedirect.moc"
