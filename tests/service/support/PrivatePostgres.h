#pragma once

#include <string>
#include <sys/types.h>

#include "support/TestTools.h"

namespace quillmarsh::service::test {

/// A PostgreSQL server of the test's own: its data in a temporary folder, reachable only over a socket in
/// that folder, run by an unprivileged user (the server refuses root).
class PrivatePostgres final
{
public:
    /// Throws when the server cannot be made or started.
    PrivatePostgres();
    ~PrivatePostgres();
    PrivatePostgres(const PrivatePostgres&) = delete;
    PrivatePostgres& operator=(const PrivatePostgres&) = delete;

    [[nodiscard]] std::string connection() const;
    /// Ends the server at once, as a crash would, and starts it again on the same data.
    void crashAndRestart();

private:
    void run(const std::string& command) const;
    void start();
    void stop();

    TemporaryFolder folder_;
    std::string prefix_; ///< becomes the unprivileged user
};

} // namespace quillmarsh::service::test
