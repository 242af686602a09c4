#pragma once

#include <QByteArray>

#include <optional>

namespace quillmarsh {

/// The user who owns the other end of the connection on 127.0.0.1 between `port` and `peerPort`, by a table
/// of sockets as /proc/net/tcp and /proc/net/tcp6 have it (proc(5)). None when it is not there.
[[nodiscard]] std::optional<uint> peerOwner(const QByteArray& table, quint16 port, quint16 peerPort);

} // namespace quillmarsh
