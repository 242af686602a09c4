// Everything between the bytes of a connection and its response. The first byte is the size of the chunks.
#include "FuzzInput.h"

#include "chatgpt/CallbackConnection.h"
#include "chatgpt/CallbackPage.h"
#include "chatgpt/OAuthCallbackServer.h"

using namespace quillmarsh;

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
        if (state == CallbackRequestBuffer::State::complete) {
            const auto target = CallbackPage::requestTarget(buffer.text());
            if (target)
                static_cast<void>(OAuthCallbackServer::parse(*target, QStringLiteral("S"),
                                                             QStringLiteral("https://a.example")));
        }
        break;
    }
    return 0;
}
