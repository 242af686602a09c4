#pragma once

#include <QMap>
#include <QSslServer>
#include <QSslSocket>

#include <functional>

namespace quillmarsh::test {

/// An HTTP/1.1 server over TLS on 127.0.0.1, its certificate issued by the test authority. Each path has a
/// responder; a path without one is answered with 404.
class TlsTestServer final : public QObject
{
    Q_OBJECT

public:
    using Responder = std::function<void(QSslSocket& socket)>;

    TlsTestServer();

    /// "127.0.0.1:PORT"
    [[nodiscard]] QString host() const;
    [[nodiscard]] const QList<QByteArray>& requests() const { return requests_; }
    void on(const QByteArray& path, Responder responder) { responders_[path] = std::move(responder); }
    /// Refuses connections from now on.
    void stop() { server_.close(); }

    /// An ordinary answer; the connection is closed after it.
    [[nodiscard]] static Responder answer(int status, const QByteArray& body,
                                          const QByteArray& headerLines = {});
    /// Promises the whole body and closes after `bytes` of the answer, headers included.
    [[nodiscard]] static Responder cutAfter(qsizetype bytes, const QByteArray& body);

    /// Makes every session of this process trust the test authority.
    static void trustTestAuthority(const QByteArray& anchor);

private:
    void read(QSslSocket* socket);

    QSslServer server_;
    QMap<QByteArray, Responder> responders_;
    QList<QByteArray> requests_;
};

} // namespace quillmarsh::test
