#include "chatgpt/OAuthCallbackServer.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"

#include <QTcpSocket>

#include <atomic>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace quillmarsh;

namespace {

/// Connects from a thread of its own, again and again, and sends without end until it is dropped.
class Flood final
{
public:
    explicit Flood(quint16 port) : thread_([this, port](const std::stop_token& stop) { run(port, stop); }) {}

    [[nodiscard]] int connections() const { return connections_; }

private:
    void run(quint16 port, const std::stop_token& stop)
    {
        while (!stop.stop_requested())
            connectOnce(port, stop);
    }

    void connectOnce(quint16 port, const std::stop_token& stop)
    {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        constexpr timeval patience{0, 50'000};
        ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            ++connections_;
        const QByteArray piece(65'536, 'x');
        while (!stop.stop_requested() &&
               ::send(socket, piece.constData(), static_cast<size_t>(piece.size()), MSG_NOSIGNAL) > 0) {
        }
        ::close(socket);
    }

    std::atomic<int> connections_ = 0;
    std::jthread thread_; ///< last: it uses the others
};

} // namespace

class tst_LoopbackListener final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void floodsDoNotKeepTheRedirectOut()
    {
        OAuthCallbackServer server(QStringLiteral("s"), QStringLiteral("https://auth.example.com"));
        const quint16 port = test::runTask(server.start());
        const Flood one(port);
        const Flood two(port);
        QTRY_VERIFY(one.connections() > 20 && two.connections() > 20);
        QTcpSocket browser;
        browser.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        browser.write("GET /auth/callback?code=abc&state=s HTTP/1.1\r\n\r\n");
        const OAuthCallbackServer::Callback callback =
            test::runTask(server.waitForCallback(), std::chrono::seconds(5));
        QCOMPARE(callback.code, QStringLiteral("abc"));
    }
};

QTEST_GUILESS_MAIN(tst_LoopbackListener)
#include "tst_LoopbackListener.moc"
