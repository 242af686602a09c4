#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QMap>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>
#include <vector>

namespace quillmarsh::test {

/// One request as it came over the wire. Header names are lower case.
struct RecordedRequest
{
    QByteArray method;
    QByteArray target;
    QMap<QByteArray, QByteArray> headers;
    QByteArray body;
};

/// An HTTP/1.1 server on 127.0.0.1 that records what it is asked and answers what the test says.
class HttpTestServer final : public QObject
{
    Q_OBJECT

public:
    /// Gets the socket so that a test can answer slowly, partly, wrongly or not at all.
    using Responder = std::function<void(const RecordedRequest&, QTcpSocket&)>;

    explicit HttpTestServer(QObject* parent = nullptr);
    /// Listens with `listener` (a QSslServer, say) and calls its origin `scheme`.
    HttpTestServer(std::unique_ptr<QTcpServer> listener, QString scheme, QObject* parent = nullptr);

    [[nodiscard]] QString origin() const;
    [[nodiscard]] const std::vector<RecordedRequest>& requests() const { return requests_; }
    [[nodiscard]] int connectionCount() const { return connections_; }
    [[nodiscard]] int closedConnectionCount() const { return closed_; }
    void setResponder(Responder responder) { responder_ = std::move(responder); }
    /// Answers every request with this status, body and further header lines.
    void answer(int status, const QByteArray& body, const QByteArray& headerLines = {});
    /// Accepts requests and never answers.
    void stayMute();

    static void respond(QTcpSocket& socket, int status, const QByteArray& body,
                        const QByteArray& headerLines = {});

private:
    void accept();
    void read(QTcpSocket* socket, QByteArray& buffer);

    std::unique_ptr<QTcpServer> server_;
    QString scheme_;
    Responder responder_;
    std::vector<RecordedRequest> requests_;
    int connections_ = 0;
    int closed_ = 0;
};

} // namespace quillmarsh::test
