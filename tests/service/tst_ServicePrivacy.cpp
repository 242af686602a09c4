// A canary goes through every path that a text can take, and is then looked for everywhere the service
// writes.
#include <csignal>

#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "support/FakeUpstream.h"
#include "support/PrivatePostgres.h"
#include "support/RunningService.h"

using namespace quillmarsh::service::test;

namespace {

const std::string canary = "Zwitscherkanarie";
const std::string instructionCanary = "Anweisungskanarie";

/// Good, refused, failing and broken requests, all of which carry the canaries.
void sendEverything(const RunningService& service, FakeUpstream& upstream)
{
    upstream.script({FakeUpstream::chat(canary + " answer")});
    EXPECT_EQ(service.rewrite("i know " + canary + " well").status, 200);
    EXPECT_EQ(service.rewrite("i know " + canary + " well", 2, "Sing " + instructionCanary).status, 200);
    for (const auto& reply :
         {FakeUpstream::status(500, canary), FakeUpstream::status(401, canary),
          FakeUpstream::status(200, canary), FakeUpstream::status(200, "{\"error\":\"" + canary + "\"}")}) {
        upstream.script({reply});
        EXPECT_EQ(service.rewrite(canary, 3, "Sing " + instructionCanary).status, 503);
    }
    const httplib::Headers json{{"Authorization", bearer(4)}, {"Content-Type", "application/json"}};
    for (const std::string& body :
         {"{\"text\":\"" + canary, "{\"" + canary + "\":1}", canary, "{\"text\":\"" + canary + "\xff\"}",
          "{\"text\":[\"" + canary + "\"]}", rewriteBody(canary + std::string(10'000, 'x'))}) {
        EXPECT_GE(service.post(body, json).status, 400);
    }
    EXPECT_EQ(service.post(rewriteBody(canary), {{"Authorization", "Bearer " + canary}}).status, 401);
    (void)service.get("/" + canary);
    (void)service.get("/update.json?" + canary);
}

void expectNoCanary(const std::string& bytes, const std::string& where)
{
    for (const std::string& secret :
         {canary, instructionCanary, token(1), token(2), std::string("geheim-schluessel")}) {
        EXPECT_EQ(bytes.find(secret), std::string::npos) << secret << " in " << where;
    }
}

void expectCleanFolder(const std::string& folder)
{
    size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            ++files;
            expectNoCanary(readWhole(entry.path()), entry.path());
        }
    }
    EXPECT_GT(files, 0U);
}

std::string configFor(const FakeUpstream& upstream)
{
    return "[engines]\norder = offline, openai\n[openai]\nbase_url = " + upstream.origin() +
           "\nbreaker_failures = 100\n";
}

const RunningService::Variables secrets{{"QUILLMARSH_SERVICE_OPENAI_KEY", "geheim-schluessel"}};

} // namespace

TEST(Privacy, NoTextInLogMetricsOrDatabase)
{
    FakeUpstream upstream;
    RunningService service(configFor(upstream), secrets);
    sendEverything(service, upstream);
    expectNoCanary(service.get("/metrics")->body, "metrics");
    service.signal(SIGTERM);
    EXPECT_EQ(service.wait(), 0);
    EXPECT_NE(service.log(), "") << "failures are logged";
    expectNoCanary(service.log(), "log");
    expectCleanFolder(service.stateFolder());
}

TEST(Privacy, AnErrorNeverRepeatsWhatTheUpstreamSaid)
{
    FakeUpstream upstream;
    const RunningService service(configFor(upstream), secrets);
    upstream.script({FakeUpstream::status(400, "{\"error\":{\"message\":\"" + canary + "\"}}")});
    const Answer answer = service.rewrite(canary, 1, "Sing");
    EXPECT_EQ(answer.status, 503);
    expectNoCanary(answer.body.dump(), "answer");
}

TEST(Privacy, ACrashLeavesNoCoreFile)
{
    RunningService service;
    const std::string limits = readWhole("/proc/" + std::to_string(service.process()) + "/limits");
    EXPECT_NE(limits.find("Max core file size        0                    0"), std::string::npos) << limits;
    // what belongs to root in /proc cannot be dumped, piped to a crash reporter or looked into by its own
    // user
    struct stat process = {};
    ASSERT_EQ(::stat(("/proc/" + std::to_string(service.process()) + "/environ").c_str(), &process), 0);
    EXPECT_EQ(process.st_uid, 0U);
}

TEST(Privacy, NothingInTheDatabaseAfterBeingKilled)
{
    FakeUpstream upstream;
    RunningService service(configFor(upstream), secrets);
    sendEverything(service, upstream);
    service.signal(SIGKILL);
    EXPECT_EQ(service.wait(), 128 + SIGKILL);
    expectNoCanary(service.log(), "log");
    expectCleanFolder(service.stateFolder());
}
