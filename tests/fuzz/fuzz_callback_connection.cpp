// Everything between the bytes of a connection and its response. The first byte is the size of the chunks.
#include "FuzzInput.h"

#include "chatgpt/CallbackConnection.h"
#include "chatgpt/OAuthCallbackServer.h"

using namespace quillmarsh;

namespace {

Alarm never(std::chrono::milliseconds, std::function<void()>)
{
    return {};
}

/// Accepted exactly when there is a callback; a second time never.
void answer(const QString& request)
{
    OAuthCallbackServer server(QStringLiteral("S"), QStringLiteral("https://a.example"), never);
    const auto reply = server.replyTo(request);
    const bool isAccepted = reply.response.startsWith("HTTP/1.1 200 OK\r\n");
    fuzz::require(isAccepted || reply.response.startsWith("HTTP/1.1 400 Bad Request\r\n"));
    fuzz::require(isAccepted == reply.callback.has_value());
    if (!reply.callback)
        return;
    fuzz::require(request.trimmed().startsWith(u"GET "));
    fuzz::require(reply.callback->error || !reply.callback->code.value_or(QString()).isEmpty());
    server.finish(*reply.callback);
    fuzz::require(!server.replyTo(request).callback);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype chunk = 1 + data[0] % 64;
    const QByteArray input = fuzz::bytes(data + 1, size - 1);
    CallbackRequestBuffer buffer(2048);
    for (qsizetype at = 0; at < input.size(); at += chunk) {
        const auto state = buffer.append(input.mid(at, chunk));
        fuzz::require(state != CallbackRequestBuffer::State::tooLarge || at + chunk > 2048 ||
                      input.size() > 2048);
        if (state == CallbackRequestBuffer::State::incomplete)
            continue;
        if (state == CallbackRequestBuffer::State::complete)
            answer(buffer.text());
        break;
    }
    return 0;
}
