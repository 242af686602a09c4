#include "update/UpdateDownload.h"

#include "base/Http.h"
#include "update/FileError.h"
#include "update/UpdateError.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QPointer>

#include <qcoro/qcorosignal.h>

namespace quillmarsh {

namespace {

/// The longest silence of the server that is borne.
constexpr std::chrono::seconds downloadTimeout{60};
/// In bytes, held in memory when the server is faster than the disk.
constexpr qint64 longestReadAhead = 4 << 20;
/// A release page redirects once or twice.
constexpr int maximumRedirects = 5;

struct DeleteLater
{
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using ReplyHandle = std::unique_ptr<QNetworkReply, DeleteLater>;

QNetworkRequest downloadRequest(const QUrl& url)
{
    QNetworkRequest request = makeRequest(url, downloadTimeout);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(maximumRedirects);
    // The archive is wanted byte for byte, not as a server or proxy may repack it on the way.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

/// Writes what arrives; the first failure ends the download.
class FileSink final : public QObject
{
public:
    FileSink(QNetworkReply& reply, const QString& path, qint64 limit)
        : reply_(reply), file_(path), limit_(limit)
    {
        if (!file_.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            throw FileError::last();
        connect(&reply, &QNetworkReply::readyRead, this, [this] { drain(); });
    }

    void drain()
    {
        const QByteArray bytes = reply_.readAll();
        isTooLong_ = isTooLong_ || file_.size() + bytes.size() > limit_ ||
                     reply_.header(QNetworkRequest::ContentLengthHeader).toLongLong() > limit_;
        if (error_ || (!isTooLong_ && file_.write(bytes) == bytes.size()))
            return;
        if (!isTooLong_)
            error_.assign(errno, std::generic_category());
        reply_.abort();
    }

    void throwIfFailed() const
    {
        if (isTooLong_)
            throw UpdateError(UpdateError::Kind::DownloadFailed);
        if (error_)
            throw FileError(error_);
    }

private:
    QNetworkReply& reply_;
    QFile file_;
    qint64 limit_;
    bool isTooLong_ = false;
    std::error_code error_;
};

void throwIfIncomplete(const QNetworkReply& reply)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError error = reply.error();
    const bool refused =
        error == QNetworkReply::InsecureRedirectError || error == QNetworkReply::TooManyRedirectsError;
    // A status may be that of the redirect before a connection that failed.
    if (!refused && (!status.isValid() || isCut(reply)))
        throw TransportError(error);
    if (refused || status.toInt() != 200)
        throw UpdateError(UpdateError::Kind::DownloadFailed);
    if (error != QNetworkReply::NoError)
        throw TransportError(error);
}

} // namespace

Task<> downloadFile(QNetworkAccessManager* session, QUrl url, QString path, std::stop_token stop,
                    qint64 limit)
{
    throwIfStopped(stop);
    const ReplyHandle reply(session->get(downloadRequest(url)));
    limitReadAhead(*reply, longestReadAhead);
    FileSink sink(*reply, path, limit);
    const std::stop_callback abortOnStop(stop, [guard = QPointer(reply.get())] {
        QMetaObject::invokeMethod(guard, &QNetworkReply::abort, Qt::QueuedConnection);
    });
    if (!reply->isFinished())
        co_await qCoro(reply.get(), &QNetworkReply::finished);
    throwIfStopped(stop);
    sink.throwIfFailed();
    throwIfIncomplete(*reply);
    sink.drain();
    sink.throwIfFailed();
}

} // namespace quillmarsh
