#include "ai/AIError.h"
#include "ai/CloudAIService.h"
#include "base/Http.h"
#include "support/CoroutineTest.h"
#include "support/ForeignSession.h"
#include "support/HttpTestServer.h"
#include "support/ImpatientSession.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

#include <limits>

using namespace quillmarsh;
using test::HttpTestServer;

/// The hosted back end over real sockets.
class tst_CloudAIService final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("QUILLMARSH_TEST_CLOUD_ORIGIN", server_.origin().toLatin1()); }

    void withoutAnInstructionTheBodyHoldsOnlyTheText()
    {
        server_.answer(200, R"({"text":"Done."})");
        QCOMPARE(rewrite(std::nullopt), QStringLiteral("Done."));
        const test::RecordedRequest& request = server_.requests().back();
        QCOMPARE(request.target, "/api/rewrite");
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.headers.value("content-type"), "application/json");
        QCOMPARE(request.headers.value("authorization"), "Bearer installation");
        QVERIFY(!request.headers.contains("x-api-key"));
        QCOMPARE(QJsonDocument::fromJson(request.body).object(), QJsonObject({{"text", " text\n"}}));
        std::ignore = rewrite(QStringLiteral("Shorter."));
        QCOMPARE(QJsonDocument::fromJson(server_.requests().back().body).object(),
                 QJsonObject({{"text", " text\n"}, {"instruction", "Shorter."}}));
    }

    void outcomes_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("description");
        const QString invalid = QStringLiteral("Invalid response from AI service");
        QTest::newRow("empty text") << 200 << QByteArray(R"({"text":""})") << invalid;
        QTest::newRow("no text") << 200 << QByteArray(R"({"error":"x"})") << invalid;
        QTest::newRow("wrong type elsewhere") << 200 << QByteArray(R"({"text":"good","code":7})") << invalid;
        QTest::newRow("fractional quota")
            << 200 << QByteArray(R"({"text":"good","quota":{"limit":1.5,"remaining":1}})") << invalid;
        QTest::newRow("half a quota")
            << 200 << QByteArray(R"({"text":"good","quota":{"limit":1}})") << invalid;
        QTest::newRow("html") << 200 << QByteArray("<html>") << invalid;
        QTest::newRow("broken UTF-8") << 200 << QByteArray("{\"text\":\"\xC3\x28\"}") << invalid;
        QTest::newRow("201") << 201 << QByteArray(R"({"text":"good"})")
                             << "API error (201): Cloud AI is temporarily unavailable.";
        QTest::newRow("429") << 429 << QByteArray(R"({"error":"Come back at noon."})")
                             << "Come back at noon.";
        QTest::newRow("429 mute") << 429 << QByteArray() << "Cloud limit reached. Please try again later.";
        QTest::newRow("429 wrong type") << 429 << QByteArray(R"({"error":"x","text":1})")
                                        << "Cloud limit reached. Please try again later.";
        QTest::newRow("401") << 401 << QByteArray()
                             << "API error (401): Quillmarsh Cloud didn’t accept this installation.";
        QTest::newRow("403") << 403 << QByteArray(R"({"error":"Not here."})") << "API error (403): Not here.";
        QTest::newRow("422") << 422 << QByteArray(R"({"error":"I can’t.","code":"x"})")
                             << "API error (422): I can’t.";
        QTest::newRow("503 html") << 503 << QByteArray("<h1>")
                                  << "API error (503): Cloud AI is temporarily unavailable.";
        QTest::newRow("nulls") << 503 << QByteArray(R"({"error":null,"quota":null})")
                               << "API error (503): Cloud AI is temporarily unavailable.";
    }

    void outcomes()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, description);
        server_.answer(status, body);
        QSignalSpy published(&usage_, &CloudUsage::quotaChanged);
        QString seen;
        try {
            std::ignore = rewrite(std::nullopt);
        } catch (const AIError& error) {
            seen = error.errorDescription();
        }
        QCOMPARE(seen, description);
        QVERIFY(published.isEmpty());
    }

    void aBodyDecodesAsAWholeOrNotAtAll_data()
    {
        QTest::addColumn<QByteArray>("member");
        QTest::addColumn<bool>("decodes");
        const auto row = [](const char* member, bool decodes) {
            QTest::newRow(member) << QByteArray(member) << decodes;
        };
        row(R"("error":"x","code":"y","unknown":[1])", true);
        row(R"("error":null,"code":null)", true);
        row(R"("error":1)", false);
        row(R"("error":{})", false);
        row(R"("code":true)", false);
        row(R"("code":[])", false);
        row(R"("quota":null)", true);
        row(R"("quota":"20")", false);
        row(R"("quota":[20,7])", false);
        row(R"("quota":{})", false);
        row(R"("quota":{"limit":20,"remaining":7,"resetsAt":null})", true);
        row(R"("quota":{"limit":20,"remaining":7,"resetsAt":1})", false);
        row(R"("quota":{"limit":null,"remaining":7})", false);
        row(R"("quota":{"limit":true,"remaining":7})", false);
        row(R"("quota":{"limit":"20","remaining":7})", false);
        row(R"("quota":{"limit":20,"remaining":7.5})", false);
        row(R"("quota":{"limit":2e1,"remaining":7.0})", true);
        row(R"("quota":{"limit":9223372036854775807,"remaining":-9223372036854775808})", true);
        row(R"("quota":{"limit":9223372036854775808,"remaining":7})", false);
        row(R"("quota":{"limit":1e300,"remaining":7})", false);
    }

    void aBodyDecodesAsAWholeOrNotAtAll()
    {
        QFETCH(QByteArray, member);
        QFETCH(bool, decodes);
        const CloudResponse answer = decodeCloudResponse(R"({"text":"good",)" + member + "}");
        QCOMPARE(answer.text, decodes ? std::optional(QStringLiteral("good")) : std::nullopt);
        QCOMPARE(answer.quota.has_value(), decodes && member.contains("limit"));
        QVERIFY(decodes || (!answer.error && !answer.code));
    }

    void wholeNumbersAreRead()
    {
        const auto quota = [](const char* body) { return decodeCloudResponse(body).quota; };
        QCOMPARE(quota(R"({"quota":{"limit":2e1,"remaining":7.0}})"), std::optional(CloudQuota{20, 7, {}}));
        QCOMPARE(quota(R"({"quota":{"limit":9223372036854775807,"remaining":-1,"resetsAt":""}})"),
                 std::optional(CloudQuota{std::numeric_limits<qint64>::max(), -1, QString()}));
    }

    void theQuotaComesWithEveryStatus()
    {
        for (const int status : {200, 201, 302, 400, 401, 403, 404, 429, 500, 503}) {
            server_.answer(status,
                           R"({"quota":{"limit":1000,"remaining":)" + QByteArray::number(status) + "}}");
            QVERIFY_EXCEPTION_THROWN(std::ignore = rewrite(std::nullopt), AIError);
            QCOMPARE(usage_.quota(), std::optional(CloudQuota{1000, status, std::nullopt}));
        }
    }

    void aQuotaBesideAMemberOfAWrongTypeIsNotRead()
    {
        const CloudQuota known{20, 7, std::nullopt};
        usage_.setQuota(known);
        server_.answer(429, R"({"error":["x"],"quota":{"limit":20,"remaining":0}})");
        QVERIFY_EXCEPTION_THROWN(std::ignore = rewrite(std::nullopt), AIError);
        QCOMPARE(usage_.quota(), std::optional(known));
    }

    void theQuotaIsPublishedBeforeAnErrorIsThrown()
    {
        server_.answer(
            429, R"({"error":"x","quota":{"limit":20,"remaining":0,"resetsAt":"2030-01-01T00:00:00Z"}})");
        QVERIFY_EXCEPTION_THROWN(std::ignore = rewrite(std::nullopt), AIError);
        QCOMPARE(usage_.quota(), std::optional(CloudQuota{20, 0, QStringLiteral("2030-01-01T00:00:00Z")}));
        QSignalSpy published(&usage_, &CloudUsage::quotaChanged);
        QVERIFY_EXCEPTION_THROWN(std::ignore = rewrite(std::nullopt), AIError);
        QVERIFY(published.isEmpty());
        server_.answer(200, R"({"text":"x","quota":{"limit":20,"remaining":19}})");
        std::ignore = rewrite(std::nullopt);
        QCOMPARE(usage_.quota(), std::optional(CloudQuota{20, 19, std::nullopt}));
    }

    void anUndecodableErrorLeavesTheQuota()
    {
        const CloudQuota known{20, 7, QStringLiteral("2030-01-01")};
        usage_.setQuota(known);
        QSignalSpy published(&usage_, &CloudUsage::quotaChanged);
        server_.answer(503, "<html><h1>Service unavailable</h1></html>");
        QVERIFY_EXCEPTION_THROWN(std::ignore = rewrite(std::nullopt), AIError);
        QCOMPARE(usage_.quota(), std::optional(known));
        QVERIFY(published.isEmpty());
    }

    void aStopDoesNotWaitForTheToken()
    {
        const qsizetype before = server_.requests().size();
        const std::stop_source asked;
        const auto token = [asked] { return tokenAfter(asked.get_token()); };
        CloudAIService service(sharedUrlSession(), token, usage_);
        std::stop_source stop;
        Task<QString> rewriting =
            service.rewriteText(QStringLiteral("text"), {}, std::nullopt, stop.get_token());
        QVERIFY(!rewriting.isReady());
        stop.request_stop();
        QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(rewriting)), Cancelled);
        std::stop_source(asked).request_stop();
        QTest::qWait(50);
        QCOMPARE(server_.requests().size(), before);
    }

    void theServiceHasAMinuteToAnswer()
    {
        server_.answer(200, R"({"text":"Done."})");
        test::ImpatientSession session;
        CloudAIService service(session, &tst_CloudAIService::token, usage_);
        std::ignore = test::runTask(service.rewriteText(QStringLiteral("text"), {}, std::nullopt, {}));
        QCOMPARE(session.timeouts, (QHash<QString, int>{{QStringLiteral("/api/rewrite"), 60'000}}));
    }

    void whatIsNotHttpIsAnInvalidResponse()
    {
        test::ForeignSession session;
        CloudAIService service(session, &tst_CloudAIService::token, usage_);
        try {
            std::ignore = test::runTask(service.rewriteText(QStringLiteral("text"), {}, std::nullopt, {}));
            QFAIL("no error");
        } catch (const AIError& error) {
            QCOMPARE(error.kind(), AIError::Kind::invalidResponse);
        }
    }

private:
    static Task<QString> token() { co_return QStringLiteral("installation"); }
    static Task<QString> tokenAfter(std::stop_token known)
    {
        co_await sleepFor(std::chrono::hours(1), known);
        co_return QStringLiteral("installation");
    }

    QString rewrite(const std::optional<QString>& instruction)
    {
        CloudAIService service(sharedUrlSession(), &tst_CloudAIService::token, usage_);
        return test::runTask(
            service.rewriteText(QStringLiteral(" text\n"), QStringLiteral("ignored"), instruction, {}));
    }

    HttpTestServer server_;
    CloudUsage usage_;
};

QTEST_GUILESS_MAIN(tst_CloudAIService)
#include "tst_CloudAIService.moc"
