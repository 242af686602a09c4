#include "chatgpt/CallbackPage.h"

namespace quillmarsh {

namespace {

constexpr auto header = "\r\nContent-Type: text/html; charset=utf-8"
                        "\r\nCache-Control: no-store"
                        "\r\nContent-Security-Policy: default-src 'none'; style-src 'unsafe-inline'"
                        "\r\nContent-Length: ";
constexpr auto pageStart =
    "<!doctype html><meta charset=utf-8><title>Quillmarsh</title>"
    "<body style='font:16px system-ui;background:#17151d;color:#fafafa;padding:80px'><h1>Quillmarsh</h1><p>";
constexpr auto pageEnd = "</p></body>";
constexpr auto acceptedMessage = "Return to Quillmarsh to finish connecting. You can close this tab.";
constexpr auto refusedMessage = "This callback is invalid or expired. Return to Quillmarsh and try again.";

} // namespace

QByteArray CallbackPage::response(Verdict verdict)
{
    const bool accepted = verdict == Verdict::accepted;
    const QByteArray body = QByteArray(pageStart) + (accepted ? acceptedMessage : refusedMessage) + pageEnd;
    return QByteArray("HTTP/1.1 ") + (accepted ? "200 OK" : "400 Bad Request") + header +
           QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

std::optional<QString> CallbackPage::requestTarget(const QString& request)
{
    const QString line = request.left(request.indexOf(QLatin1String("\r\n")));
    const QStringList pieces = line.split(u' ', Qt::SkipEmptyParts);
    if (pieces.size() != 3 || pieces.first() != QLatin1String("GET"))
        return std::nullopt;
    return pieces.at(1);
}

} // namespace quillmarsh
