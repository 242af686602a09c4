#pragma once

#include "Metrics.h"
#include "http/GuardedServer.h"
#include "http/RewriteHandler.h"
#include "http/UpdateFiles.h"

namespace quillmarsh::service {

/// The routes of the service on a guarded server. Every answer that is not a file is JSON, also for unknown
/// paths.
class HttpService final
{
public:
    HttpService(GuardedServer& server, RewriteHandler& rewrites, const UpdateFiles& updates,
                Metrics& metrics);

private:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    void addRoutes();
    void get(const std::string& path, const std::string& name, Handler handler);
    httplib::Server::HandlerResponse checkRequest(const httplib::Request& request,
                                                  httplib::Response& response);
    void rewrite(const httplib::Request& request, httplib::Response& response,
                 const httplib::ContentReader& reader);

    GuardedServer& server_;
    RewriteHandler& rewrites_;
    const UpdateFiles& updates_;
    Metrics& metrics_;
};

} // namespace quillmarsh::service
