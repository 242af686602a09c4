#include "ai/AIError.h"
#include "ai/AnthropicService.h"
#include "ai/JsonBody.h"
#include "ai/OpenAIService.h"
#include "ai/SystemPrompt.h"
#include "base/Http.h"
#include "support/ClosesAtOnce.h"
#include "support/CoroutineTest.h"
#include "support/ForeignSession.h"
#include "support/HttpTestServer.h"
#include "support/ImpatientSession.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QTest>

using namespace quillmarsh;
using test::HttpTestServer;

namespace {

enum class Outcome { Text, ApiError, InvalidResponse, JsonError };

} // namespace

/// The key-based clients over real sockets.
class tst_AIServices final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        server_ = std::make_unique<HttpTestServer>();
        qputenv("QUILLMARSH_TEST_ANTHROPIC_API_BASE", server_->origin().toLatin1());
    }

    void init() { firstRequest_ = server_->requests().size(); }

    void openAISendsExactlyTheRequest()
    {
        server_->answer(200,
                        R"({"choices":[{"message":{"content":" Hello. "}},{"message":{"content":"no"}}]})");
        QCOMPARE(openAI(QStringLiteral("a b "), QStringLiteral("Shorter.")), QStringLiteral(" Hello. "));
        const test::RecordedRequest& request = server_->requests().at(firstRequest_);
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.target, "/v1/chat/completions");
        QCOMPARE(request.headers.value("content-type"), "application/json");
        QCOMPARE(request.headers.value("authorization"), "Bearer k e y");
        QVERIFY(!request.headers.contains("cookie"));
        const QJsonObject system{{"role", "system"},
                                 {"content", buildSystemPrompt(QStringLiteral("Shorter."))}};
        const QJsonObject user{{"role", "user"}, {"content", "a b "}};
        QCOMPARE(QJsonDocument::fromJson(request.body).object(),
                 QJsonObject({{"model", "gpt-4o"}, {"messages", QJsonArray{system, user}}}));
    }

    void anEmptyTextIsSentLikeAnyOther()
    {
        server_->answer(200, R"({"choices":[{"message":{"content":"x"}}]})");
        QCOMPARE(openAI(QString(), std::nullopt), QStringLiteral("x"));
        const QJsonObject body = QJsonDocument::fromJson(server_->requests().at(firstRequest_).body).object();
        QCOMPARE(body["messages"][1].toObject(), QJsonObject({{"role", "user"}, {"content", ""}}));
    }

    void anthropicSendsExactlyTheRequest()
    {
        server_->answer(200, R"({"content":[{"text":"Hello."},{"text":"no"}]})");
        QCOMPARE(anthropic(), QStringLiteral("Hello."));
        const test::RecordedRequest& request = server_->requests().at(firstRequest_);
        QCOMPARE(request.target, "/v1/messages");
        QCOMPARE(request.headers.value("x-api-key"), "k e y");
        QCOMPARE(request.headers.value("anthropic-version"), "2023-06-01");
        QVERIFY(!request.headers.contains("authorization"));
        const QJsonObject user{{"role", "user"}, {"content", "text"}};
        QCOMPARE(QJsonDocument::fromJson(request.body).object(),
                 QJsonObject({{"model", "claude-sonnet-4-20250514"},
                              {"max_tokens", 4096},
                              {"system", buildSystemPrompt(std::nullopt)},
                              {"messages", QJsonArray{user}}}));
    }

    void openAIAnswers_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("outcome");
        const auto row = [](const char* name, int status, const char* body, Outcome outcome) {
            QTest::newRow(name) << status << QByteArray(body) << static_cast<int>(outcome);
        };
        row("created", 201, R"({"choices":[{"message":{"content":"x"}}]})", Outcome::Text);
        row("empty text", 200, R"({"choices":[{"message":{"content":""}}]})", Outcome::Text);
        row("null content", 200, R"({"choices":[{"message":{"content":null}}]})", Outcome::InvalidResponse);
        row("number content", 200, R"({"choices":[{"message":{"content":1}}]})", Outcome::InvalidResponse);
        row("no message", 200, R"({"choices":[{}]})", Outcome::InvalidResponse);
        row("empty choices", 200, R"({"choices":[]})", Outcome::InvalidResponse);
        row("choices object", 200, R"({"choices":{}})", Outcome::InvalidResponse);
        row("mixed choices", 200, R"({"choices":[{"message":{"content":"x"}},3]})", Outcome::InvalidResponse);
        row("array", 200, "[]", Outcome::InvalidResponse);
        row("not JSON", 200, "<html>", Outcome::JsonError);
        row("empty body", 200, "", Outcome::JsonError);
        row("broken UTF-8", 200, "{\"choices\":[{\"message\":{\"content\":\"\xFF\"}}]}", Outcome::JsonError);
        row("401", 401, R"({"error":"bad key"})", Outcome::ApiError);
        row("429", 429, "slow", Outcome::ApiError);
        row("500", 500, "", Outcome::ApiError);
        row("redirect is not followed", 302, "", Outcome::ApiError);
    }

    void openAIAnswers()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, outcome);
        server_->answer(status, body, "Location: " + server_->origin().toLatin1() + "/elsewhere\r\n");
        Outcome seen = Outcome::Text;
        try {
            std::ignore = openAI(QStringLiteral("text"), std::nullopt);
        } catch (const AIError& error) {
            seen = error.kind() == AIError::Kind::apiError ? Outcome::ApiError : Outcome::InvalidResponse;
            if (seen == Outcome::ApiError)
                QCOMPARE(error.errorDescription(),
                         QStringLiteral("API error (%1): ").arg(status) + QString::fromUtf8(body));
        } catch (const JsonParseError&) {
            seen = Outcome::JsonError;
        }
        QCOMPARE(static_cast<int>(seen), outcome);
        QCOMPARE(server_->requests().size(), firstRequest_ + 1);
    }

    void aChallengeIsAnAnswerLikeAnyOther_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("header");
        QTest::newRow("Bearer") << 401 << QByteArray("WWW-Authenticate: Bearer\r\n");
        QTest::newRow("Basic") << 401 << QByteArray("WWW-Authenticate: Basic realm=\"x\"\r\n");
        QTest::newRow("Digest") << 401 << QByteArray("WWW-Authenticate: Digest realm=\"x\", nonce=\"y\"\r\n");
        QTest::newRow("NTLM") << 401 << QByteArray("WWW-Authenticate: NTLM\r\n");
        QTest::newRow("Negotiate") << 401 << QByteArray("WWW-Authenticate: Negotiate\r\n");
        QTest::newRow("proxy") << 407 << QByteArray("Proxy-Authenticate: Basic realm=\"x\"\r\n");
    }

    void aChallengeIsAnAnswerLikeAnyOther()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, header);
        const QByteArray body = R"({"error":{"message":"Incorrect API key"}})";
        server_->answer(status, body, header);
        QString description;
        try {
            std::ignore = openAI(QStringLiteral("text"), std::nullopt);
        } catch (const LocalizedError& error) {
            description = error.errorDescription();
        }
        QCOMPARE(description, QStringLiteral("API error (%1): ").arg(status) + QString::fromUtf8(body));
        QCOMPARE(server_->requests().size(), firstRequest_ + 1);
    }

    void everyOtherStatusIsAnError()
    {
        for (int status = 200; status < 600; ++status) {
            const bool hasBody = status != 204 && status != 304;
            const QByteArray body = hasBody ? R"({"choices":[{"message":{"content":"x"}}]})" : "";
            server_->answer(status, body);
            QString seen = QStringLiteral("no body");
            try {
                seen = openAI(QStringLiteral("t"), std::nullopt);
            } catch (const JsonParseError&) {
            } catch (const LocalizedError& error) {
                seen = error.errorDescription();
            }
            const QString refused = QStringLiteral("API error (%1): ").arg(status) + QString::fromUtf8(body);
            const QString accepted = hasBody ? QStringLiteral("x") : QStringLiteral("no body");
            QCOMPARE(seen, status <= 299 ? accepted : refused);
        }
    }

    void whatIsNotHttpHasNoStatus()
    {
        test::ForeignSession session;
        OpenAIChatService service(session, server_->origin(), QStringLiteral("m"));
        try {
            std::ignore = test::runTask(service.rewriteText(QStringLiteral("t"), {}, {}, {}));
            QFAIL("no error");
        } catch (const AIError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("API error (-1): "));
        }
    }

    void aLongTextIsSentWhole()
    {
        server_->answer(200, R"({"choices":[{"message":{"content":"x"}}],"content":[{"text":"y"}]})");
        const QString text = QStringLiteral("ä\n").repeated(10'001);
        QCOMPARE(openAI(text, std::nullopt), QStringLiteral("x"));
        AnthropicService service(sharedUrlSession());
        QCOMPARE(test::runTask(service.rewriteText(text, QStringLiteral("k"), {}, {})), QStringLiteral("y"));
        const auto& requests = server_->requests();
        const QJsonObject toOpenAI = QJsonDocument::fromJson(requests.at(firstRequest_).body).object();
        const QJsonObject toAnthropic = QJsonDocument::fromJson(requests.at(firstRequest_ + 1).body).object();
        QCOMPARE(toOpenAI["messages"][1]["content"].toString(), text);
        QCOMPARE(toAnthropic["messages"][0]["content"].toString(), text);
    }

    void anthropicNeedsTextInTheFirstBlock()
    {
        for (const char* body : {R"({"content":[{"type":"tool_use"},{"text":"late"}]})", R"({"content":[]})",
                                 R"({"content":[{"text":null}]})", R"({})", "[]"})
            QVERIFY_EXCEPTION_THROWN(std::ignore = parseAnthropicResponse(body), AIError);
        QVERIFY_EXCEPTION_THROWN(std::ignore = parseAnthropicResponse("x"), JsonParseError);
    }

    void aConnectionThatEndsWithoutAnAnswerIsNotAskedAgain()
    {
        server_->setResponder([](const test::RecordedRequest&, QTcpSocket& socket) { socket.abort(); });
        QVERIFY_EXCEPTION_THROWN(std::ignore = openAI(QStringLiteral("t"), std::nullopt), TransportError);
        QTest::qWait(100);
        QCOMPARE(server_->requests().size(), firstRequest_ + 1);
    }

    void anAnswerCutShortIsATransportError()
    {
        server_->setResponder([](const test::RecordedRequest&, QTcpSocket& socket) {
            socket.write("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{\"choices\":[");
            socket.disconnectFromHost();
        });
        QVERIFY_EXCEPTION_THROWN(std::ignore = openAI(QStringLiteral("t"), std::nullopt), TransportError);
        QCOMPARE(server_->requests().size(), firstRequest_ + 1);
    }

    void garbageIsNotHttp()
    {
        server_->setResponder([](const test::RecordedRequest&, QTcpSocket& socket) {
            socket.write("220 mail.example ESMTP\r\n\r\n");
            socket.disconnectFromHost();
        });
        QString description;
        try {
            std::ignore = openAI(QStringLiteral("t"), std::nullopt);
        } catch (const LocalizedError& error) {
            description = error.errorDescription();
        }
        QCOMPARE(description, QStringLiteral("The network connection was lost."));
    }

    void nobodyListens()
    {
        QTcpServer gone;
        QVERIFY(gone.listen(QHostAddress::LocalHost));
        const QString origin = QStringLiteral("http://127.0.0.1:%1").arg(gone.serverPort());
        gone.close();
        OpenAIChatService service(sharedUrlSession(), origin, QStringLiteral("m"));
        try {
            std::ignore = test::runTask(service.rewriteText({}, {}, {}, {}));
            QFAIL("no error");
        } catch (const TransportError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("Couldn’t connect to the server."));
        }
    }

    void aServerThatNeverAnswersTimesOut()
    {
        server_->stayMute();
        const QNetworkRequest request = makeRequest(QUrl(server_->origin()), std::chrono::seconds(1));
        try {
            std::ignore = test::runTask(send(&sharedUrlSession(), "POST", request, "x", {}));
            QFAIL("no error");
        } catch (const TransportError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("The request timed out."));
        }
        QTRY_COMPARE(server_->requests().size(), firstRequest_ + 1);
    }

    void openAIHasHalfAMinuteToAnswer()
    {
        server_->answer(200, R"({"choices":[{"message":{"content":"x"}}]})");
        test::ImpatientSession session;
        OpenAIChatService service(session, server_->origin() + QStringLiteral("/v1/chat/completions"),
                                  QStringLiteral("gpt-4o"));
        std::ignore = test::runTask(service.rewriteText(QStringLiteral("t"), {}, {}, {}));
        QCOMPARE(session.timeouts, (QHash<QString, int>{{QStringLiteral("/v1/chat/completions"), 30'000}}));
    }

    void aStopClosesTheConnectionAtOnce()
    {
        server_->stayMute();
        OpenAIService service = openAIService();
        QVERIFY(test::closesAtOnce(*server_, [&service](std::stop_token stop) {
            return service.rewriteText(QStringLiteral("t"), {}, std::nullopt, std::move(stop));
        }));
    }

    void anEarlyConnectionCarriesTheRequest()
    {
        HttpTestServer fresh;
        fresh.answer(200, R"({"choices":[{"message":{"content":"x"}}]})");
        preconnect(sharedUrlSession(), QUrl(fresh.origin()));
        QTRY_COMPARE(fresh.connectionCount(), 1);
        QVERIFY(fresh.requests().empty());
        OpenAIChatService service(sharedUrlSession(), fresh.origin(), QStringLiteral("m"));
        QCOMPARE(test::runTask(service.rewriteText(QStringLiteral("t"), {}, {}, {})), QStringLiteral("x"));
        QCOMPARE(fresh.connectionCount(), 1);
        QCOMPARE(fresh.requests().size(), 1u);
    }

private:
    OpenAIService openAIService()
    {
        return OpenAIService(OpenAIChatService(sharedUrlSession(),
                                               server_->origin() + QStringLiteral("/v1/chat/completions"),
                                               QStringLiteral("gpt-4o")));
    }

    QString openAI(const QString& text, const std::optional<QString>& instruction)
    {
        OpenAIService service = openAIService();
        return test::runTask(service.rewriteText(text, QStringLiteral("k e y"), instruction, {}));
    }

    static QString anthropic()
    {
        AnthropicService service(sharedUrlSession());
        return test::runTask(
            service.rewriteText(QStringLiteral("text"), QStringLiteral("k e y"), std::nullopt, {}));
    }

    std::unique_ptr<HttpTestServer> server_;
    size_t firstRequest_ = 0;
};

QTEST_GUILESS_MAIN(tst_AIServices)
#include "tst_AIServices.moc"
