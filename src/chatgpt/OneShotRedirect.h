#pragma once

#include "chatgpt/LoopbackListener.h"

#include <QUrl>

#include <optional>

namespace quillmarsh {

/// Hands an address to the browser without its standing on a command line, where every user of the machine
/// could read it. What is opened instead is an address on 127.0.0.1 with a random path; the first who asks
/// for that is sent on, unless another user started that program, and nobody after that. A file would be no
/// use to a browser that is confined to its own folders, and a desktop portal starts the browser with the
/// address on its command line.
class OneShotRedirect final : public QObject
{
public:
    /// Whether the peer of the connection between these ports (this end's, the peer's) is another user's.
    using PeerCheck = std::function<bool(quint16 port, quint16 peerPort)>;

    /// `isOfAnotherUser` may be null.
    OneShotRedirect(QUrl target, PeerCheck isOfAnotherUser, Alarms alarms = setAlarm);

    /// Begins to listen, until the redirect was given or this is gone. The address to open; none when the
    /// system refuses.
    [[nodiscard]] std::optional<QUrl> start();

private:
    void answer(CallbackConnection& connection, const QString& request);

    QUrl target_;
    PeerCheck isOfAnotherUser_;
    QString path_; ///< with the slash
    LoopbackListener listener_;
    bool given_ = false;
};

} // namespace quillmarsh
