#include "chatgpt/CallbackConnection.h"

#include <QStringDecoder>
#include <QTcpSocket>

namespace quillmarsh {

CallbackRequestBuffer::State CallbackRequestBuffer::append(const QByteArray& chunk)
{
    const qsizetype searchFrom = qMax<qsizetype>(0, bytes_.size() - 3);
    bytes_ += chunk;
    if (bytes_.size() > limit_)
        return State::tooLarge;
    hasEmptyLine_ = hasEmptyLine_ || bytes_.indexOf("\r\n\r\n", searchFrom) >= 0;
    if (!hasEmptyLine_)
        return State::incomplete;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    text_ = decoder(bytes_);
    return decoder.hasError() ? State::incomplete : State::complete;
}

CallbackConnection::CallbackConnection(QTcpSocket* socket, qsizetype requestLimit, QObject* parent)
    : QObject(parent), socket_(socket), chunkSize_(requestLimit), buffer_(requestLimit)
{
    socket_->setParent(this);
    socket_->setReadBufferSize(chunkSize_);
    connect(socket_, &QTcpSocket::readyRead, this, &CallbackConnection::read);
    connect(socket_, &QTcpSocket::disconnected, this, &CallbackConnection::end);
    connect(socket_, &QTcpSocket::errorOccurred, this, &CallbackConnection::end);
}

quint16 CallbackConnection::port() const
{
    return socket_->localPort();
}

quint16 CallbackConnection::peerPort() const
{
    return socket_->peerPort();
}

void CallbackConnection::start(const Alarms& alarms, std::chrono::milliseconds patience)
{
    guard_ = alarms(patience, [this] { cancel(); });
    if (socket_->state() != QTcpSocket::ConnectedState && socket_->bytesAvailable() == 0)
        return end();
    read();
}

void CallbackConnection::read()
{
    while (!answered_ && !ended_ && socket_->bytesAvailable() > 0) {
        switch (buffer_.append(socket_->read(chunkSize_))) {
        case CallbackRequestBuffer::State::incomplete:
            break;
        case CallbackRequestBuffer::State::tooLarge:
            cancel();
            return;
        case CallbackRequestBuffer::State::complete:
            answered_ = true;
            emit requested(buffer_.text());
            return;
        }
    }
}

void CallbackConnection::respond(const QByteArray& response)
{
    if (ended_)
        return;
    // Unread bytes would turn the close into a reset, which may overtake the response.
    socket_->skip(socket_->bytesAvailable());
    socket_->write(response);
    socket_->flush(); // now: a peer that has finished sending closes the socket with its next event
    socket_->disconnectFromHost();
}

void CallbackConnection::cancel()
{
    socket_->abort();
    end();
}

void CallbackConnection::end()
{
    if (ended_)
        return;
    ended_ = true;
    guard_.reset();
    emit ended();
}

} // namespace quillmarsh
