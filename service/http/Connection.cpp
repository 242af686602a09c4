#include "http/Connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillmarsh::service {

namespace {

thread_local Connection* currentConnection = nullptr;

/// What a refused client may still send before the connection is closed on it: with unread bytes the kernel
/// would reset the connection and the client might never see the answer.
constexpr size_t lingerBytes = 1024 * 1024;
/// A large file may take longer than the limit, as long as it moves at least this fast.
constexpr std::int64_t slowestBytesPerSecond = 16'384;
constexpr auto lingerTime = std::chrono::milliseconds(1000);

void addressOf(const sockaddr_storage& address, socklen_t length, std::string& ip, int& port)
{
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> service{};
    const auto* raw = reinterpret_cast<const sockaddr*>(&address);
    if (::getnameinfo(raw, length, host.data(), host.size(), service.data(), service.size(),
                      NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
        ip = host.data();
        port = std::atoi(service.data());
    }
}

} // namespace

Connection::Connection(socket_t socket, ConnectionLimits limits) : socket_(socket), limits_(limits)
{
    currentConnection = this;
}

Connection::~Connection()
{
    if (abandoned_) {
        linger();
    }
    ::shutdown(socket_, SHUT_RDWR);
    ::close(socket_);
    currentConnection = nullptr;
}

Connection* Connection::current()
{
    return currentConnection;
}

bool Connection::waitForRequest(std::chrono::milliseconds patience) const
{
    return bufferBegin_ < bufferEnd_ || waitFor(POLLIN, Clock::now() + patience);
}

void Connection::beginRequest()
{
    readDeadline_ = Clock::now() + limits_.request;
    unread_ = longestHead;
    writing_ = false;
}

bool Connection::waitFor(short events, Clock::time_point deadline) const
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        pollfd entry{socket_, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::min<std::int64_t>(left, 60'000)));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

bool Connection::is_readable() const
{
    return bufferBegin_ < bufferEnd_ || waitFor(POLLIN, readDeadline_);
}

bool Connection::is_writable() const
{
    return waitFor(POLLOUT, writing_ ? writeDeadline_ : Clock::now() + limits_.answer);
}

ssize_t Connection::read(char* bytes, size_t size)
{
    if (unread_ == 0) {
        abandoned_ = true;
        return -1;
    }
    if (bufferBegin_ == bufferEnd_) {
        if (!waitFor(POLLIN, readDeadline_)) {
            abandoned_ = true;
            return -1;
        }
        const ssize_t got = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
        if (got <= 0) {
            return got;
        }
        acknowledgeAtOnce();
        bufferBegin_ = 0;
        bufferEnd_ = static_cast<size_t>(got);
    }
    const size_t count = std::min({size, bufferEnd_ - bufferBegin_, unread_});
    std::memcpy(bytes, buffer_.data() + bufferBegin_, count);
    bufferBegin_ += count;
    unread_ -= count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* bytes, size_t size)
{
    if (!writing_) {
        writing_ = true;
        writeDeadline_ = Clock::now() + limits_.answer;
    }
    if (!waitFor(POLLOUT, writeDeadline_)) {
        return -1;
    }
    const ssize_t sent = ::send(socket_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) {
        writeDeadline_ += std::chrono::microseconds(sent * 1'000'000 / slowestBytesPerSecond);
    }
    return sent;
}

/// A client that sends header and body in two writes would wait 40 ms for the delayed acknowledgement in
/// between.
void Connection::acknowledgeAtOnce() const
{
    const int yes = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &yes, sizeof yes);
}

void Connection::linger()
{
    ::shutdown(socket_, SHUT_WR);
    const auto deadline = Clock::now() + lingerTime;
    size_t drained = 0;
    while (drained < lingerBytes && waitFor(POLLIN, deadline)) {
        const ssize_t got = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
        if (got <= 0) {
            return;
        }
        drained += static_cast<size_t>(got);
    }
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getpeername(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        addressOf(address, length, ip, port);
    }
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        addressOf(address, length, ip, port);
    }
}

} // namespace quillmarsh::service
