#include <arpa/inet.h>
#include <array>
#include <ctime>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "engine/AnthropicEngine.h"
#include "engine/EngineChain.h"
#include "engine/OpenAIEngine.h"
#include "engine/Prompt.h"
#include "support/FakeUpstream.h"
#include "support/RunningService.h"

using namespace quillmarsh::service;
using namespace quillmarsh::service::test;
using namespace std::chrono_literals;
using Verdict = EngineAnswer::Verdict;
using Json = nlohmann::json;

namespace {

UpstreamConfig configFor(const std::string& url)
{
    UpstreamConfig config;
    config.baseUrl = url;
    config.model = "test-model";
    config.key = "secret";
    config.connectLimit = 500ms;
    config.answerLimit = 2s;
    config.breakerFailures = 3;
    config.breakerPause = 60s;
    return config;
}

Engine::Deadline soon()
{
    return std::chrono::steady_clock::now() + 20s;
}

class Scripted final : public Engine
{
public:
    explicit Scripted(EngineAnswer answer) : answer_(std::move(answer)) {}
    [[nodiscard]] std::string name() const override { return "scripted"; }
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob&, Deadline) override { return answer_; }

private:
    EngineAnswer answer_;
};

EngineAnswer chainOf(std::vector<EngineAnswer> answers)
{
    static Metrics metrics;
    std::vector<std::unique_ptr<Engine>> engines;
    for (EngineAnswer& answer : answers) {
        engines.push_back(std::make_unique<Scripted>(std::move(answer)));
    }
    return EngineChain(std::move(engines), 10s, metrics).rewrite({"text", std::nullopt});
}

} // namespace

TEST(Chain, TheFirstEngineThatCanAnswers)
{
    const auto cannot = EngineAnswer::cannotDo("c", "cannot");
    const auto failed = EngineAnswer::failed("f", "failed", 7s);
    EXPECT_EQ(chainOf({EngineAnswer::done("a"), EngineAnswer::done("b")}).text, "a");
    EXPECT_EQ(chainOf({cannot, failed, EngineAnswer::done("b")}).text, "b");
    EXPECT_EQ(chainOf({cannot, EngineAnswer::cannotDo("d", "neither")}).code, "d");
    EXPECT_EQ(chainOf({failed, cannot}).verdict, Verdict::Failed);
    EXPECT_EQ(chainOf({cannot, failed}).verdict, Verdict::Failed);
    EXPECT_EQ(chainOf({failed, cannot}).retryAfter, 7s);
    EXPECT_EQ(chainOf({EngineAnswer::done("")}).code, "empty_answer");
}

TEST(Prompts, HoldTheTaskAndNeverTheText)
{
    EXPECT_NE(systemPrompt(std::nullopt).find("Fix grammar"), std::string::npos);
    EXPECT_NE(systemPrompt("").find("Fix grammar"), std::string::npos);
    EXPECT_NE(systemPrompt("Sing.").find("Your task: Sing."), std::string::npos);
    EXPECT_EQ(withEdgesOf("\n  text \n", " answer\n"), "\n  answer \n");
    EXPECT_EQ(withEdgesOf("text", ""), "");
}

TEST(OpenAI, SendsTheJobAndReadsTheFirstChoice)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::chat("Better.")});
    OpenAIEngine engine(configFor(upstream.origin() + "/v1"));
    const EngineAnswer answer = engine.rewrite({"worse", "Improve it."}, soon());
    EXPECT_EQ(answer.verdict, Verdict::Done);
    EXPECT_EQ(answer.text, "Better.");
    ASSERT_EQ(upstream.requests().size(), 1U);
    const auto request = upstream.requests()[0];
    EXPECT_EQ(request.path, "/v1/chat/completions");
    EXPECT_EQ(request.headers.find("Authorization")->second, "Bearer secret");
    const Json body = Json::parse(request.body);
    EXPECT_EQ(body["model"], "test-model");
    EXPECT_EQ(body["messages"][0]["role"], "system");
    EXPECT_EQ(body["messages"][0]["content"], systemPrompt("Improve it."));
    EXPECT_EQ(body["messages"][1], (Json{{"role", "user"}, {"content", "worse"}}));
}

TEST(OpenAI, ALocalServerNeedsNoKey)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::chat("Better.")});
    UpstreamConfig config = configFor(upstream.origin());
    config.key.clear();
    EXPECT_EQ(OpenAIEngine(config).rewrite({"worse", std::nullopt}, soon()).text, "Better.");
    EXPECT_EQ(upstream.requests()[0].headers.count("Authorization"), 0U);
}

TEST(Anthropic, SendsTheJobAndReadsTheFirstBlock)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::message("Better.")});
    AnthropicEngine engine(configFor(upstream.origin()));
    EXPECT_EQ(engine.rewrite({"worse", std::nullopt}, soon()).text, "Better.");
    const auto request = upstream.requests()[0];
    EXPECT_EQ(request.path, "/v1/messages");
    EXPECT_EQ(request.headers.find("x-api-key")->second, "secret");
    EXPECT_EQ(request.headers.find("anthropic-version")->second, "2023-06-01");
    EXPECT_EQ(request.headers.count("Authorization"), 0U);
    const Json body = Json::parse(request.body);
    EXPECT_EQ(body["messages"], (Json::array({Json{{"role", "user"}, {"content", "worse"}}})));
    EXPECT_EQ(body["system"], systemPrompt(std::nullopt));
    EXPECT_GT(body["max_tokens"], 0);
}

TEST(Upstreams, AnAnswerThatWasCutOffIsNone)
{
    FakeUpstream upstream;
    for (const char* reason : {"length", "content_filter"}) {
        upstream.script({FakeUpstream::chat("Half of", reason)});
        EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).code,
                  "engine_answer_unreadable");
    }
    for (const char* reason : {"max_tokens", "model_context_window_exceeded", "refusal"}) {
        upstream.script({FakeUpstream::message("Half of", reason)});
        EXPECT_EQ(AnthropicEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).code,
                  "engine_answer_unreadable");
    }
}

TEST(Upstreams, AnswersOfAnyOtherShapeAreFailures)
{
    FakeUpstream upstream;
    for (const char* body : {"", "nonsense", "[]", "null", "{}", R"({"choices":[]})", R"({"choices":{}})",
                             R"({"choices":[1]})", R"({"choices":[{"message":null}]})",
                             R"({"choices":[{"message":{"content":null}}],"content":[{"type":"image"}]})",
                             R"({"choices":"x","content":"x"})", R"({"content":[]})"}) {
        upstream.script({FakeUpstream::status(200, body)});
        UpstreamConfig config = configFor(upstream.origin());
        EXPECT_EQ(OpenAIEngine(config).rewrite({"worse", {}}, soon()).verdict, Verdict::Failed) << body;
        EXPECT_EQ(AnthropicEngine(config).rewrite({"worse", {}}, soon()).verdict, Verdict::Failed) << body;
    }
}

TEST(Upstreams, A5xxIsRetriedOnceAndA4xxIsNot)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::status(500), FakeUpstream::chat("Better.")});
    EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).text, "Better.");
    EXPECT_EQ(upstream.requests().size(), 2U);
    upstream.script({FakeUpstream::status(502)});
    EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).code,
              "engine_unavailable");
    EXPECT_EQ(upstream.requests().size(), 2U);
    for (const int status : {400, 401, 403, 404}) {
        upstream.script({FakeUpstream::status(status)});
        EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).code,
                  "engine_refused_" + std::to_string(status));
        EXPECT_EQ(upstream.requests().size(), 1U) << status;
    }
}

TEST(Upstreams, ARedirectionIsNotFollowed)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::status(302, "", {{"Location", upstream.origin() + "/elsewhere"}})});
    EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).verdict,
              Verdict::Failed);
    EXPECT_EQ(upstream.requests().size(), 1U);
}

TEST(Upstreams, NobodyThereIsAFailureWithinTheLimit)
{
    UpstreamConfig config = configFor("http://127.0.0.1:1");
    EXPECT_LE(
        shortest(
            3s,
            [&] {
                EXPECT_EQ(OpenAIEngine(config).rewrite({"worse", {}}, soon()).code, "engine_unavailable");
            }),
        3s);
}

TEST(Upstreams, AConnectionThatIsNotMadeInTimeIsTriedOnceMore)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(::listen(listener, 0), 0);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    std::array<int, 4> queue{}; // fills the backlog: further connections are not answered
    for (int& waiting : queue) {
        waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        (void)::connect(waiting, reinterpret_cast<sockaddr*>(&address), length);
    }
    UpstreamConfig config = configFor("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
    config.connectLimit = 200ms;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OpenAIEngine(config).rewrite({"worse", {}}, soon()).code, "engine_unavailable");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 600ms) << "200 ms, a pause of 200 ms, 200 ms";
    for (const int socket : queue) {
        ::close(socket);
    }
    ::close(listener);
}

TEST(Upstreams, ASilentUpstreamIsLeftAfterItsLimitAndNotAskedTwice)
{
    FakeUpstream upstream;
    UpstreamConfig config = configFor(upstream.origin());
    config.answerLimit = 200ms;
    const auto ask = [&] {
        upstream.script({[](httplib::Response&) { std::this_thread::sleep_for(1s); }});
        EXPECT_EQ(OpenAIEngine(config).rewrite({"worse", {}}, soon()).code, "engine_timeout");
    };
    EXPECT_LE(shortest(900ms, ask), 900ms);
    EXPECT_TRUE(eventually([&] { return !upstream.requests().empty(); }));
    EXPECT_EQ(upstream.requests().size(), 1U);
}

TEST(Upstreams, TheDeadlineOfTheWholeChainCounts)
{
    FakeUpstream upstream;
    upstream.script({[](httplib::Response&) { std::this_thread::sleep_for(1s); }});
    const UpstreamConfig config = configFor(upstream.origin());
    const auto ask = [&] {
        (void)OpenAIEngine(config).rewrite({"worse", {}}, std::chrono::steady_clock::now() + 300ms);
    };
    EXPECT_LE(shortest(900ms, ask), 900ms);
}

TEST(Upstreams, RetryAfterIsHonoured)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::status(429, "{}", {{"Retry-After", "30"}})});
    OpenAIEngine engine(configFor(upstream.origin()));
    const EngineAnswer busy = engine.rewrite({"worse", {}}, soon());
    EXPECT_EQ(busy.code, "engine_busy");
    EXPECT_EQ(busy.retryAfter, 30s);
    const EngineAnswer again = engine.rewrite({"worse", {}}, soon());
    EXPECT_EQ(again.code, "engine_unavailable");
    EXPECT_GT(again.retryAfter, 25s);
    EXPECT_EQ(upstream.requests().size(), 1U) << "the upstream asked to be left alone";
}

TEST(Upstreams, RetryAfterMayBeADate)
{
    FakeUpstream upstream;
    const std::time_t then = std::time(nullptr) + 40;
    std::array<char, 64> date{};
    std::strftime(date.data(), date.size(), "%a, %d %b %Y %H:%M:%S GMT", std::gmtime(&then));
    upstream.script({FakeUpstream::status(429, "{}", {{"Retry-After", date.data()}})});
    OpenAIEngine engine(configFor(upstream.origin()));
    const EngineAnswer busy = engine.rewrite({"worse", {}}, soon());
    EXPECT_GE(busy.retryAfter, 35s);
    EXPECT_LE(busy.retryAfter, 41s);
}

TEST(Upstreams, AnAnswerThatBreaksOffIsNotAskedForTwice)
{
    FakeUpstream upstream;
    upstream.script({[](httplib::Response& response) {
        response.set_content_provider(1000, "application/json", [](size_t, size_t, httplib::DataSink& sink) {
            sink.write("{", 1);
            return false; // the connection ends here
        });
    }});
    EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).code,
              "engine_unavailable");
    EXPECT_EQ(upstream.requests().size(), 1U);
}

TEST(Upstreams, WhatAnotherEngineUsedUpIsNotHeldAgainstAnUpstream)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::chat("Better.")});
    OpenAIEngine engine(configFor(upstream.origin()));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(engine.rewrite({"worse", {}}, std::chrono::steady_clock::now()).code, "engine_timeout");
    }
    EXPECT_EQ(upstream.requests().size(), 0U) << "there was no time left to hear an answer";
    EXPECT_EQ(engine.rewrite({"worse", {}}, soon()).text, "Better.") << "the circuit is still closed";
}

TEST(Upstreams, AShortRetryAfterOfA503IsWaitedFor)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::status(503, "{}", {{"Retry-After", "1"}}), FakeUpstream::chat("Better.")});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OpenAIEngine(configFor(upstream.origin())).rewrite({"worse", {}}, soon()).text, "Better.");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

TEST(Upstreams, TheCircuitOpensAfterFailuresInARow)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::status(500)});
    OpenAIEngine engine(configFor(upstream.origin()));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(engine.rewrite({"worse", {}}, soon()).verdict, Verdict::Failed);
    }
    const size_t asked = upstream.requests().size();
    EXPECT_EQ(engine.rewrite({"worse", {}}, soon()).code, "engine_unavailable");
    EXPECT_EQ(upstream.requests().size(), asked);
}

TEST(Breaker, LetsOneRequestTryWhetherTheUpstreamIsBack)
{
    CircuitBreaker::Clock::time_point now{};
    CircuitBreaker breaker(2, 10s, [&] { return now; });
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(breaker.allows());
        breaker.failed();
    }
    EXPECT_FALSE(breaker.allows());
    EXPECT_EQ(breaker.wait(), 10s);
    now += 11s;
    EXPECT_TRUE(breaker.allows());
    EXPECT_FALSE(breaker.allows()) << "one at a time";
    breaker.failed();
    EXPECT_FALSE(breaker.allows());
    now += 11s;
    EXPECT_TRUE(breaker.allows());
    breaker.succeeded();
    EXPECT_TRUE(breaker.allows());
    EXPECT_TRUE(breaker.allows());
}

TEST(Service, AsksTheNextEngineWhenOneCannotOrFails)
{
    FakeUpstream upstream;
    upstream.script({FakeUpstream::chat("Chanté.")});
    const RunningService service(
        "[engines]\norder = offline, openai\n[openai]\nbase_url = " + upstream.origin() + "\n");
    EXPECT_EQ(service.rewrite("i am here").text(), "I am here.");
    EXPECT_EQ(upstream.requests().size(), 0U);
    EXPECT_EQ(service.rewrite("i am here", 1, "Translate to French").text(), "Chanté.");
    upstream.script({FakeUpstream::status(500)});
    const Answer failed = service.rewrite("i am here", 1, "Translate to French");
    EXPECT_EQ(failed.status, 503);
    EXPECT_EQ(failed.code(), "engine_unavailable");
    EXPECT_EQ(failed.remaining(), 998);
}
