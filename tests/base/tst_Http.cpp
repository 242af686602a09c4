#include "base/Http.h"
#include "support/CoroutineTest.h"
#include "support/FloodServer.h"
#include "support/HttpTestServer.h"

#include <QNetworkAccessManager>
#include <QTest>

#include <sys/wait.h>
#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;
using namespace std::chrono_literals;

class tst_Http final : public QObject
{
    Q_OBJECT

private slots:
    void aFixedAddressIsAUrl()
    {
        QCOMPARE(fixedUrl(QStringLiteral("http://127.0.0.1:8787/api/rewrite")).path(),
                 QStringLiteral("/api/rewrite"));
    }

    void whatIsNoUrlEndsTheProgram_data()
    {
        QTest::addColumn<QString>("address");
        for (const char* address : {"", "/v1/messages", "https:///v1", "https://[host", "words"})
            QTest::newRow(address) << QString::fromLatin1(address);
    }
    void whatIsNoUrlEndsTheProgram()
    {
        QFETCH(QString, address);
        const pid_t child = ::fork();
        if (child == 0) {
            qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
                ::_exit(type == QtFatalMsg ? 42 : 1);
            });
            std::ignore = fixedUrl(address);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 42);
    }

    void anAnswerWithoutEndIsNotCollected_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("GET") << QByteArray("GET") << QByteArray();
        QTest::newRow("POST") << QByteArray("POST") << QByteArray("x");
    }
    void anAnswerWithoutEndIsNotCollected()
    {
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, body);
        qint64 sent = 0;
        HttpTestServer server;
        server.setResponder([&sent](const RecordedRequest&, QTcpSocket& socket) {
            const QByteArray piece(64 * 1024, 'x');
            const auto more = [&sent, &socket, piece] {
                sent += socket.bytesToWrite() == 0 ? socket.write(piece) : 0;
            };
            QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, more);
            socket.write("HTTP/1.1 200 OK\r\n\r\n");
        });
        QNetworkAccessManager session;
        const QNetworkRequest request = makeRequest(QUrl(server.origin()), 500ms);
        QVERIFY_EXCEPTION_THROWN(std::ignore = runTask(send(&session, method, request, body, {})),
                                 TransportError);
        QVERIFY(sent > 1024 * 1024);
        QVERIFY2(sent < 64 * 1024 * 1024, QByteArray::number(sent));
    }

    /// Nothing of it can be seen before its end: only the time-out ends it.
    void aHeadWithoutEndRunsIntoTheTimeOut_data()
    {
        QTest::addColumn<QByteArray>("piece");
        QTest::newRow("fields") << QByteArray("a: b\r\n").repeated(10'000);
        QTest::newRow("one field") << QByteArray(65'536, 'x');
    }
    void aHeadWithoutEndRunsIntoTheTimeOut()
    {
        QFETCH(QByteArray, piece);
        QNetworkAccessManager session;
        const FloodServer server("HTTP/1.1 200 OK\r\na: ", piece);
        const QNetworkRequest request = makeRequest(QUrl(server.origin()), 500ms);
        QElapsedTimer timer;
        timer.start();
        QVERIFY_EXCEPTION_THROWN(std::ignore = runTask(send(&session, "POST", request, "x", {})),
                                 TransportError);
        QVERIFY2(timer.elapsed() < 5000, QByteArray::number(timer.elapsed()));
    }

    void aLargeAnswerIsCollected()
    {
        HttpTestServer server;
        server.answer(200, QByteArray(4 * 1024 * 1024, 'x'));
        QNetworkAccessManager session;
        const QNetworkRequest request = makeRequest(QUrl(server.origin()), 5s);
        const HttpResponse response = runTask(send(&session, "GET", request, {}, {}));
        QCOMPARE(response.statusCode, 200);
        QCOMPARE(response.body.size(), 4 * 1024 * 1024);
    }
};

QTEST_GUILESS_MAIN(tst_Http)
#include "tst_Http.moc"
