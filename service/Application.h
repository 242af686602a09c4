#pragma once

#include <memory>

#include "Config.h"
#include "Metrics.h"
#include "http/HttpService.h"

namespace quillmarsh::service {

/// The composition root: builds everything that a configuration asks for and serves until it is told to stop.
class Application final
{
public:
    /// Opens the storage, loads the engines and binds the address. Throws ConfigError or StorageError.
    explicit Application(const Config& config);

    /// Where the service can be reached, as "http://127.0.0.1:8787".
    [[nodiscard]] std::string origin() const;
    /// Serves until `stop`. Returns when the last running request is answered.
    void run();
    /// Ends `run`. May be called from any thread.
    void stop() { server_.drainAndStop(); }

private:
    Metrics metrics_;
    Callers callers_;
    Allowance allowance_;
    EngineChain engines_;
    RewriteHandler rewrites_;
    UpdateFiles updates_;
    GuardedServer server_;
    HttpService service_;
    std::string address_;
    int port_ = 0;
};

} // namespace quillmarsh::service
