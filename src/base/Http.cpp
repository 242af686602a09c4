#include "base/Http.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkCookieJar>
#include <QPointer>
#include <QSslConfiguration>

#include <qcoro/qcorosignal.h>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds preconnectTimeout{30};
/// In bytes; more than any answer that is collected. Nothing more is received until somebody reads, so that a
/// server that never stops runs into the timeout. Qt collects by itself, and without a limit but the timeout,
/// a head, and the body of a 401, a 407 or a redirect that it follows.
constexpr qint64 longestAnswer = 16 * 1024 * 1024;

QString sentence(QNetworkReply::NetworkError code)
{
    switch (code) {
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError: // what Qt reports when the transfer time-out strikes
    case QNetworkReply::ProxyTimeoutError:
        return QStringLiteral("The request timed out.");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("The server couldn’t be found. Check your internet connection.");
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("Couldn’t connect to the server.");
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ContentReSendError:
        return QStringLiteral("The network connection was lost.");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral("A secure connection to the server couldn’t be made.");
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::UnknownNetworkError:
        return QStringLiteral("The internet connection appears to be offline.");
    default:
        return QStringLiteral("The network request failed.");
    }
}

/// A request body that can be read once. Qt resends a request whose connection ended without an answer; a
/// rewrite may have been counted by then, so a body that cannot be rewound turns that into an error.
class OneShotBody final : public QIODevice
{
public:
    explicit OneShotBody(QByteArray bytes) : bytes_(std::move(bytes)) { open(QIODevice::ReadOnly); }

    [[nodiscard]] bool isSequential() const override { return true; }
    bool reset() override { return false; }
    [[nodiscard]] qint64 bytesAvailable() const override
    {
        return bytes_.size() - position_ + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 count = std::min<qint64>(maxSize, bytes_.size() - position_);
        std::copy_n(bytes_.constData() + position_, count, data);
        position_ += count;
        return count == 0 && maxSize > 0 ? -1 : count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray bytes_;
    qint64 position_ = 0;
};

QNetworkReply* sendOnce(QNetworkAccessManager& session, const QByteArray& method, QNetworkRequest request,
                        const QByteArray& body)
{
    if (body.isEmpty())
        return session.sendCustomRequest(request, method);
    auto device = std::make_unique<OneShotBody>(body);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    QNetworkReply* reply = session.sendCustomRequest(request, method, device.get());
    device.release()->setParent(reply);
    return reply;
}

/// What answered did not speak HTTP, as opposed to nothing having answered.
bool isForeignProtocol(QNetworkReply::NetworkError code)
{
    return code == QNetworkReply::ProtocolFailure || code == QNetworkReply::ProtocolUnknownError;
}

struct DeleteLater
{
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using ReplyHandle = std::unique_ptr<QNetworkReply, DeleteLater>;

} // namespace

TransportError::TransportError(QNetworkReply::NetworkError code) : LocalizedError(sentence(code)), code_(code)
{}

QNetworkAccessManager& sharedUrlSession()
{
    static QPointer<QNetworkAccessManager> session;
    if (!session) {
        session = new QNetworkAccessManager(QCoreApplication::instance());
        session->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    }
    return *session;
}

QUrl fixedUrl(const QString& address)
{
    QUrl url(address);
    if (!url.isValid() || url.host().isEmpty())
        qFatal("The address of a back end is not a URL");
    return url;
}

QNetworkRequest makeRequest(const QUrl& url, std::chrono::milliseconds timeout)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setTransferTimeout(static_cast<int>(timeout.count()));
    return request;
}

void limitReadAhead(QNetworkReply& reply, qint64 bytes)
{
    // Queued behind the start of a request with a body, which does not look at what was set before it; and
    // not when the answer begins, since a fast server fills a queue before the limit is heard of.
    const auto limit = [raw = &reply, bytes] {
        QMetaObject::invokeMethod(
            raw, [raw, bytes] { raw->setReadBufferSize(bytes); }, Qt::QueuedConnection);
    };
    limit();
    QObject::connect(&reply, &QNetworkReply::redirected, &reply, limit); // each of them is a request anew
}

QNetworkReply* startRequest(QNetworkAccessManager& session, const QByteArray& method, QNetworkRequest request,
                            const QByteArray& body)
{
    QNetworkReply* reply = sendOnce(session, method, std::move(request), body);
    limitReadAhead(*reply, longestAnswer);
    return reply;
}

bool isCut(const QNetworkReply& reply)
{
    const auto error = reply.error();
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (error == QNetworkReply::ProxyAuthenticationRequiredError)
        return !status.isValid(); // 407 is an answer, unless the proxy refused a tunnel
    if (error != QNetworkReply::ContentReSendError)
        return error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied;
    // A body that can be sent only once is all that a broken connection tells; but so do a redirect and a
    // challenge, which are answers.
    return !status.isValid() || (status.toInt() >= 200 && status.toInt() <= 299);
}

Task<HttpResponse> send(QNetworkAccessManager* session, QByteArray method, QNetworkRequest request,
                        QByteArray body, std::stop_token stop)
{
    throwIfStopped(stop);
    const ReplyHandle reply(startRequest(*session, method, request, body));
    const std::stop_callback abortOnStop(stop, [guard = QPointer(reply.get())] {
        QMetaObject::invokeMethod(guard, &QNetworkReply::abort, Qt::QueuedConnection);
    });
    if (!reply->isFinished())
        co_await qCoro(reply.get(), &QNetworkReply::finished);
    throwIfStopped(stop);
    if (isForeignProtocol(reply->error()))
        co_return HttpResponse{};
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid() || isCut(*reply))
        throw TransportError(reply->error());
    co_return HttpResponse{status.toInt(), reply->readAll()};
}

void preconnect(QNetworkAccessManager& session, const QUrl& url)
{
    if (url.scheme() != QLatin1String("https") && url.scheme() != QLatin1String("http"))
        return;
    // What connectToHost() does, but for HTTP/1.1: it would open a connection of another kind, which no later
    // request of ours shares.
    QUrl origin;
    origin.setScheme(QStringLiteral("preconnect-") + url.scheme());
    origin.setHost(url.host());
    origin.setPort(url.port(url.scheme() == QLatin1String("https") ? 443 : 80));
    QNetworkReply* reply = session.get(makeRequest(origin, preconnectTimeout));
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

} // namespace quillmarsh
