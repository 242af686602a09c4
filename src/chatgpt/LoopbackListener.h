#pragma once

#include "chatgpt/Alarms.h"

#include <QList>
#include <QTcpServer>

namespace quillmarsh {

class CallbackConnection;

/// Takes HTTP requests on 127.0.0.1, at a port that the system chooses. Whatever local programs send, every
/// request comes whole, and none keeps another out.
class LoopbackListener final : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype requestLimit = 16384;           ///< bytes; a larger request is dropped
    static constexpr std::chrono::seconds requestPatience{10}; ///< for one complete request

    explicit LoopbackListener(Alarms alarms, QObject* parent = nullptr);
    ~LoopbackListener() override;

    /// False when the system refuses; error() says why.
    [[nodiscard]] bool listen();
    [[nodiscard]] quint16 port() const { return listener_.serverPort(); }
    [[nodiscard]] QString error() const { return listener_.errorString(); }
    /// No new connections; those that are there are still answered.
    void close() { listener_.close(); }

signals:
    /// To be answered through `connection`, now.
    void requested(quillmarsh::CallbackConnection& connection, const QString& request);

private:
    /// Open connections. One more ends the oldest, so that idle ones never keep a request out.
    static constexpr qsizetype connectionLimit = 128;
    /// So many connections are taken before those that are already there are read on.
    static constexpr int acceptedAtOnce = 16;

    void acceptPending();
    void admit(QTcpSocket* socket);

    Alarms alarms_;
    QTcpServer listener_;
    QList<CallbackConnection*> connections_; ///< oldest first
};

} // namespace quillmarsh
