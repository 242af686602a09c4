#include "chatgpt/OneShotRedirect.h"

#include "chatgpt/CallbackConnection.h"
#include "chatgpt/CallbackPage.h"
#include "chatgpt/PKCE.h"

namespace quillmarsh {

namespace {

QByteArray redirectTo(const QUrl& target)
{
    return "HTTP/1.1 302 Found\r\nLocation: " + target.toEncoded(QUrl::FullyEncoded) +
           "\r\nCache-Control: no-store\r\nReferrer-Policy: no-referrer\r\nContent-Length: 0"
           "\r\nConnection: close\r\n\r\n";
}

} // namespace

OneShotRedirect::OneShotRedirect(QUrl target, PeerCheck isOfAnotherUser, Alarms alarms)
    : target_(std::move(target)), isOfAnotherUser_(std::move(isOfAnotherUser)),
      path_(u'/' + PKCE::generate().challenge), listener_(std::move(alarms))
{
    connect(&listener_, &LoopbackListener::requested, this, &OneShotRedirect::answer);
}

std::optional<QUrl> OneShotRedirect::start()
{
    if (!listener_.listen())
        return std::nullopt;
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(listener_.port()).arg(path_));
}

void OneShotRedirect::answer(CallbackConnection& connection, const QString& request)
{
    const bool isAsked = !given_ && CallbackPage::requestTarget(request) == path_;
    if (!isAsked || (isOfAnotherUser_ && isOfAnotherUser_(connection.port(), connection.peerPort())))
        return connection.respond(CallbackPage::response(CallbackPage::Verdict::refused));
    given_ = true;
    connection.respond(redirectTo(target_));
    listener_.close();
}

} // namespace quillmarsh
