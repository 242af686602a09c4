#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <thread>

namespace quillmarsh::test {

/// An HTTP server on 127.0.0.1 that answers every request with `head`, followed by `piece` again and again
/// for as long as the client reads. It sends from a thread of its own, as fast as a connection takes bytes,
/// and serves one connection after the other.
class FloodServer final
{
public:
    FloodServer(QByteArray head, QByteArray piece);
    ~FloodServer();
    FloodServer(const FloodServer&) = delete;
    FloodServer& operator=(const FloodServer&) = delete;

    [[nodiscard]] QString origin() const;
    /// In bytes, without the heads.
    [[nodiscard]] qint64 sent() const { return sent_; }
    /// Those that the client has ended.
    [[nodiscard]] int closedConnections() const { return closed_; }

private:
    void serve();
    void answer(int client);

    const QByteArray head_;
    const QByteArray piece_;
    int listener_ = -1;
    std::atomic<qint64> sent_ = 0;
    std::atomic<int> closed_ = 0;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

} // namespace quillmarsh::test
