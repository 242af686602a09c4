#pragma once

#include "support/CoroutineTest.h"
#include "support/HttpTestServer.h"
#include "support/Shortest.h"

#include <stop_token>

namespace quillmarsh::test {

/// Whether the request that `start` sends to a mute server has closed its connection 100 ms after its stop. A
/// busy machine delays only some of five.
template <typename Start>
bool closesAtOnce(const HttpTestServer& server, Start start)
{
    bool isClosed = true;
    qint64 best = std::numeric_limits<qint64>::max();
    for (int round = 0; round < 5 && isClosed && best > 100; ++round) {
        const size_t asked = server.requests().size();
        std::stop_source stop;
        Task<QString> request = start(stop.get_token());
        isClosed = QTest::qWaitFor([&] { return server.requests().size() == asked + 1; });
        const int closed = server.closedConnectionCount();
        const FairTimer timer;
        stop.request_stop();
        [&] { QVERIFY_EXCEPTION_THROWN(std::ignore = runTask(std::move(request)), Cancelled); }();
        isClosed &= QTest::qWaitFor([&] { return server.closedConnectionCount() == closed + 1; });
        best = std::min(best, timer.elapsed());
    }
    return isClosed && best <= 100;
}

} // namespace quillmarsh::test
