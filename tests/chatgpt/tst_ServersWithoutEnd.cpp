#include "chatgpt/CodexResponsesService.h"
#include "support/ConnectionFixture.h"
#include "support/FloodServer.h"
#include "support/ImpatientSession.h"

using namespace quillmarsh;
using test::ModelStream;

/// Answers that never end, from a server that is faster than the reader.
class tst_ServersWithoutEnd final : public QObject, private test::ConnectionTest
{
    Q_OBJECT

    [[nodiscard]] QString failure(const test::FloodServer& server, QNetworkAccessManager& session) const
    {
        CodexResponsesService service(*f_->service, session, server.origin());
        return test::failureOf(service.rewriteText(QStringLiteral("x"), {}, {}, {}));
    }

private slots:
    void init()
    {
        setUp();
        f_->connectAccount();
        test::runTask(f_->service->loadModels());
    }
    void cleanup() { tearDown(); }

    void answersAreNotCollected_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("piece");
        QTest::addColumn<QString>("message");
        const QByteArray ok("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
        const QByteArray delta = ModelStream::eventBytes(ModelStream::delta(QString(10'000, u'x')));
        const QString invalid = QStringLiteral("Invalid response from AI service");
        QTest::newRow("comments") << ok << (':' + QByteArray(1022, 'x') + '\n').repeated(64) << invalid;
        QTest::newRow("deltas") << ok << delta.repeated(6) << invalid;
        QTest::newRow("one line") << ok << QByteArray(65'536, 'x') << invalid;
        QTest::newRow("behind a refusal")
            << QByteArray("HTTP/1.1 500 Error\r\n\r\n") << QByteArray(65'536, 'x')
            << QStringLiteral("ChatGPT request failed (HTTP 500). Check your connection in Settings.");
    }
    void answersAreNotCollected()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, piece);
        QFETCH(QString, message);
        const test::FloodServer server(head, piece);
        QCOMPARE(failure(server, f_->session), message);
        QTRY_COMPARE(server.closedConnections(), 1);
        QVERIFY2(server.sent() < 96 * 1024 * 1024, QByteArray::number(server.sent()));
    }

    /// Qt tells of a 401 only when it is whole.
    void aRefusedTokenRunsIntoTheTimeOut()
    {
        const test::FloodServer server("HTTP/1.1 401 No\r\n\r\n", QByteArray(65'536, 'x'));
        test::ImpatientSession session;
        session.haste = 600;
        QCOMPARE(failure(server, session), QStringLiteral("The request timed out."));
        QTRY_COMPARE(server.closedConnections(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_ServersWithoutEnd)
#include "tst_ServersWithoutEnd.moc"
