#include "base/Http.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkCookieJar>
#include <QPointer>
#include <QSslConfiguration>

#include <qcoro/qcorosignal.h>

namespace quillmarsh {

namespace {

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

struct DeleteLater
{
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using ReplyHandle = std::unique_ptr<QNetworkReply, DeleteLater>;

} // namespace

TransportError::TransportError(QNetworkReply::NetworkError code) : LocalizedError(sentence(code)), code_(code) {}

QNetworkAccessManager& sharedUrlSession()
{
    static QPointer<QNetworkAccessManager> session;
    if (!session) {
        session = new QNetworkAccessManager(QCoreApplication::instance());
        session->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    }
    return *session;
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

Task<HttpResponse> send(QNetworkAccessManager* session, QByteArray method, QNetworkRequest request, QByteArray body,
                        std::stop_token stop)
{
    throwIfStopped(stop);
    const ReplyHandle reply(session->sendCustomRequest(request, method, body));
    const std::stop_callback abortOnStop(stop, [guard = QPointer(reply.get())] {
        QMetaObject::invokeMethod(guard, &QNetworkReply::abort, Qt::QueuedConnection);
    });
    if (!reply->isFinished())
        co_await qCoro(reply.get(), &QNetworkReply::finished);
    throwIfStopped(stop);
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const bool cut = reply->error() != QNetworkReply::NoError && reply->error() < QNetworkReply::ContentAccessDenied;
    if (!status.isValid() || cut)
        throw TransportError(reply->error());
    co_return HttpResponse{status.toInt(), reply->readAll()};
}

void preconnect(QNetworkAccessManager& session, const QUrl& url)
{
    if (url.scheme() == QLatin1String("https")) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        session.connectToHostEncrypted(url.host(), static_cast<quint16>(url.port(443)), configuration);
    } else if (url.scheme() == QLatin1String("http")) {
        session.connectToHost(url.host(), static_cast<quint16>(url.port(80)));
    }
}

} // namespace quillmarsh
