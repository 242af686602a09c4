// The target of the callback's request line.
#include "FuzzInput.h"

#include "chatgpt/OAuthCallbackServer.h"

using namespace quillmarsh;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString target = QString::fromUtf8(fuzz::bytes(data, size));
    const auto callback =
        OAuthCallbackServer::parse(target, QStringLiteral("S"), QStringLiteral("https://a.example"));
    if (callback && !callback->error)
        fuzz::require(callback->code && !callback->code->isEmpty() && target.contains(u'S'));
    if (callback && callback->error)
        fuzz::require(!callback->code && !callback->clientID);
    return 0;
}
