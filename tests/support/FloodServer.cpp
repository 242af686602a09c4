#include "support/FloodServer.h"

#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillmarsh::test {

namespace {

/// How soon a client that does not read notices the end of the server.
constexpr timeval patience{0, 50'000};
/// In bytes, sent and not read: what a slow reader goes on reading after the end of the server.
constexpr int backlog = 65'536;

sockaddr* raw(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address);
}

} // namespace

FloodServer::FloodServer(QByteArray head, QByteArray piece)
    : head_(std::move(head)), piece_(std::move(piece)), listener_(::socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener_, raw(address), sizeof address) != 0 || ::listen(listener_, 16) != 0)
        qFatal("The flooding test server cannot listen");
    thread_ = std::thread([this] { serve(); });
}

FloodServer::~FloodServer()
{
    ending_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

QString FloodServer::origin() const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ::getsockname(listener_, raw(address), &length);
    return QStringLiteral("http://127.0.0.1:%1").arg(ntohs(address.sin_port));
}

void FloodServer::serve()
{
    while (!ending_) {
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client < 0)
            continue;
        ::setsockopt(client, SOL_SOCKET, SO_SNDBUF, &backlog, sizeof backlog);
        ::setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        answer(client);
        ::close(client);
    }
}

void FloodServer::answer(int client)
{
    std::array<char, 65'536> request{};
    if (::recv(client, request.data(), request.size(), 0) <= 0)
        return;
    ::send(client, head_.constData(), static_cast<size_t>(head_.size()), MSG_NOSIGNAL);
    qsizetype position = 0;
    while (!ending_) {
        const auto left = static_cast<size_t>(piece_.size() - position);
        const ssize_t count = ::send(client, piece_.constData() + position, left, MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN) {
            ++closed_;
            return;
        }
        sent_ += std::max<ssize_t>(count, 0);
        position = (position + std::max<ssize_t>(count, 0)) % piece_.size();
    }
}

} // namespace quillmarsh::test
