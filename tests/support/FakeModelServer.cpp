#include "support/FakeModelServer.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace quillmarsh::test {

QJsonObject ModelStream::delta(const QString& text)
{
    return {{QStringLiteral("type"), QStringLiteral("response.output_text.delta")},
            {QStringLiteral("delta"), text}};
}

QJsonObject ModelStream::completed(const QString& text)
{
    const QJsonObject part{{QStringLiteral("type"), QStringLiteral("output_text")},
                           {QStringLiteral("text"), text}};
    const QJsonObject item{{QStringLiteral("type"), QStringLiteral("message")},
                           {QStringLiteral("content"), QJsonArray{part}}};
    QJsonArray output;
    if (!text.isNull())
        output.append(item);
    const QJsonObject response{{QStringLiteral("status"), QStringLiteral("completed")},
                               {QStringLiteral("output"), output}};
    return {{QStringLiteral("type"), QStringLiteral("response.completed")},
            {QStringLiteral("response"), response}};
}

QByteArray ModelStream::eventBytes(const QJsonObject& event)
{
    return "event: " + event.value(QLatin1String("type")).toString().toUtf8() +
           "\ndata: " + QJsonDocument(event).toJson(QJsonDocument::Compact) + "\n\n";
}

void ModelStream::send(const QByteArray& bytes)
{
    if (!isOpen() || bytes.isEmpty())
        return;
    socket_->write(QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n");
    socket_->flush();
}

void ModelStream::sendEvent(const QJsonObject& event)
{
    send(eventBytes(event));
}

void ModelStream::sendDelta(const QString& text)
{
    sendEvent(delta(text));
}

void ModelStream::sendCompleted(const QString& text)
{
    sendEvent(completed(text));
}

void ModelStream::end()
{
    if (!isOpen())
        return;
    socket_->write("0\r\n\r\n");
    socket_->flush();
}

void ModelStream::cut()
{
    if (socket_)
        socket_->abort();
}

FakeModelServer::FakeModelServer()
{
    server_.setResponder(
        [this](const RecordedRequest& request, QTcpSocket& socket) { respond(request, socket); });
}

bool FakeModelServer::isAuthorized(const RecordedRequest& request) const
{
    const QByteArray header = request.headers.value("authorization");
    return header.startsWith("Bearer ") && accepts(QString::fromUtf8(header.mid(7)));
}

void FakeModelServer::respond(const RecordedRequest& request, QTcpSocket& socket)
{
    if (request.method == "GET" && request.target == "/v1/models")
        return respondModels(request, socket);
    if (request.method == "POST" && request.target == "/v1/responses")
        return respondStream(request, socket);
    violations.append(QStringLiteral("unexpected request ") +
                      QString::fromLatin1(request.method + ' ' + request.target));
    HttpTestServer::respond(socket, 404, "{}");
}

void FakeModelServer::releaseModels()
{
    holdsModels = false;
    for (const auto& send : std::exchange(parked_, {}))
        send();
}

void FakeModelServer::respondModels(const RecordedRequest& request, QTcpSocket& socket)
{
    ++modelsRequests;
    if (!request.body.isEmpty() || request.headers.contains("cookie"))
        violations.append(QStringLiteral("a list request with a body or a cookie"));
    int status = modelsStatuses.isEmpty() ? 0 : modelsStatuses.takeFirst();
    if (status == 0)
        status = isAuthorized(request) ? 200 : 401;
    const auto send = [guard = QPointer(&socket), status, body = catalog] {
        if (guard)
            HttpTestServer::respond(*guard, status, status == 200 ? body : QByteArray("{}"),
                                    "Location: http://127.0.0.1:9/elsewhere\r\n");
    };
    if (holdsModels)
        parked_.append(send);
    else
        send();
}

bool FakeModelServer::offers(const QString& slug) const
{
    const QJsonArray models = QJsonDocument::fromJson(catalog)[QLatin1String("models")].toArray();
    return std::any_of(models.begin(), models.end(), [&](const QJsonValue& model) {
        return model[QLatin1String("slug")] == slug &&
               model[QLatin1String("visibility")] == QLatin1String("list");
    });
}

QString FakeModelServer::complaint(const RecordedRequest& request)
{
    if (request.headers.value("content-type") != "application/json")
        return QStringLiteral("a body of another type");
    if (request.headers.value("accept") != "text/event-stream")
        return QStringLiteral("no event stream accepted");
    if (request.headers.value("user-agent") != "Quillmarsh/1.0")
        return QStringLiteral("another user agent");
    if (request.headers.contains("cookie"))
        return QStringLiteral("a cookie");
    lastBody = QJsonDocument::fromJson(request.body).object();
    if (lastBody.keys() != QStringList{QStringLiteral("input"), QStringLiteral("instructions"),
                                       QStringLiteral("model"), QStringLiteral("store"),
                                       QStringLiteral("stream")})
        return QStringLiteral("other members than these five");
    if (lastBody.value(QLatin1String("stream")) != true || lastBody.value(QLatin1String("store")) != false)
        return QStringLiteral("not streamed, or stored");
    if (!lastBody.value(QLatin1String("instructions")).isString())
        return QStringLiteral("no instructions");
    if (!offers(lastBody.value(QLatin1String("model")).toString()))
        return QStringLiteral("an unknown model");
    const QJsonArray input = lastBody.value(QLatin1String("input")).toArray();
    const QJsonArray content = input.at(0)[QLatin1String("content")].toArray();
    const bool isMessage = input.size() == 1 && input.at(0)[QLatin1String("role")] == QLatin1String("user") &&
                           input.at(0).toObject().size() == 2 && content.size() == 1 &&
                           content.at(0).toObject().size() == 2 &&
                           content.at(0)[QLatin1String("type")] == QLatin1String("input_text") &&
                           content.at(0)[QLatin1String("text")].isString();
    return isMessage ? QString() : QStringLiteral("no single user message");
}

void FakeModelServer::respondStream(const RecordedRequest& request, QTcpSocket& socket)
{
    ++responsesRequests;
    if (const QString wrong = complaint(request); !wrong.isEmpty()) {
        violations.append(wrong);
        return HttpTestServer::respond(socket, 400, "{}");
    }
    int status = responsesStatuses.isEmpty() ? 0 : responsesStatuses.takeFirst();
    if (status == 0)
        status = isAuthorized(request) ? 200 : 401;
    if (status != 200)
        return HttpTestServer::respond(socket, status, "{\"error\":{}}",
                                       "Location: http://127.0.0.1:9/elsewhere\r\n");
    socket.write("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n");
    socket.flush();
    ModelStream stream(socket);
    if (onStream)
        return onStream(stream);
    for (const QChar character : answer)
        stream.sendDelta(QString(character));
    stream.sendCompleted(answer);
    stream.end();
}

} // namespace quillmarsh::test
