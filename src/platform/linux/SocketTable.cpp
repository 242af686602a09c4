#include "platform/linux/SocketTable.h"

#include "platform/LoopbackPeer.h"

#include <QFile>

#include <unistd.h>

namespace quillmarsh {

namespace {

/// 127.0.0.1 as the kernel writes it. An IPv6 socket has more in front of it.
QByteArray loopback(quint16 port)
{
    return "0100007F:" + QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
}

} // namespace

std::optional<uint> peerOwner(const QByteArray& table, quint16 port, quint16 peerPort)
{
    const QByteArray local = loopback(peerPort);
    const QByteArray remote = loopback(port);
    for (const QByteArray& line : table.split('\n')) {
        const QList<QByteArray> columns = line.simplified().split(' ');
        if (columns.size() > 7 && columns[1].endsWith(local) && columns[2].endsWith(remote))
            return columns[7].toUInt();
    }
    return std::nullopt;
}

bool isOfAnotherUser(quint16 port, quint16 peerPort)
{
    for (const char* path : {"/proc/self/net/tcp", "/proc/self/net/tcp6"}) {
        QFile table(QString::fromLatin1(path));
        if (!table.open(QIODevice::ReadOnly))
            continue;
        if (const auto owner = peerOwner(table.readAll(), port, peerPort))
            return owner != ::getuid();
    }
    return false;
}

} // namespace quillmarsh
