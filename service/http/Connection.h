#pragma once

#include <array>
#include <chrono>

#include <httplib.h>

namespace quillmarsh::service {

/// Time limits of one client connection.
struct ConnectionLimits
{
    std::chrono::milliseconds request{10'000}; ///< from the first byte of a request to its last
    /// For the whole answer; a long one gets a second more per 16 KiB.
    std::chrono::milliseconds answer{30'000};
    std::chrono::milliseconds idle{15'000}; ///< between two requests of a kept-alive connection
    int requests = 1000;                    ///< answered before the connection is closed
};

/// A client's socket with limits on the whole request and the whole answer. A limit per read would let a
/// client that sends one byte now and then hold a thread for ever.
class Connection final : public httplib::Stream
{
public:
    Connection(socket_t socket, ConnectionLimits limits);
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// True when bytes of a request are there; false when none came within `patience`.
    [[nodiscard]] bool waitForRequest(std::chrono::milliseconds patience) const;
    /// Starts the clock of the next request, and lets its head be read.
    void beginRequest();
    /// Lets so many bytes follow the head. What nobody has asked for is not read, however fast it comes.
    void admitBody(size_t bytes) { unread_ += bytes; }
    /// The rest of the request was not read: no further request can follow on this connection.
    void abandonRequest() { abandoned_ = true; }
    [[nodiscard]] bool isAbandoned() const { return abandoned_; }
    /// The connection whose request the calling thread is answering; null outside of a request.
    [[nodiscard]] static Connection* current();

    [[nodiscard]] bool is_readable() const override;
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char* bytes, size_t size) override;
    ssize_t write(const char* bytes, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    [[nodiscard]] socket_t socket() const override { return socket_; }

private:
    using Clock = std::chrono::steady_clock;

    /// In bytes. The library keeps a head in memory at up to twenty times its size.
    static constexpr size_t longestHead = 16UL * 1024UL;

    [[nodiscard]] bool waitFor(short events, Clock::time_point deadline) const;
    void acknowledgeAtOnce() const;
    void linger();

    socket_t socket_;
    ConnectionLimits limits_;
    Clock::time_point readDeadline_;
    Clock::time_point writeDeadline_;
    std::array<char, 8192> buffer_{};
    size_t bufferBegin_ = 0;
    size_t bufferEnd_ = 0;
    size_t unread_ = 0; ///< of the request, that may still be read
    bool writing_ = false;
    bool abandoned_ = false;
};

} // namespace quillmarsh::service
