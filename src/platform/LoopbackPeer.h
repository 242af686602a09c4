#pragma once

#include <QtGlobal>

namespace quillmarsh {

/// Whether another user of this machine started the program at the other end of a TCP connection on
/// 127.0.0.1. `port` is this end's, `peerPort` the other's. False when the system does not tell. Defined once
/// per operating system.
[[nodiscard]] bool isOfAnotherUser(quint16 port, quint16 peerPort);

} // namespace quillmarsh
