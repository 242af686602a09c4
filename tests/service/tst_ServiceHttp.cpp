// The shipped binary over real sockets: the wire contract of every answer, and clients that do not behave.
#include <atomic>
#include <fstream>

#include <gtest/gtest.h>

#include "support/RawClient.h"
#include "support/RunningService.h"

using namespace quillmarsh::service::test;
using namespace std::chrono_literals;

namespace {

const httplib::Headers json{{"Authorization", bearer(1)}, {"Content-Type", "application/json"}};

std::string head(size_t length, const std::string& more = {})
{
    return "POST /api/rewrite HTTP/1.1\r\nHost: x\r\nAuthorization: " + bearer(1) +
           "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(length) + "\r\n" + more +
           "\r\n";
}

void expectProblem(const Answer& answer, int status, const std::string& code)
{
    EXPECT_EQ(answer.status, status) << code;
    ASSERT_TRUE(answer.body.is_object()) << code;
    EXPECT_EQ(answer.code(), code);
    EXPECT_TRUE(answer.body.contains("error") && answer.body["error"].is_string()) << code;
    ASSERT_TRUE(answer.body.contains("quota")) << code;
    EXPECT_TRUE(answer.body["quota"]["limit"].is_number_integer()) << code;
    EXPECT_TRUE(answer.body["quota"]["remaining"].is_number_integer()) << code;
}

/// The most memory the process has had so far, in MiB.
long peakMemory(const RunningService& service)
{
    std::ifstream status("/proc/" + std::to_string(service.process()) + "/status");
    std::string word;
    long kilobytes = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> kilobytes;
    return kilobytes / 1024;
}

/// Sends `piece` again and again, until the service closes the connection or `patience` is over.
void flood(const RawClient& client, const std::string& piece, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end && client.send(piece)) {
    }
}

} // namespace

TEST(Http, AnswersARewriteWithTextAndQuota)
{
    const RunningService service("[quota]\nlimit = 7\n");
    const Answer answer = service.rewrite("i am here");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.text(), "I am here.");
    EXPECT_EQ(answer.body["quota"]["limit"], 7);
    EXPECT_EQ(answer.remaining(), 6);
    EXPECT_TRUE(answer.body["quota"]["resetsAt"].get<std::string>().ends_with("T00:00:00Z"));
    EXPECT_EQ(answer.body.size(), 2U);
    EXPECT_EQ(answer.headers.find("Content-Type")->second, "application/json");
    EXPECT_EQ(service.rewrite("i am here", 2).remaining(), 6) << "another caller has an allowance of its own";
}

TEST(Http, OnlyWhatSucceedsIsCounted)
{
    const RunningService service("[quota]\nlimit = 2\n");
    expectProblem(service.rewrite("Hello there.", 1, "Translate to French"), 422,
                  "instruction_not_supported");
    expectProblem(service.post("{}", json), 400, "missing_text");
    EXPECT_EQ(service.rewrite("i am here").remaining(), 1);
    EXPECT_EQ(service.rewrite("i am here").remaining(), 0);
    const Answer refused = service.rewrite("i am here");
    expectProblem(refused, 429, "quota_exceeded");
    EXPECT_EQ(refused.remaining(), 0);
    EXPECT_GT(std::stol(refused.headers.find("Retry-After")->second), 0);
    EXPECT_EQ(service.rewrite("i am here", 2).status, 200);
}

TEST(Http, RefusesCallersItDoesNotKnow)
{
    const TemporaryFolder folder;
    const std::string tokens = folder.write("tokens", token(1) + "\n");
    const RunningService service("[callers]\nregistration = known\ntokens_file = " + tokens + "\n");
    EXPECT_EQ(service.rewrite("i am here", 1).status, 200);
    expectProblem(service.rewrite("i am here", 2), 403, "unknown_installation");
    expectProblem(service.post(rewriteBody("a"), {{"Content-Type", "application/json"}}), 401,
                  "missing_token");
    expectProblem(
        service.post(rewriteBody("a"), {{"Authorization", "Bearer x"}, {"Content-Type", "application/json"}}),
        401, "invalid_token");
}

TEST(Http, RefusesRequestsThatAreNotOnes)
{
    const RunningService service;
    expectProblem(service.post("{", json), 400, "invalid_json");
    expectProblem(service.post("{\"text\":\"\xff\"}", json), 400, "invalid_utf8");
    expectProblem(service.post(R"({"text":[]})", json), 400, "wrong_type");
    expectProblem(service.post(R"({"text":"a","x":1})", json), 400, "unknown_member");
    expectProblem(service.post(rewriteBody(std::string(10'001, 'a')), json), 413, "text_too_long");
    expectProblem(service.post(rewriteBody(std::string(300'000, 'a')), json), 413, "body_too_large");
    expectProblem(
        service.post(rewriteBody("a"), {{"Authorization", bearer(1)}, {"Content-Type", "text/plain"}}), 415,
        "unsupported_media_type");
    auto gzip = json;
    gzip.emplace("Content-Encoding", "gzip");
    expectProblem(service.post("x", gzip), 415, "unsupported_encoding");
}

TEST(Http, OtherAddressesAndMethodsAnswerInJsonToo)
{
    const RunningService service;
    const auto missing = service.get("/nothing");
    EXPECT_EQ(missing->status, 404);
    EXPECT_EQ(nlohmann::json::parse(missing->body)["code"], "not_found");
    const auto wrong = service.get("/api/rewrite");
    EXPECT_EQ(wrong->status, 405);
    EXPECT_EQ(nlohmann::json::parse(wrong->body)["code"], "method_not_allowed");
    EXPECT_EQ(service.get("/healthz")->status, 200);
}

TEST(Http, MetricsCountAnswersByStatus)
{
    const RunningService service;
    (void)service.rewrite("i am here");
    (void)service.rewrite("i am here", 1, "Sing it");
    const auto metrics = service.get("/metrics");
    EXPECT_EQ(metrics->get_header_value("Content-Type"), "text/plain; version=0.0.4");
    for (const char* line : {"quillmarsh_answers_total{route=\"rewrite\",status=\"200\"} 1\n",
                             "quillmarsh_answers_total{route=\"rewrite\",status=\"422\"} 1\n",
                             "quillmarsh_engine_attempts_total{engine=\"offline\",outcome=\"cannot\"} 1\n",
                             "quillmarsh_answer_seconds_count{route=\"rewrite\"} 2\n"}) {
        EXPECT_NE(metrics->body.find(line), std::string::npos) << line;
    }
}

TEST(Http, AChunkedBodyHasTheSameLimit)
{
    const RunningService service;
    const RawClient client(service.port());
    client.send("POST /api/rewrite HTTP/1.1\r\nHost: x\r\nAuthorization: " + bearer(1) +
                "\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n");
    const std::string chunk = "4000\r\n" + std::string(0x4000, 'a') + "\r\n";
    for (int i = 0; i < 20 && client.send(chunk); ++i) {
    }
    const std::string answer = client.receive();
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 413")) << answer.substr(0, 60);
    EXPECT_NE(answer.find("body_too_large"), std::string::npos);
}

TEST(Http, AChunkedBodyThatFitsIsRead)
{
    const RunningService service;
    const RawClient client(service.port());
    client.send("POST /api/rewrite HTTP/1.1\r\nHost: x\r\nConnection: close\r\nAuthorization: " + bearer(1) +
                "\r\nContent-Type: application/json\r\nTransfer-Encoding: "
                "chunked\r\n\r\n8\r\n{\"text\":\r\n4\r\n\"a\"}\r\n0\r\n\r\n");
    EXPECT_TRUE(client.receive().starts_with("HTTP/1.1 200"));
}

TEST(Http, ASlowClientIsCutOffHoweverBusyItLooks)
{
    const RunningService service("[server]\nrequest_seconds = 1\n");
    EXPECT_LE(shortest(4s,
                       [&] {
                           const RawClient client(service.port());
                           client.send(head(1000));
                           for (int piece = 0; piece < 80 && client.send("a"); ++piece) {
                               if (!client.receive(100ms).empty()) {
                                   break;
                               }
                           }
                       }),
              4s);
    EXPECT_EQ(service.rewrite("i am here").status, 200);
}

TEST(Http, AClientThatStopsInItsHeaderIsCutOff)
{
    const RunningService service("[server]\nrequest_seconds = 1\n");
    EXPECT_LE(shortest(4s,
                       [&] {
                           const RawClient client(service.port());
                           client.send("POST /api/rewrite HTTP/1.1\r\nHost:");
                           (void)client.receive(8s);
                       }),
              4s);
}

TEST(Http, ABodyThatEndsTooEarlyIsNoRewrite)
{
    const RunningService service;
    const RawClient client(service.port());
    client.send(head(100) + "{\"text\":\"i am");
    client.closeWriting();
    EXPECT_FALSE(client.receive().starts_with("HTTP/1.1 200"));
    EXPECT_EQ(service.rewrite("i am here").remaining(), 999);
}

TEST(Http, NonsenseInsteadOfHttpHurtsNobody)
{
    const RunningService service;
    for (const std::string& bytes :
         {std::string("\x16\x03\x01\x02"), std::string(20'000, 'A') + "\r\n\r\n",
          std::string("GET /\r\n\r\n"),
          std::string("POST /api/rewrite HTTP/1.1\r\nContent-Length: -1\r\n\r\n"),
          std::string("POST /api/rewrite HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n"),
          std::string(64, '\0')}) {
        const RawClient client(service.port());
        client.send(bytes);
        client.closeWriting();
        EXPECT_FALSE(client.receive(2s).starts_with("HTTP/1.1 200"));
    }
    EXPECT_EQ(service.get("/healthz")->status, 200);
}

TEST(Http, ARequestWithoutEndIsNotCollected)
{
    const std::string large(256UL * 1024UL, '1');
    const std::string post = "POST /nothing HTTP/1.1\r\nHost: x\r\n";
    const std::string rewrite = "POST /api/rewrite HTTP/1.1\r\nHost: x\r\nAuthorization: " + bearer(1) +
                                "\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n";
    std::string headers;
    while (headers.size() < large.size()) {
        headers += "a: b\r\n";
    }
    const std::vector<std::pair<std::string, std::string>> requests{
        {"GET /", large},
        {"GET / HTTP/1.1\r\nA: ", large},
        {"GET / HTTP/1.1\r\n", headers},
        {post + "\r\n", large},
        {post + "Transfer-Encoding: chunked\r\n\r\nfffffffff\r\n", large},
        {post + "Content-Length: 99999999999\r\n\r\n", large},
        {"PRI * HTTP/1.1\r\nHost: x\r\n\r\n", large},
        {rewrite, large},
        {rewrite + "fffffffff\r\n", large},
    };
    const RunningService service;
    EXPECT_EQ(service.rewrite("i am here").status, 200);
    const long before = peakMemory(service);
    for (const auto& [head, piece] : requests) {
        const auto start = std::chrono::steady_clock::now();
        const RawClient client(service.port());
        client.send(head);
        flood(client, piece, 8s);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 4s) << head;
    }
    EXPECT_LT(peakMemory(service) - before, 32);
    EXPECT_EQ(service.rewrite("i am here").status, 200);
}

TEST(Http, ABodyThatNobodyReadsIsNoRequestOfItsOwn)
{
    const RunningService service;
    const std::string inner = "GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n";
    for (const std::string& outer :
         {"GET /healthz HTTP/1.1\r\nHost: x\r\nContent-Length: " + std::to_string(inner.size()) + "\r\n\r\n" +
              inner,
          "GET /healthz HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n" + inner,
          "PUT /healthz HTTP/1.1\r\nHost: x\r\nContent-Length: " + std::to_string(inner.size()) + "\r\n\r\n" +
              inner}) {
        const RawClient client(service.port());
        client.send(outer);
        const std::string answer = client.receive(2s);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 ")) << answer;
        EXPECT_EQ(answer.find("HTTP/1.1 ", 1), std::string::npos) << answer;
    }
}

TEST(Http, ACrowdOfUnfinishedRequestsKeepNobodyOutForLong)
{
    const RunningService service("[server]\nrequest_seconds = 1\n");
    std::vector<std::unique_ptr<RawClient>> crowd;
    for (int n = 0; n < 900; ++n) {
        crowd.push_back(std::make_unique<RawClient>(service.port()));
        crowd.back()->send("POST /api/rewrite HTTP/1.1\r\nHost:");
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(service.rewrite("i am here").status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 15s);
    EXPECT_LT(peakMemory(service), 400);
}

TEST(Http, SeveralRequestsShareAConnection)
{
    const RunningService service;
    httplib::Client client("127.0.0.1", service.port());
    client.set_keep_alive(true);
    for (int i = 0; i < 20; ++i) {
        const auto result = client.Post("/api/rewrite", {{"Authorization", bearer(1)}},
                                        rewriteBody("i am here"), "application/json");
        ASSERT_TRUE(result);
        EXPECT_EQ(result->status, 200);
    }
}

TEST(Http, MoreClientsThanThreadsAreAllAnswered)
{
    const RunningService service("[server]\nconnections = 4\n");
    std::atomic<int> good = 0;
    std::vector<std::thread> clients;
    for (int n = 0; n < 24; ++n) {
        clients.emplace_back([&, n] { good += service.rewrite("i am here", n).status == 200 ? 1 : 0; });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(good, 24);
}

TEST(Http, UpdatesAreServedFromTheConfiguration)
{
    const TemporaryFolder folder;
    const std::string manifest =
        folder.write("update.json", R"({"version":"1.2","url":"https://example.org/q.zip"})");
    const std::string archive = folder.write("Quillmarsh.zip", std::string(200'000, 'z'));
    const RunningService files("[updates]\nmanifest_file = " + manifest + "\ndownload_file = " + archive +
                               "\n");
    EXPECT_EQ(files.get("/update.json")->body, readWhole(manifest));
    EXPECT_EQ(files.get("/update.json")->get_header_value("Content-Type"), "application/json");
    EXPECT_EQ(files.get("/api/download")->body, readWhole(archive));
    folder.write("update.json", R"({"version":"v2","url":"https://example.org/q.zip"})");
    EXPECT_EQ(files.get("/update.json")->status, 503);

    folder.write("update.json", R"({"version":"1.3","url":"https://example.org/q3.zip"})");
    const RunningService redirects("[updates]\nmanifest_file = " + manifest + "\n");
    EXPECT_EQ(redirects.get("/api/download")->status, 302);
    EXPECT_EQ(redirects.get("/api/download")->get_header_value("Location"), "https://example.org/q3.zip");

    const RunningService bare;
    EXPECT_EQ(bare.get("/update.json")->status, 404);
    EXPECT_EQ(bare.get("/api/download")->status, 404);
}
