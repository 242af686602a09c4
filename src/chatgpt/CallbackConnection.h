#pragma once

#include "chatgpt/Alarms.h"

#include <QByteArray>

class QTcpSocket;

namespace quillmarsh {

/// The bytes of one HTTP request head, as they arrive.
class CallbackRequestBuffer final
{
public:
    enum class State { incomplete, complete, tooLarge };

    explicit CallbackRequestBuffer(qsizetype limit) : limit_(limit) {}

    /// Complete as soon as all bytes so far are UTF-8 text with an empty line in it.
    State append(const QByteArray& chunk);
    /// The request, once complete.
    [[nodiscard]] const QString& text() const { return text_; }

private:
    qsizetype limit_;
    bool hasEmptyLine_ = false;
    QByteArray bytes_;
    QString text_;
};

/// One connection to a loopback listener: reads one request head, sends one response, closes. It is dropped
/// without a response when the request is too large, stays incomplete for too long, or the peer goes away.
class CallbackConnection final : public QObject
{
    Q_OBJECT

public:
    /// Takes `socket` over.
    CallbackConnection(QTcpSocket* socket, qsizetype requestLimit, QObject* parent);

    /// Begins to read, also what has arrived already: connect to the signals first. The whole request has to
    /// come within `patience`.
    void start(const Alarms& alarms, std::chrono::milliseconds patience);
    /// The ports of this end and of the peer's.
    [[nodiscard]] quint16 port() const;
    [[nodiscard]] quint16 peerPort() const;
    /// Sends `response` and closes.
    void respond(const QByteArray& response);
    /// Drops the connection at once.
    void cancel();

signals:
    void requested(const QString& request);
    /// The last signal; the object may be deleted later.
    void ended();

private:
    void read();
    void end();

    QTcpSocket* socket_;
    qsizetype chunkSize_;
    CallbackRequestBuffer buffer_;
    Alarm guard_;
    bool answered_ = false;
    bool ended_ = false;
};

} // namespace quillmarsh
