// Starting, being killed at any moment, and ending in good order.
#include <atomic>
#include <csignal>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/FakeUpstream.h"
#include "support/RawClient.h"
#include "support/RunningService.h"

using namespace quillmarsh::service::test;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

TEST(Lifetime, StartsInLessThanASecond)
{
    auto best = Clock::duration::max(); // the machine may be busy with other tests
    for (int i = 0; i < 5 && best >= 1s; ++i) {
        const auto before = timeWithoutProcessor(::getpid());
        const auto start = Clock::now();
        const RunningService service;
        EXPECT_EQ(service.get("/healthz")->status, 200);
        const auto waited =
            timeWithoutProcessor(::getpid()) - before + timeWithoutProcessor(service.process());
        best = std::min<Clock::duration>(best, Clock::now() - start - waited);
    }
    EXPECT_LT(best, 1s);
}

TEST(Lifetime, KilledAtAnyMomentItLosesNoCountedRewrite)
{
    const TemporaryFolder state;
    std::atomic<int> delivered = 0;
    int started = 0;
    for (int round = 0; round < 8; ++round) {
        RunningService service("[quota]\nlimit = 1000000\n", {}, state.path("s"));
        std::atomic<bool> killed = false;
        std::vector<std::thread> clients;
        std::atomic<int> sent = 0;
        for (int n = 0; n < 4; ++n) {
            clients.emplace_back([&] {
                while (!killed) {
                    ++sent;
                    delivered += service.rewrite("i am here").status == 200 ? 1 : 0;
                }
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(30 + 37 * round));
        service.signal(SIGKILL);
        killed = true;
        for (std::thread& client : clients) {
            client.join();
        }
        service.wait();
        started += sent;
    }
    const RunningService service("[quota]\nlimit = 1000000\n", {}, state.path("s"));
    const long counted = 1'000'000 - service.rewrite("i am here").remaining() - 1;
    EXPECT_GT(delivered, 0);
    EXPECT_GE(counted, delivered) << "a delivered rewrite was not counted";
    EXPECT_LE(counted, started) << "more was counted than was asked for";
}

TEST(Lifetime, SigtermFinishesWhatIsRunning)
{
    FakeUpstream upstream;
    std::atomic<bool> asked = false;
    upstream.script({[&](httplib::Response& response) {
        asked = true;
        std::this_thread::sleep_for(700ms);
        FakeUpstream::chat("Finished.")(response);
    }});
    RunningService service("[engines]\norder = openai\n[openai]\nbase_url = " + upstream.origin() + "\n");
    Answer answer;
    std::thread client([&] { answer = service.rewrite("i am here"); });
    ASSERT_TRUE(eventually([&] { return asked.load(); }));
    service.signal(SIGTERM);
    EXPECT_EQ(service.wait(), 0);
    client.join();
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.text(), "Finished.");
}

TEST(Lifetime, SigtermDoesNotWaitForIdleConnections)
{
    auto best = Clock::duration::max(); // a busy machine delays only some of them
    for (int i = 0; i < 5 && best >= 1s; ++i) {
        RunningService service;
        const RawClient idle(service.port());
        httplib::Client keptAlive("127.0.0.1", service.port());
        keptAlive.set_keep_alive(true);
        ASSERT_TRUE(keptAlive.Get("/healthz"));
        const auto start = Clock::now();
        service.signal(SIGTERM);
        EXPECT_EQ(service.wait(), 0);
        best = std::min(best, Clock::now() - start);
    }
    EXPECT_LT(best, 1s);
}

TEST(Lifetime, SigtermRightAfterTheStartEndsItToo)
{
    for (int i = 0; i < 5; ++i) {
        RunningService service;
        service.signal(SIGTERM);
        EXPECT_EQ(service.wait(), 0);
    }
}

TEST(Lifetime, ASecondInstanceOnTheSamePortSaysSo)
{
    const RunningService first;
    try {
        const RunningService second("[server]\nport = 0\n[engines]\norder = anthropic\n");
        FAIL() << "an engine without its key must not start";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("QUILLMARSH_SERVICE_ANTHROPIC_KEY"), std::string::npos);
    }
    const std::string command =
        std::string(SERVICE_BINARY) + " --port " + std::to_string(first.port()) + " 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 2);
}
