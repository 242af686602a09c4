#include "chatgpt/CallbackConnection.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/OAuthCallbackServer.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/ManualAlarms.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>

#include <sys/socket.h>

using namespace quillmarsh;
using namespace std::chrono_literals;

namespace {

QString operator""_s(const char16_t* text, size_t size)
{
    return QString(reinterpret_cast<const QChar*>(text), static_cast<qsizetype>(size));
}

const QString state = QStringLiteral("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
const QString issuer = QStringLiteral("https://auth.example.com");
const QByteArray goodTarget = "/auth/callback?code=abc&state=3F2504E0-4F89-41D3-9A0C-0305E82C3301";
const QByteArray goodRequest = "GET " + goodTarget + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";

const QByteArray acceptedPage =
    "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\n"
    "Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\nContent-Length: 239\r\n"
    "Connection: close\r\n\r\n"
    "<!doctype html><meta charset=utf-8><title>Quillmarsh</title><body style='font:16px system-ui;"
    "background:#17151d;color:#fafafa;padding:80px'><h1>Quillmarsh</h1><p>"
    "Return to Quillmarsh to finish connecting. You can close this tab.</p></body>";

/// A client on a real socket.
struct Client
{
    std::unique_ptr<QTcpSocket> socket = std::make_unique<QTcpSocket>();
    QByteArray received;

    explicit Client(quint16 port)
    {
        QObject::connect(socket.get(), &QTcpSocket::readyRead, socket.get(),
                         [this] { received += socket->readAll(); });
        socket->connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    [[nodiscard]] bool isConnected() const { return socket->state() == QTcpSocket::ConnectedState; }
    [[nodiscard]] bool isClosed() const { return socket->state() == QTcpSocket::UnconnectedState; }
    void send(const QByteArray& bytes) const
    {
        socket->write(bytes);
        if (isConnected())
            socket->flush();
    }
};

/// Sends `request` and returns everything that comes back until the server closes.
QByteArray exchange(quint16 port, const QByteArray& request)
{
    Client client(port);
    client.send(request);
    if (!QTest::qWaitFor([&] { return client.isClosed(); }, 5000))
        return "(not closed)";
    return client.received;
}

bool isRefused(const QByteArray& response)
{
    return response.startsWith("HTTP/1.1 400 Bad Request\r\n") &&
           response.endsWith(
               "<p>This callback is invalid or expired. Return to Quillmarsh and try again.</p></body>");
}

/// The local addresses on which the kernel has a listener at `port`, as /proc writes them.
QList<QByteArray> listeningAddresses(quint16 port)
{
    QList<QByteArray> addresses;
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        QFile file{QString::fromLatin1(table)};
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray suffix = ':' + QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
        for (const QByteArray& line : file.readAll().split('\n')) {
            const QList<QByteArray> columns = line.simplified().split(' ');
            if (columns.size() > 3 && columns[1].endsWith(suffix) && columns[3] == "0A")
                addresses.append(columns[1].chopped(suffix.size()));
        }
    }
    return addresses;
}

} // namespace

class tst_OAuthCallbackServer final : public QObject
{
    Q_OBJECT

    std::unique_ptr<OAuthCallbackServer> server_;
    quint16 port_ = 0;

    test::ManualAlarms clock_;

    void startServer()
    {
        server_ = std::make_unique<OAuthCallbackServer>(state, issuer, clock_.alarms());
        port_ = test::runTask(server_->start());
        QVERIFY(port_ > 0);
    }

    OAuthCallbackServer::Callback outcome() { return test::runTask(server_->waitForCallback()); }

private slots:
    void init() { test::failOnWarnings(); }
    void cleanup()
    {
        server_.reset();
        clock_ = {};
    }

    void theLimitsAreThese()
    {
        QVERIFY(OAuthCallbackServer::patience == 300s);
        QVERIFY(LoopbackListener::requestPatience == 10s && LoopbackListener::requestLimit == 16384);
    }

    void parses_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("clientID");
        QTest::addColumn<QString>("error");
        const QString s = QStringLiteral("state=") + state;
        const auto row = [](const char* name, const QString& query, const char* code, const char* client,
                            const char* error) {
            QTest::newRow(name) << QStringLiteral("/auth/callback") + query << QString::fromUtf8(code)
                                << QString::fromUtf8(client) << QString::fromUtf8(error);
        };
        row("code", u"?code=abc&"_s + s, "abc", nullptr, nullptr);
        row("client", u"?code=abc&client_id=c1&"_s + s, "abc", "c1", nullptr);
        row("empty client", u"?code=abc&client_id=&"_s + s, "abc", "", nullptr);
        row("client without value", u"?code=abc&client_id&"_s + s, "abc", nullptr, nullptr);
        row("issuer", u"?code=abc&iss=https%3A%2F%2Fauth.example.com&"_s + s, "abc", nullptr, nullptr);
        row("issuer unencoded", u"?code=abc&iss=https://auth.example.com&"_s + s, "abc", nullptr, nullptr);
        row("issuer without value", u"?code=abc&iss&"_s + s, "abc", nullptr, nullptr);
        row("denied", u"?error=access_denied&"_s + s, nullptr, nullptr, "access_denied");
        row("error with code", u"?error=x&code=abc&client_id=c&"_s + s, nullptr, nullptr, "x");
        row("empty error", u"?error=&"_s + s, nullptr, nullptr, "");
        row("error without value", u"?error&code=abc&"_s + s, "abc", nullptr, nullptr);
        row("plus stays", u"?code=a+b%20c%2B&"_s + s, "a+b c+", nullptr, nullptr);
        row("utf-8", u"?code=%C3%A9&"_s + s, "é", nullptr, nullptr);
        row("encoded name", u"?c%6Fde=abc&"_s + s, "abc", nullptr, nullptr);
        row("equals in value", u"?code=a=b&"_s + s, "a=b", nullptr, nullptr);
        row("one empty item", u"?code=abc&&"_s + s, "abc", nullptr, nullptr);
        row("fragment", u"?code=abc&"_s + s + u"#code=x"_s, "abc", nullptr, nullptr);
        row("second question mark", u"?code=a?b&"_s + s, "a?b", nullptr, nullptr);
    }
    void parses()
    {
        QFETCH(QString, target);
        QFETCH(QString, code);
        QFETCH(QString, clientID);
        QFETCH(QString, error);
        const auto callback = OAuthCallbackServer::parse(target, state, issuer);
        QVERIFY(callback);
        QCOMPARE(callback->code.value_or(QString()), code);
        QCOMPARE(callback->code.has_value(), !code.isNull());
        QCOMPARE(callback->clientID.value_or(QString()), clientID);
        QCOMPARE(callback->clientID.has_value(), !clientID.isNull());
        QCOMPARE(callback->error.value_or(QString()), error);
        QCOMPARE(callback->error.has_value(), !error.isNull());
    }

    void refuses_data()
    {
        QTest::addColumn<QString>("target");
        const QString s = QStringLiteral("state=") + state;
        const QString path = QStringLiteral("/auth/callback");
        const auto row = [](const char* name, const QString& target) { QTest::newRow(name) << target; };
        row("empty", QString());
        row("root", QStringLiteral("/?code=abc&") + s);
        row("icon", QStringLiteral("/favicon.ico"));
        row("trailing slash", path + u"/?code=abc&"_s + s);
        row("double slash", u'/' + path + u"?code=abc&"_s + s);
        row("dot segments", u"/x/.."_s + path + u"?code=abc&"_s + s);
        row("other case", u"/Auth/Callback?code=abc&"_s + s);
        row("no slash", u"auth/callback?code=abc&"_s + s);
        row("user part", u"@evil.example"_s + path + u"?code=abc&"_s + s);
        row("absolute form", u"http://127.0.0.1"_s + path + u"?code=abc&"_s + s);
        row("no query", path);
        row("empty query", path + u'?');
        row("no state", path + u"?code=abc"_s);
        row("empty state", path + u"?code=abc&state="_s);
        row("state without value", path + u"?code=abc&state"_s);
        row("state in lower case", path + u"?code=abc&"_s + s.toLower());
        row("state with a blank", path + u"?code=abc&"_s + s + u"%20"_s);
        row("state shortened", path + u"?code=abc&"_s + s.chopped(1));
        row("two states", path + u"?code=abc&"_s + s + u'&' + s);
        row("two states, one encoded", path + u"?code=abc&"_s + s + u"&%73tate=x"_s);
        row("two codes", path + u"?code=abc&code=abc&"_s + s);
        row("two unknown", path + u"?code=abc&x=1&x=2&"_s + s);
        row("two empty items", path + u"?code=abc&&&"_s + s);
        row("no code", path + u'?' + s);
        row("empty code", path + u"?code=&"_s + s);
        row("code without value", path + u"?code&"_s + s);
        row("code in the fragment", path + u'?' + s + u"#&code=abc"_s);
        row("other issuer", path + u"?code=abc&iss=https%3A%2F%2Fevil.example&"_s + s);
        row("issuer with slash", path + u"?code=abc&iss=https%3A%2F%2Fauth.example.com%2F&"_s + s);
        row("issuer over http", path + u"?code=abc&iss=http%3A%2F%2Fauth.example.com&"_s + s);
        row("empty issuer", path + u"?code=abc&iss=&"_s + s);
        row("denied, other issuer", path + u"?error=access_denied&iss=x&"_s + s);
        row("broken escape", path + u"?code=%zz&"_s + s);
        row("cut escape", path + u"?code=a%2&"_s + s);
        row("not utf-8", path + u"?code=%ff%fe&"_s + s);
        row("semicolons", path + u"?code=abc;"_s + s);
    }
    void refuses()
    {
        QFETCH(QString, target);
        QVERIFY(!OAuthCallbackServer::parse(target, state, issuer));
    }

    void answersTheRedirectToTheByteAndOnlyOnce()
    {
        startServer();
        Client second(port_);
        QTRY_VERIFY(second.isConnected());
        QTRY_COMPARE(clock_.pending(), 2); // accepted before the listener closes
        const QByteArray response = exchange(port_, goodRequest);
        QCOMPARE(response, acceptedPage);
        const QByteArray body = response.mid(response.indexOf("\r\n\r\n") + 4);
        QVERIFY(response.contains("Content-Length: " + QByteArray::number(body.size()) + "\r\n"));
        const OAuthCallbackServer::Callback expected{QStringLiteral("abc"), std::nullopt, std::nullopt};
        QCOMPARE(outcome(), expected);
        second.send(goodRequest);
        QTRY_VERIFY(isRefused(second.received));
        QCOMPARE(outcome(), expected);
    }

    void anErrorIsAValidAnswer()
    {
        startServer();
        const QByteArray request =
            "GET /auth/callback?error=access_denied&state=" + state.toUtf8() + " HTTP/1.1\r\n\r\n";
        QCOMPARE(exchange(port_, request), acceptedPage);
        QCOMPARE(outcome().error, QStringLiteral("access_denied"));
    }

    void anythingElseIsRefusedAndTheAttemptGoesOn_data()
    {
        QTest::addColumn<QByteArray>("request");
        const auto row = [](const char* name, const QByteArray& request) { QTest::newRow(name) << request; };
        row("icon", "GET /favicon.ico HTTP/1.1\r\n\r\n");
        row("post", "POST " + goodTarget + " HTTP/1.1\r\n\r\n");
        row("post with body", "POST " + goodTarget + " HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc");
        row("head", "HEAD " + goodTarget + " HTTP/1.1\r\n\r\n");
        row("lower-case method", "get " + goodTarget + " HTTP/1.1\r\n\r\n");
        row("two pieces", "GET " + goodTarget + "\r\n\r\n");
        row("four pieces", "GET " + goodTarget + " HTTP/1.1 x\r\n\r\n");
        row("other issuer", "GET " + goodTarget + "&iss=https%3A%2F%2Fevil.example HTTP/1.1\r\n\r\n");
        row("nothing but an empty line", "\r\n\r\n");
        row("target in the second line", "X\r\nGET " + goodTarget + " HTTP/1.1\r\n\r\n");
    }
    void anythingElseIsRefusedAndTheAttemptGoesOn()
    {
        QFETCH(QByteArray, request);
        startServer();
        const QByteArray response = exchange(port_, request);
        QVERIFY2(isRefused(response), response.constData());
        const QByteArray body = response.mid(response.indexOf("\r\n\r\n") + 4);
        QVERIFY(response.contains("Content-Length: " + QByteArray::number(body.size()) + "\r\n"));
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
        QCOMPARE(outcome().code, QStringLiteral("abc"));
    }

    void extraBlanksBetweenThePiecesDoNotMatter()
    {
        startServer();
        QCOMPARE(exchange(port_, "GET  " + goodTarget + "   HTTP/1.1\r\n\r\n"), acceptedPage);
    }

    void aRequestMayComeByteByByte()
    {
        startServer();
        Client client(port_);
        QTRY_VERIFY(client.isConnected());
        for (const char byte : goodRequest) {
            client.send(QByteArray(1, byte));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(client.received, acceptedPage);
    }

    void aPeerThatHasFinishedSendingGetsItsAnswer()
    {
        startServer();
        Client client(port_);
        QTRY_VERIFY(client.isConnected());
        client.send(goodRequest);
        ::shutdown(static_cast<int>(client.socket->socketDescriptor()), SHUT_WR);
        QTRY_COMPARE(client.received, acceptedPage);
        QCOMPARE(outcome().code, QStringLiteral("abc"));
    }

    void aPeerThatStopsHalfwayIsDropped()
    {
        startServer();
        Client client(port_);
        QTRY_VERIFY(client.isConnected());
        client.send(goodRequest.left(30));
        ::shutdown(static_cast<int>(client.socket->socketDescriptor()), SHUT_WR);
        QTRY_VERIFY(client.isClosed());
        QCOMPARE(client.received, QByteArray());
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
    }

    void theSizeLimitIsExact()
    {
        startServer();
        const QByteArray start = "GET /x HTTP/1.1\r\nX: ";
        const QByteArray fitting = start + QByteArray(16384 - start.size() - 4, 'x') + "\r\n\r\n";
        QCOMPARE(fitting.size(), 16384);
        QVERIFY(isRefused(exchange(port_, fitting)));
        QCOMPARE(exchange(port_, start + QByteArray(16385 - start.size(), 'x')), QByteArray());
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
    }

    void bytesThatAreNotTextAreNeverARequest()
    {
        startServer();
        Client client(port_);
        client.send("\xff\xfe\x00 " + goodRequest);
        QTRY_COMPARE(clock_.pending(), 2);
        clock_.advance(10s);
        QTRY_VERIFY(client.isClosed());
        QCOMPARE(client.received, QByteArray());
        QCOMPARE(exchange(port_, QByteArray(100'000, '\x80')), QByteArray());
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
    }

    void anIdleConnectionIsDropped()
    {
        startServer();
        Client client(port_);
        client.send("GET /auth");
        QTRY_COMPARE(clock_.pending(), 2); // the attempt's and the connection's
        clock_.advance(9'999ms);
        QTest::qWait(20);
        QVERIFY(client.isConnected());
        clock_.advance(1ms);
        QTRY_VERIFY(client.isClosed());
        QCOMPARE(client.received, QByteArray());
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
    }

    void aByteNowAndThenDoesNotKeepAConnection()
    {
        startServer();
        Client client(port_);
        QTRY_COMPARE(clock_.pending(), 2);
        for (int second = 0; second < 10; ++second) {
            QVERIFY(client.isConnected());
            client.send("x");
            QTest::qWait(5);
            clock_.advance(1s);
        }
        QTRY_VERIFY(client.isClosed());
        QCOMPARE(client.received, QByteArray());
    }

    /// A thousand idle connections, more arriving all the time: the browser is answered all the same.
    void aCrowdDoesNotKeepTheRedirectOut()
    {
        startServer();
        std::vector<std::unique_ptr<Client>> crowd;
        for (int i = 0; i < 400; ++i)
            crowd.push_back(std::make_unique<Client>(port_));
        QTRY_VERIFY(crowd.back()->isConnected());
        QTimer more;
        connect(&more, &QTimer::timeout, this, [&] {
            for (int i = 0; i < 8 && crowd.size() < 900; ++i)
                crowd.push_back(std::make_unique<Client>(port_));
        });
        more.start(1);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(outcome().code, QStringLiteral("abc"));
    }

    void garbageDoesNotKeepTheRedirectOut()
    {
        startServer();
        std::vector<std::unique_ptr<Client>> crowd;
        for (int i = 0; i < 60; ++i) {
            crowd.push_back(std::make_unique<Client>(port_));
            QByteArray noise(5000, '\0');
            for (char& byte : noise)
                byte = static_cast<char>(i * 7 + (&byte - noise.data()) * 13);
            crowd.back()->send(noise);
            if (i % 3 == 0)
                crowd.back()->socket->abort();
        }
        QCOMPARE(exchange(port_, goodRequest), acceptedPage);
    }

    void itListensOnTheLoopbackAddressAloneAndNotAfterTheEnd()
    {
        startServer();
        QCOMPARE(listeningAddresses(port_), QList<QByteArray>{"0100007F"});
        exchange(port_, goodRequest);
        QCOMPARE(listeningAddresses(port_), QList<QByteArray>());
    }

    void theAttemptTimesOut()
    {
        startServer();
        clock_.advance(299'999ms);
        QCOMPARE(listeningAddresses(port_).size(), 1);
        Task<OAuthCallbackServer::Callback> waiting = server_->waitForCallback();
        clock_.advance(1ms);
        QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(waiting)), CodexOAuthError);
        QCOMPARE(clock_.pending(), 0);
        try {
            outcome(); // and again: the outcome stays
        } catch (const CodexOAuthError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("Sign-in timed out. Please try again."));
        }
        QCOMPARE(listeningAddresses(port_), QList<QByteArray>());
    }

    void theFirstOutcomeCounts()
    {
        startServer();
        Task<OAuthCallbackServer::Callback> waiting = server_->waitForCallback();
        server_->finish(std::make_exception_ptr(Cancelled()));
        server_->finish(OAuthCallbackServer::Callback{QStringLiteral("late"), {}, {}});
        QVERIFY(!waiting.isReady()); // nobody is resumed from inside finish()
        QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(waiting)), Cancelled);
        QCOMPARE(listeningAddresses(port_), QList<QByteArray>());
    }

    void theEndOfTheServerEndsTheWait()
    {
        startServer();
        Task<OAuthCallbackServer::Callback> waiting = server_->waitForCallback();
        Client client(port_);
        QTRY_VERIFY(client.isConnected());
        server_.reset();
        QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(waiting)), Cancelled);
        QTRY_VERIFY(client.isClosed());
    }
};

QTEST_GUILESS_MAIN(tst_OAuthCallbackServer)
#include "tst_OAuthCallbackServer.moc"
