#pragma once

#include "support/HttpTestServer.h"

namespace quillmarsh::test {

/// Stands in for the hosted rewrite service where its client is tested alone. It takes only what the service
/// itself takes, with the same statuses and codes, and knows nothing of the service's code:
/// tst_ClientAndService compares the two. An accepted text comes back with "Rewritten: " in front.
class FakeRewriteService final
{
public:
    FakeRewriteService();

    [[nodiscard]] QString origin() const { return server_.origin(); }
    [[nodiscard]] const std::vector<RecordedRequest>& requests() const { return server_.requests(); }
    /// How many more rewrites are allowed.
    void setRemaining(int remaining) { remaining_ = remaining; }

private:
    void answer(const RecordedRequest& request, QTcpSocket& socket);

    HttpTestServer server_;
    int remaining_ = 1000;
};

} // namespace quillmarsh::test
