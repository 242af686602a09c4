#pragma once

#include <atomic>

#include "http/Connection.h"
#include "http/WorkerPool.h"

namespace quillmarsh::service {

/// httplib's server with connections that have limits on whole requests, a queue deep enough for bursts, and
/// an end that lets running requests finish.
class GuardedServer final : public httplib::Server
{
public:
    GuardedServer(ConnectionLimits limits, size_t maximumConnections);

    /// Binds to an address; port 0 takes a free one. Returns the port, or -1 when the address cannot be had.
    [[nodiscard]] int bind(const std::string& address, int port);
    /// Accepts no more connections, lets running requests finish, and makes `listen_after_bind` return.
    void drainAndStop();

private:
    bool process_and_close_socket(socket_t socket) override;
    [[nodiscard]] bool awaitRequest(const Connection& connection);

    ConnectionLimits limits_;
    std::atomic<bool> stopping_ = false;
    std::atomic<WorkerPool*> pool_ = nullptr;
};

} // namespace quillmarsh::service
