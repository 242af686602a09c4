#pragma once

#include "support/HttpTestServer.h"

#include <QJsonObject>
#include <QStringList>

namespace quillmarsh::test {

/// One streamed answer under way, in the hands of the test.
class ModelStream final
{
public:
    explicit ModelStream(QTcpSocket& socket) : socket_(&socket) {}

    /// One HTTP chunk with exactly these bytes.
    void send(const QByteArray& bytes);
    /// "event:" and "data:" lines of one event.
    void sendEvent(const QJsonObject& event);
    void sendDelta(const QString& text);
    void sendCompleted(const QString& text);
    /// The proper end of the stream.
    void end();
    /// The connection breaks.
    void cut();
    [[nodiscard]] bool isOpen() const { return socket_ && socket_->state() == QTcpSocket::ConnectedState; }

    [[nodiscard]] static QByteArray eventBytes(const QJsonObject& event);
    [[nodiscard]] static QJsonObject delta(const QString& text);
    [[nodiscard]] static QJsonObject completed(const QString& text);

private:
    QPointer<QTcpSocket> socket_;
};

/// The model provider on 127.0.0.1: the list of models and streamed answers. Strict: whatever a real server
/// would refuse is refused here and noted in `violations`, which a test has to find empty.
class FakeModelServer final : public QObject
{
public:
    FakeModelServer();

    [[nodiscard]] QString apiBase() const { return server_.origin() + QStringLiteral("/v1"); }
    [[nodiscard]] HttpTestServer& http() { return server_; }

    /// Whether this bearer token is good. All are by default.
    std::function<bool(const QString&)> accepts = [](const QString&) { return true; };
    QByteArray catalog = R"({"models":[{"slug":"m-1","display_name":"Model 1","visibility":"list"},)"
                         R"({"slug":"m-hidden","display_name":"Hidden","visibility":"hide"},)"
                         R"({"slug":"m-2","display_name":"Model 2","visibility":"list"}]})";
    QString answer = QStringLiteral("The rewritten text.");
    QList<int> modelsStatuses;    ///< answered in order before a request is looked at; 0: look at it
    QList<int> responsesStatuses; ///< the same
    std::function<void(ModelStream)> onStream; ///< instead of `answer`
    bool holdsModels = false;                  ///< park the answers to the list until releaseModels()
    void releaseModels();
    int modelsRequests = 0;
    int responsesRequests = 0;
    QJsonObject lastBody;
    QStringList violations;

private:
    void respond(const RecordedRequest& request, QTcpSocket& socket);
    void respondModels(const RecordedRequest& request, QTcpSocket& socket);
    void respondStream(const RecordedRequest& request, QTcpSocket& socket);
    [[nodiscard]] bool isAuthorized(const RecordedRequest& request) const;
    [[nodiscard]] bool offers(const QString& slug) const;
    [[nodiscard]] QString complaint(const RecordedRequest& request);

    HttpTestServer server_;
    QList<std::function<void()>> parked_;
};

} // namespace quillmarsh::test
