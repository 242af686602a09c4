#include "ai/AIError.h"
#include "ai/AnthropicService.h"
#include "ai/JsonBody.h"
#include "ai/SystemPrompt.h"
#include "base/Http.h"
#include "support/ClosesAtOnce.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/HttpTestServer.h"
#include "support/ImpatientSession.h"

#include <QJsonArray>
#include <QJsonObject>

using namespace quillmarsh;
using test::HttpTestServer;

namespace {

enum class Outcome { text, apiError, invalidResponse, jsonError };

const QString key = QStringLiteral("sk c4n4ry");

} // namespace

/// The messages client over real sockets.
class tst_AnthropicService final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        server_ = std::make_unique<HttpTestServer>();
        qputenv("QUILLMARSH_TEST_ANTHROPIC_API_BASE", server_->origin().toLatin1()); // read once
    }
    void init()
    {
        test::failOnWarnings();
        session_ = std::make_unique<test::ImpatientSession>();
        before_ = server_->requests().size();
    }

    void theRequestIsExactlyThis()
    {
        server_->answer(200, R"({"content":[{"type":"text","text":"x"}]})");
        const QString text = QStringLiteral(" \tZeile „eins“\n\nline 2 \\ \" 😀 ");
        QCOMPARE(rewrite(text, QStringLiteral("Shorter. ")), QStringLiteral("x"));
        QCOMPARE(count(), 1U);
        const test::RecordedRequest& request = first();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.target, "/v1/messages");
        const QJsonObject message{{"role", "user"}, {"content", text}};
        QCOMPARE(QJsonDocument::fromJson(request.body).object(),
                 QJsonObject({{"model", "claude-sonnet-4-20250514"},
                              {"max_tokens", 4096},
                              {"system", buildSystemPrompt(QStringLiteral("Shorter. "))},
                              {"messages", QJsonArray{message}}}));
        QVERIFY(request.body.contains("\"max_tokens\":4096")); // an integer
        QVERIFY(!request.body.contains(key.toUtf8()) && !request.target.contains(key.toUtf8()));
    }

    void theHeadersAreExactlyThese()
    {
        server_->answer(200, R"({"content":[{"text":"x"}]})");
        QCOMPARE(rewrite(), QStringLiteral("x"));
        QMap<QByteArray, QByteArray> headers = first().headers;
        QCOMPARE(headers.take("content-type"), "application/json");
        QCOMPARE(headers.take("x-api-key"), key.toUtf8());
        QCOMPARE(headers.take("anthropic-version"), "2023-06-01");
        for (const char* transport :
             {"host", "connection", "content-length", "accept-encoding", "accept-language", "user-agent"})
            headers.remove(transport);
        QCOMPARE(headers.keys(), QList<QByteArray>());
    }

    void theFirstRequestHasTheSameKeyAsTheSecond()
    {
        server_->answer(200, R"({"content":[{"text":"x"}]})");
        rewrite();
        rewrite();
        QCOMPARE(count(), 2U);
        QCOMPARE(first().headers, server_->requests().back().headers);
        QCOMPARE(first().body, server_->requests().back().body);
    }

    void withoutAnInstructionItIsTheGrammarPrompt()
    {
        server_->answer(200, R"({"content":[{"text":"x"}]})");
        rewrite(QStringLiteral("t"), std::nullopt);
        rewrite(QStringLiteral("t"), QString());
        QCOMPARE(first().body, server_->requests().back().body);
        const QJsonObject body = QJsonDocument::fromJson(first().body).object();
        QCOMPARE(body.value(u"system"), buildSystemPrompt(std::nullopt));
    }

    void theAnswerIsReturnedAsItStands_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* json, const char* text) {
            QTest::newRow(name) << QByteArray(json) << QString::fromUtf8(text);
        };
        row("untrimmed", R"({"content":[{"text":" \n a \t\r\n"}]})", " \n a \t\r\n");
        row("empty", R"({"content":[{"text":""}]})", "");
        row("only blanks", R"({"content":[{"text":"  "}]})", "  ");
        row("beyond ASCII", R"({"content":[{"text":"Ä\u20ac\ud83d\ude00"}]})", "Ä€😀");
        row("first of two", R"({"content":[{"text":"a"},{"text":"b"}]})", "a");
        row("another type with text", R"({"content":[{"type":"thinking","text":"a"}]})", "a");
        row("cut off", R"({"content":[{"text":"a"}],"stop_reason":"max_tokens"})", "a");
        row("unknown members", R"({"id":1,"content":[{"text":"a","x":{}}],"usage":null})", "a");
    }
    void theAnswerIsReturnedAsItStands()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, text);
        server_->answer(200, json);
        QCOMPARE(rewrite(), text);
    }

    void anythingElseIsAnError_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("outcome");
        const auto row = [](const char* name, int status, const QByteArray& body, Outcome outcome) {
            QTest::newRow(name) << status << body << static_cast<int>(outcome);
        };
        for (const int status : {300, 304, 400, 401, 403, 404, 413, 429, 500, 503, 529})
            row(QByteArray::number(status), status,
                status == 304 ? QByteArray() : QByteArray(R"({"type":"error","error":{"message":"no"}})"),
                Outcome::apiError);
        row("500, an answer all the same", 500, R"({"content":[{"text":"x"}]})", Outcome::apiError);
        row("500, not UTF-8", 500, "\xff\xfe", Outcome::apiError);
        row("299", 299, R"({"content":[{"text":"x"}]})", Outcome::text);
        row("no content", 200, "{}", Outcome::invalidResponse);
        row("content null", 200, R"({"content":null})", Outcome::invalidResponse);
        row("content text", 200, R"({"content":"x"})", Outcome::invalidResponse);
        row("content object", 200, R"({"content":{"text":"x"}})", Outcome::invalidResponse);
        row("no block", 200, R"({"content":[]})", Outcome::invalidResponse);
        row("first block text", 200, R"({"content":["x"]})", Outcome::invalidResponse);
        row("first block null", 200, R"({"content":[null,{"text":"x"}]})", Outcome::invalidResponse);
        row("later block a number", 200, R"({"content":[{"text":"x"},3]})", Outcome::invalidResponse);
        row("later block a list", 200, R"({"content":[{"text":"x"},{"text":"y"},[]]})",
            Outcome::invalidResponse);
        row("no text", 200, R"({"content":[{"type":"text"}]})", Outcome::invalidResponse);
        row("text in a later block", 200, R"({"content":[{"type":"tool_use"},{"text":"x"}]})",
            Outcome::invalidResponse);
        row("text null", 200, R"({"content":[{"text":null}]})", Outcome::invalidResponse);
        row("text a number", 200, R"({"content":[{"text":1}]})", Outcome::invalidResponse);
        row("a list", 200, R"([{"content":[{"text":"x"}]}])", Outcome::invalidResponse);
        row("empty body", 200, "", Outcome::jsonError);
        row("a page", 200, "<html>", Outcome::jsonError);
        row("cut", 200, R"({"content":[{"text":"x")", Outcome::jsonError);
        row("something behind", 200, R"({"content":[{"text":"x"}]} x)", Outcome::jsonError);
        row("not UTF-8", 200, "{\"content\":[{\"text\":\"\xff\"}]}", Outcome::jsonError);
    }
    void anythingElseIsAnError()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, outcome);
        server_->answer(status, body);
        Outcome seen = Outcome::text;
        try {
            std::ignore = rewrite();
        } catch (const AIError& error) {
            seen = error.kind() == AIError::Kind::apiError ? Outcome::apiError : Outcome::invalidResponse;
            const QString words =
                body.startsWith('\xff') ? QStringLiteral("Unknown error") : QString::fromUtf8(body);
            if (seen == Outcome::apiError)
                QCOMPARE(error.errorDescription(), QStringLiteral("API error (%1): ").arg(status) + words);
        } catch (const JsonParseError&) {
            seen = Outcome::jsonError;
        }
        QCOMPARE(static_cast<int>(seen), outcome);
        QCOMPARE(count(), 1U); // nothing is tried again
    }

    void theKeyFollowsNoRedirect()
    {
        HttpTestServer other;
        for (const int status : {301, 302, 303, 307, 308}) {
            server_->answer(status, "moved", "Location: " + other.origin().toLatin1() + "/v1/messages\r\n");
            QCOMPARE(failure(), QStringLiteral("API error (%1): moved").arg(status));
        }
        QCOMPARE(count(), 5U);
        QCOMPARE(other.connectionCount(), 0);
    }

    void aStopClosesTheConnectionAtOnce()
    {
        server_->stayMute();
        AnthropicService service(*session_);
        QVERIFY(test::closesAtOnce(*server_, [&service](std::stop_token stop) {
            return service.rewriteText(QStringLiteral("t"), key, {}, std::move(stop));
        }));
    }

    void aStopBeforeTheStartSendsNothing()
    {
        const int connections = server_->connectionCount();
        AnthropicService service(*session_);
        std::stop_source stop;
        stop.request_stop();
        QVERIFY_EXCEPTION_THROWN(
            std::ignore = test::runTask(service.rewriteText(QStringLiteral("t"), key, {}, stop.get_token())),
            Cancelled);
        QCOMPARE(server_->connectionCount(), connections);
    }

    void itWaitsForThirtySeconds()
    {
        server_->stayMute();
        session_->haste = 30; // a second, for the request to arrive on a busy machine too
        QCOMPARE(failure(), QStringLiteral("The request timed out."));
        session_->haste = 1;
        QCOMPARE(session_->timeouts.value(QStringLiteral("/v1/messages")), 30'000);
        QTRY_COMPARE(count(), 1U);
    }

    void aBrokenConnectionIsNotTriedAgain()
    {
        server_->setResponder([](const test::RecordedRequest&, QTcpSocket& socket) { socket.abort(); });
        QCOMPARE(failure(), QStringLiteral("The network connection was lost."));
        QTest::qWait(50);
        QCOMPARE(count(), 1U);
    }

    void aPartOfAnAnswerIsNone()
    {
        server_->setResponder([](const test::RecordedRequest&, QTcpSocket& socket) {
            socket.write("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"content\":[{\"text\":\"x\"}]}");
            socket.disconnectFromHost();
        });
        QCOMPARE(failure(), QStringLiteral("The network connection was lost."));
    }

private:
    [[nodiscard]] size_t count() const { return server_->requests().size() - before_; }
    [[nodiscard]] const test::RecordedRequest& first() const { return server_->requests().at(before_); }
    QString rewrite(const QString& text = QStringLiteral("t"), const std::optional<QString>& instruction = {})
    {
        AnthropicService service(*session_);
        return test::runTask(service.rewriteText(text, key, instruction, {}));
    }

    QString failure()
    {
        try {
            std::ignore = rewrite();
        } catch (const std::exception& error) {
            return errorDescription(error);
        }
        return {};
    }

    std::unique_ptr<HttpTestServer> server_;
    std::unique_ptr<test::ImpatientSession> session_;
    size_t before_ = 0; ///< requests of the tests before
};

QTEST_GUILESS_MAIN(tst_AnthropicService)
#include "tst_AnthropicService.moc"
