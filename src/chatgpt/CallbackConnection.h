#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>

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

/// One connection to the callback server: reads one request head, sends one response, closes. It is dropped
/// without a response when the request is too large, stays incomplete for too long, or the peer goes away.
class CallbackConnection final : public QObject
{
    Q_OBJECT

public:
    /// Takes `socket` over.
    CallbackConnection(QTcpSocket* socket, qsizetype requestLimit, std::chrono::milliseconds timeLimit,
                       QObject* parent);

    /// Begins to read, also what has arrived already: connect to the signals first.
    void start();
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
    std::chrono::milliseconds timeLimit_;
    qsizetype chunkSize_;
    CallbackRequestBuffer buffer_;
    QTimer guard_;
    bool answered_ = false;
    bool ended_ = false;
};

} // namespace quillmarsh
