#include "support/RawClient.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace quillmarsh::service::test {

RawClient::RawClient(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(socket_);
        throw std::runtime_error("cannot connect");
    }
}

RawClient::~RawClient()
{
    ::close(socket_);
}

bool RawClient::send(const std::string& bytes) const
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<size_t>(count);
    }
    return true;
}

std::string RawClient::receive(std::chrono::milliseconds patience) const
{
    std::string received;
    std::array<char, 4096> buffer{};
    pollfd entry{socket_, POLLIN, 0};
    while (::poll(&entry, 1, static_cast<int>(patience.count())) > 0) {
        const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            break;
        }
        received.append(buffer.data(), static_cast<size_t>(count));
    }
    return received;
}

void RawClient::closeWriting() const
{
    ::shutdown(socket_, SHUT_WR);
}

} // namespace quillmarsh::service::test
