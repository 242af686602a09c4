#include "http/GuardedServer.h"

#include <sys/socket.h>
#include <thread>

namespace quillmarsh::service {

namespace {

constexpr int listenBacklog = 1024;
/// How soon an idle connection notices that the server ends or that others wait for its thread.
constexpr auto idleSlice = std::chrono::milliseconds(100);

} // namespace

GuardedServer::GuardedServer(ConnectionLimits limits, size_t maximumConnections) : limits_(limits)
{
    new_task_queue = [this, maximumConnections] {
        auto* pool = new WorkerPool(maximumConnections); // httplib takes it into a unique_ptr
        pool_ = pool;
        return pool;
    };
    set_tcp_nodelay(true);
    set_keep_alive_max_count(static_cast<size_t>(limits.requests));
    set_keep_alive_timeout(std::chrono::ceil<std::chrono::seconds>(limits.idle).count());
    set_socket_options([](socket_t socket) {
        const int yes = 1; // without SO_REUSEPORT: a second instance on the same port must fail, not share it
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
}

int GuardedServer::bind(const std::string& address, int port)
{
    const int bound = port == 0 ? bind_to_any_port(address) : (bind_to_port(address, port) ? port : -1);
    if (bound > 0) {
        ::listen(svr_sock_, listenBacklog);
    }
    return bound;
}

void GuardedServer::drainAndStop()
{
    stopping_ = true;
    while (!is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // stopped between bind and listen
    }
    stop();
}

bool GuardedServer::awaitRequest(const Connection& connection)
{
    const auto deadline = std::chrono::steady_clock::now() + limits_.idle;
    while (std::chrono::steady_clock::now() < deadline) {
        if (connection.waitForRequest(idleSlice)) {
            return true;
        }
        WorkerPool* pool = pool_;
        if (stopping_ || (pool != nullptr && pool->isUnderPressure())) {
            return false;
        }
    }
    return false;
}

bool GuardedServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket, limits_);
    for (int left = limits_.requests; left > 0 && awaitRequest(connection); --left) {
        connection.beginRequest();
        bool closed = false;
        const bool last = left == 1 || stopping_;
        if (!process_request(connection, last, closed, nullptr) || closed || connection.isAbandoned()) {
            break;
        }
    }
    return true;
}

} // namespace quillmarsh::service
