#pragma once

#include "base/LocalizedError.h"
#include "base/Task.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>

class QNetworkAccessManager;

namespace quillmarsh {

/// The network failed before an HTTP answer was complete. Its description is a plain sentence about the
/// connection and never holds an address, a header or a body.
class TransportError final : public LocalizedError
{
public:
    explicit TransportError(QNetworkReply::NetworkError code);

    [[nodiscard]] QNetworkReply::NetworkError code() const { return code_; }

private:
    QNetworkReply::NetworkError code_;
};

struct HttpResponse
{
    int statusCode = -1; ///< -1: what answered did not speak HTTP
    QByteArray body;
};

/// The session that every back end shares: connections are kept warm between rewrites, nothing is cached,
/// no cookie is kept. Main thread only; lives as long as the application object.
[[nodiscard]] QNetworkAccessManager& sharedUrlSession();

/// The address of a back end, which the build or a checked setting fixes: one that is no URL with a host is a
/// fault of the program and ends it.
[[nodiscard]] QUrl fixedUrl(const QString& address);

/// A request as this product sends them: no redirect is followed (a credential never travels to another
/// origin), no cookies, HTTP/1.1. `timeout` is the longest time without a byte in either direction.
[[nodiscard]] QNetworkRequest makeRequest(const QUrl& url, std::chrono::milliseconds timeout);

/// Lets a new reply hold at most so many bytes that nobody has read yet. Qt would keep whatever comes, and a
/// server faster than the reader would fill the memory.
void limitReadAhead(QNetworkReply& reply, qint64 bytes);

/// Sends `body` with `method`, once: when the connection ends without an answer, the reply fails instead of
/// asking again, since the server may have counted the request. The caller owns the reply, which holds at
/// most 16 MiB that nobody has read.
[[nodiscard]] QNetworkReply* startRequest(QNetworkAccessManager& session, const QByteArray& method,
                                          QNetworkRequest request, const QByteArray& body);

/// Whether the connection of a finished reply failed, as opposed to an HTTP status that tells an error.
[[nodiscard]] bool isCut(const QNetworkReply& reply);

/// Sends `body` with `method` and collects the answer; an HTTP error status is an answer like any other.
/// Throws TransportError, or Cancelled when `stop` is requested (the connection is closed at once).
[[nodiscard]] Task<HttpResponse> send(QNetworkAccessManager* session, QByteArray method,
                                      QNetworkRequest request, QByteArray body, std::stop_token stop);

/// Opens a connection to the origin of `url` ahead of a request, so that the handshake is done when the
/// request is ready. Sends nothing. Ignored for anything that is not http or https.
void preconnect(QNetworkAccessManager& session, const QUrl& url);

} // namespace quillmarsh
