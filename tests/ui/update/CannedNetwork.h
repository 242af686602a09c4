#pragma once

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>
#include <cstring>

namespace quillmarsh::test {

/// An answer that needs no network.
class CannedReply final : public QNetworkReply
{
public:
    CannedReply(const QNetworkRequest& request, int status, QByteArray body, bool isMute, QObject* parent)
        : QNetworkReply(parent), body_(std::move(body))
    {
        setRequest(request);
        setUrl(request.url());
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, status);
        open(ReadOnly | Unbuffered);
        if (isMute)
            return;
        QTimer::singleShot(0, this, [this] {
            setFinished(true);
            emit finished();
        });
    }
    void abort() override {}
    [[nodiscard]] qint64 bytesAvailable() const override
    {
        return body_.size() + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 length) override
    {
        const qint64 count = std::min<qint64>(length, body_.size());
        std::memcpy(data, body_.constData(), static_cast<size_t>(count));
        body_.remove(0, count);
        return count;
    }

private:
    QByteArray body_;
};

/// Answers every request with `body`.
class CannedNetwork final : public QNetworkAccessManager
{
public:
    QByteArray body;
    int status = 200;
    int requests = 0;
    bool isMute = false; ///< no request is answered

protected:
    QNetworkReply* createRequest(Operation, const QNetworkRequest& request, QIODevice*) override
    {
        ++requests;
        return new CannedReply(request, status, body, isMute, this);
    }
};

} // namespace quillmarsh::test
