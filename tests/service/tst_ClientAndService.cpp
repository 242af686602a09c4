// The desktop's client and the shipped service over real sockets: every answer that the one gives and the
// other understands. Then each alone: the client against a strict fake of the service, which must refuse
// whatever the service refuses.
#include "support/FakeUpstream.h"
#include "support/RunningService.h"

#include "ai/AIError.h"
#include "ai/CloudAIService.h"
#include "base/Deployment.h"
#include "base/Http.h"
#include "base/UserDefaults.h"
#include "support/CoroutineTest.h"
#include "support/FakeRewriteService.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sqlite3.h>

using namespace quillmarsh;
using service::test::FakeUpstream;
using service::test::RunningService;
using test::FakeRewriteService;

namespace {

/// What a rewrite came to.
struct Outcome
{
    QString text;
    QString error; ///< what the user reads
    std::optional<AIError::Kind> kind;
    bool connectionFailed = false;
    std::optional<CloudQuota> quota; ///< as it was published when the text or the error arrived
};

struct Call
{
    QString text = QStringLiteral("i am here");
    std::optional<QString> instruction = {};
    QByteArray token = QByteArray(43, 'A');
    std::stop_token stop = {};
};

QString originOf(const RunningService& service)
{
    return QStringLiteral("http://127.0.0.1:%1").arg(service.port());
}

std::string upstreamConfig(const FakeUpstream& upstream, const std::string& more = {})
{
    return "[engines]\norder = openai\n[openai]\nbase_url = " + upstream.origin() + "\n" + more;
}

Task<QString> tokenTask(QByteArray token)
{
    co_return QString::fromLatin1(token);
}

/// The status, code and form of the answer to exactly these bytes.
std::pair<int, QString> answerTo(const QString& origin, const QByteArray& request)
{
    QTcpSocket socket;
    const QUrl url(origin);
    socket.connectToHost(url.host(), static_cast<quint16>(url.port()));
    socket.write(request);
    QByteArray reply;
    QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [&] { reply += socket.readAll(); });
    const auto body = [&] { return QJsonDocument::fromJson(reply.mid(reply.indexOf("\r\n\r\n") + 4)); };
    std::ignore = QTest::qWaitFor([&] { return body().isObject(); });
    return {reply.mid(9, 3).toInt(), body().object()[QLatin1String("code")].toString()};
}

QByteArray httpRequest(const QByteArray& headers, const QByteArray& body,
                       const QByteArray& line = "POST /api/rewrite HTTP/1.1")
{
    return line + "\r\nHost: 127.0.0.1\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

const QByteArray goodToken = "Authorization: Bearer " + QByteArray(43, 'A') + "\r\n";
const QByteArray json = "Content-Type: application/json\r\n";

} // namespace

class tst_ClientAndService final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("*.info=false")); }

    void aRewriteComesWithItsQuota()
    {
        const RunningService service("[quota]\nlimit = 7\n");
        const Outcome outcome = ask(originOf(service));
        QCOMPARE(outcome.text, QStringLiteral("I am here."));
        QVERIFY(outcome.quota);
        QCOMPARE(outcome.quota->limit, 7);
        QCOMPARE(outcome.quota->remaining, 6);
        QVERIFY(outcome.quota->resetsAt->endsWith(QStringLiteral("T00:00:00Z")));
        QCOMPARE(ask(originOf(service), {.instruction = QStringLiteral("Make it casual.")}).quota->remaining,
                 5);
    }

    void aUsedUpAllowanceIsShownAndThenReported()
    {
        const RunningService service("[quota]\nlimit = 1\n");
        QCOMPARE(ask(originOf(service)).quota->remaining, 0);
        const Outcome refused = ask(originOf(service));
        QCOMPARE(refused.kind, AIError::Kind::cloudLimit);
        QVERIFY2(refused.error.startsWith(QStringLiteral("You’ve used")), qUtf8Printable(refused.error));
        QVERIFY(refused.error.contains(*refused.quota->resetsAt));
        QCOMPARE(refused.quota->remaining, 0);
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("instruction");
        QTest::addColumn<QByteArray>("token");
        QTest::addColumn<QString>("error");
        const QByteArray token(43, 'A');
        const QString none;
        const QString here = QStringLiteral("i am here");
        QTest::newRow("400 blank") << QStringLiteral(" \n") << none << token
                                   << "API error (400): There is no text to rewrite.";
        QTest::newRow("401 no token of ours")
            << here << none << QByteArray("guess")
            << "API error (401): This rewrite service didn’t recognise the installation’s token.";
        QTest::newRow("403") << here << none << "B" + QByteArray(42, 'A')
                             << "API error (403): This installation isn’t registered with this rewrite "
                                "service. Ask whoever runs it.";
        QTest::newRow("413 too many characters")
            << QString(10'001, QLatin1Char('a')) << none << token
            << "API error (413): The text is too long (max 10,000 characters).";
        QTest::newRow("413 too many bytes") << QString(300'000, QLatin1Char('a')) << none << token
                                            << "API error (413): The request is too large (max 256 KiB).";
        QTest::newRow("422 instruction")
            << here << QStringLiteral("Sing it.") << token
            << "API error (422): This rewrite service works without AI and can’t follow that instruction. It "
               "can "
               "correct English text and make it shorter, more formal or more casual.";
        QTest::newRow("422 language")
            << QStringLiteral("Gestern waren wir gemeinsam im Schwimmbad.") << none << token
            << "API error (422): This rewrite service works without AI and only knows English. Your text was "
               "left as it was.";
    }

    void refusals()
    {
        QFETCH(QString, text);
        QFETCH(QString, instruction);
        QFETCH(QByteArray, token);
        QFETCH(QString, error);
        static const service::test::TemporaryFolder folder;
        static const RunningService service(
            "[quota]\nlimit = 9\n[callers]\nregistration = known\ntokens_file = " +
            folder.write("tokens", std::string(43, 'A') + "\n") + "\n");
        const Outcome outcome =
            ask(originOf(service),
                {.text = text,
                 .instruction = instruction.isNull() ? std::nullopt : std::optional(instruction),
                 .token = token});
        QCOMPARE(outcome.error, error);
        QCOMPARE(outcome.kind, AIError::Kind::apiError);
        QVERIFY2(outcome.quota, "the quota comes with every refusal");
        QCOMPARE(outcome.quota->remaining,
                 error.contains(QStringLiteral("(40")) && !error.contains(QStringLiteral("(400")) ? 0 : 9);
    }

    void whatFailsBehindTheServiceIsAnErrorAndNeverAnEmptyText_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        const auto chat = [](const QByteArray& content, const QByteArray& finish) {
            return QByteArray(R"({"choices":[{"message":{"content":")" + content + R"("},"finish_reason":")" +
                              finish + R"("}]})");
        };
        QTest::newRow("empty") << 200 << chat("", "stop");
        QTest::newRow("blank") << 200 << chat("  ", "stop");
        QTest::newRow("cut off") << 200 << chat("Half of", "length");
        QTest::newRow("no JSON") << 200 << QByteArray("<html>");
        QTest::newRow("500") << 500 << QByteArray("<html>");
        QTest::newRow("429") << 429 << QByteArray("{}");
        QTest::newRow("401") << 401 << QByteArray("{}");
    }

    void whatFailsBehindTheServiceIsAnErrorAndNeverAnEmptyText()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        FakeUpstream upstream;
        upstream.script({FakeUpstream::status(status, body.toStdString())});
        const RunningService service(upstreamConfig(upstream));
        const Outcome outcome = ask(originOf(service));
        QCOMPARE(outcome.kind, AIError::Kind::apiError);
        QVERIFY2(outcome.error.startsWith(QStringLiteral("API error (503): The AI service")),
                 qUtf8Printable(outcome.error));
        QCOMPARE(outcome.quota->remaining, 1000);
    }

    void withoutItsCountersTheServiceLeavesTheShownQuotaAlone()
    {
        const RunningService service;
        QCOMPARE(ask(originOf(service)).quota->remaining, 999);
        sqlite3* database = nullptr;
        QCOMPARE(sqlite3_open((service.stateFolder() + "/quota.sqlite").c_str(), &database), SQLITE_OK);
        QCOMPARE(sqlite3_exec(database, "DROP TABLE usage", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
        const Outcome outcome = ask(originOf(service));
        QCOMPARE(outcome.error,
                 QStringLiteral("API error (503): The rewrite service can’t count rewrites right "
                                "now. Try again in a moment."));
        QVERIFY(!outcome.quota);
    }

    void aServiceThatIsGoneIsAFailedConnection()
    {
        RunningService service;
        const QString origin = originOf(service);
        QVERIFY(!ask(origin).text.isEmpty());
        service.signal(SIGKILL);
        service.wait();
        const Outcome outcome = ask(origin);
        QVERIFY(outcome.connectionFailed);
        QVERIFY(!outcome.error.isEmpty());
        QVERIFY(!outcome.quota);
    }

    void aServiceThatDiesMidwayIsNotAskedTwice()
    {
        FakeUpstream upstream;
        RunningService service(upstreamConfig(upstream));
        upstream.script({[&](httplib::Response&) {
            service.signal(SIGKILL);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }});
        QVERIFY(ask(originOf(service)).connectionFailed);
        QCOMPARE(upstream.requests().size(), 1U);
    }

    void aServiceThatIsToldToEndStillAnswers()
    {
        FakeUpstream upstream;
        RunningService service(upstreamConfig(upstream));
        upstream.script({[&](httplib::Response& response) {
            service.signal(SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            FakeUpstream::chat("Finished.")(response);
        }});
        QCOMPARE(ask(originOf(service)).text, QStringLiteral("Finished."));
        QCOMPARE(service.wait(), 0);
        QVERIFY(ask(originOf(service)).connectionFailed);
    }

    void oddTextsTravelUnchanged_data() { addOddTexts(); }
    void oddTextsTravelUnchanged()
    {
        QFETCH(QString, text);
        static FakeUpstream upstream;
        static const RunningService service(upstreamConfig(upstream));
        const std::string sent = text.toUtf8().toStdString();
        upstream.script({FakeUpstream::chat(sent)});
        const Outcome outcome = ask(originOf(service), {.text = text, .instruction = text.left(1000)});
        QCOMPARE(outcome.error, QString());
        QVERIFY(outcome.text == QString::fromStdString(sent));
        const auto body = nlohmann::json::parse(upstream.requests().at(0).body);
        QVERIFY(body["messages"][1]["content"] == sent);
    }

    void theStrictFakeTakesWhatTheClientSends_data() { addOddTexts(); }
    void theStrictFakeTakesWhatTheClientSends()
    {
        QFETCH(QString, text);
        FakeRewriteService fake;
        const QString arrived = QString::fromUtf8(text.toUtf8());
        QVERIFY(ask(fake.origin(), {.text = text}).text == QStringLiteral("Rewritten: ") + arrived);
        QVERIFY(ask(fake.origin(), {.text = text, .instruction = text.left(1000)}).text ==
                QStringLiteral("Rewritten: ") + arrived);
        fake.setRemaining(0);
        QCOMPARE(ask(fake.origin(), {.text = text}).kind, AIError::Kind::cloudLimit);
        QCOMPARE(ask(fake.origin(), {.text = QStringLiteral(" ")}).error,
                 QStringLiteral("API error (400): Refused: empty_text"));
    }

    void theStrictFakeRefusesWhatTheServiceRefuses_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, int status, const QByteArray& request) {
            QTest::newRow(name) << request << status;
        };
        const QByteArray headers = goodToken + json;
        const auto body = [&](const QByteArray& bytes) { return httpRequest(headers, bytes); };
        row("good", 200, body(R"({"text":"i am here"})"));
        row("good with charset", 200,
            httpRequest(goodToken + "Content-Type: application/json; charset=utf-8\r\n",
                        R"({"text":"a b"})"));
        row("good with blanks", 200, body(" { \"text\" : \"i am {here}: \\\"x\\\"\" }\n"));
        row("another path", 404, httpRequest(headers, R"({"text":"a"})", "POST /api/rewrites HTTP/1.1"));
        row("another method", 405, httpRequest(headers, R"({"text":"a"})", "PUT /api/rewrite HTTP/1.1"));
        row("no token", 401, httpRequest(json, R"({"text":"a"})"));
        row("another scheme", 401,
            httpRequest("Authorization: Basic " + QByteArray(43, 'A') + "\r\n" + json, R"({"text":"a"})"));
        row("short token", 401, httpRequest("Authorization: Bearer AAAA\r\n" + json, R"({"text":"a"})"));
        row("padded token", 401,
            httpRequest("Authorization: Bearer " + QByteArray(43, 'A') + "=\r\n" + json, R"({"text":"a"})"));
        row("two ways to write a token", 401,
            httpRequest("Authorization: Bearer " + QByteArray(42, 'A') + "B\r\n" + json, R"({"text":"a"})"));
        row("no content type", 415, httpRequest(goodToken, R"({"text":"a"})"));
        row("a form", 415,
            httpRequest(goodToken + "Content-Type: application/x-www-form-urlencoded\r\n",
                        R"({"text":"a"})"));
        row("compressed", 415, httpRequest(headers + "Content-Encoding: gzip\r\n", "x"));
        row("not JSON", 400, body("text=a"));
        row("empty", 400, body(""));
        row("half an object", 400, body(R"({"text":"a")"));
        row("something behind", 400, body(R"({"text":"a"} x)"));
        row("a comma too many", 400, body(R"({"text":"a",})"));
        row("an array", 400, body(R"(["text"])"));
        row("no text", 400, body(R"({"instruction":"a"})"));
        row("null text", 400, body(R"({"text":null})"));
        row("null instruction", 400, body(R"({"text":"a","instruction":null})"));
        row("number", 400, body(R"({"text":1})"));
        row("unknown member", 400, body(R"({"text":"a","model":"b"})"));
        row("twice", 400, body(R"({"text":"a","text":"b"})"));
        row("broken UTF-8", 400, body("{\"text\":\"\xC3\x28\"}"));
        row("half a surrogate pair", 400, body(R"({"text":"a\ud83d"})"));
        row("the other half", 400, body(R"({"text":"a\ude00"})"));
        row("UTF-8 of half a pair", 400, body("{\"text\":\"\xED\xA0\x80\"}"));
        row("overlong UTF-8", 400, body("{\"text\":\"\xC0\xAF\"}"));
        row("blank text", 400, body(R"({"text":" \n\t"})"));
        row("10,000 characters", 200, body("{\"text\":\"" + QByteArray("é.").repeated(5'000) + "\"}"));
        row("10,001 characters", 413, body("{\"text\":\"" + QByteArray("é.").repeated(5'000) + "é\"}"));
        row("long instruction", 413,
            body("{\"text\":\"a\",\"instruction\":\"" + QByteArray(10'001, 'a') + "\"}"));
        row("256 KiB and a byte", 413, body("{\"text\":\"a\"}" + QByteArray(256 * 1024 - 11, ' ')));
    }

    void theStrictFakeRefusesWhatTheServiceRefuses()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, status);
        static FakeUpstream upstream;
        upstream.script({FakeUpstream::chat("Rewritten.")});
        static const RunningService service(upstreamConfig(upstream));
        FakeRewriteService fake;
        const auto real = answerTo(originOf(service), request);
        QCOMPARE(real.first, status);
        QCOMPARE(answerTo(fake.origin(), request), real);
    }

private:
    static void addOddTexts()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("edges") << QStringLiteral("  two\tblanks \r\n\n");
        QTest::newRow("quotes and backslashes") << QStringLiteral("\"a\\b\" \\u0041 </script>");
        QTest::newRow("zero and controls")
            << QStringLiteral("a") + QChar(0) + QStringLiteral("b\x01\x1f\x7f");
        QTest::newRow("line separators") << QStringLiteral("a\u2028b\u2029c\u0085d\ufeff");
        QTest::newRow("scripts") << QStringLiteral("日本語 العربية हिन्दी ไทย Ελληνικά 🇵🇸 "
                                                   "🏴󠁧󠁢󠁳󠁣󠁴󠁿");
        QTest::newRow("the longest of the widest") << QStringLiteral("👩‍👩‍👧").repeated(10'000);
        QTest::newRow("the longest of escapes") << QString(10'000, QChar(1));
    }

    Outcome ask(const QString& origin, Call call = {})
    {
        defaults_.set(QStringLiteral("endpoint.cloud"), origin);
        Deployment::applyEndpoints(defaults_);
        CloudUsage usage;
        CloudAIService client(
            sharedUrlSession(), [&] { return tokenTask(call.token); }, usage);
        Outcome outcome;
        try {
            outcome.text = test::runTask(
                client.rewriteText(call.text, QStringLiteral("ignored"), call.instruction, call.stop));
        } catch (const AIError& error) {
            outcome.error = error.errorDescription();
            outcome.kind = error.kind();
        } catch (const TransportError& error) {
            outcome.error = error.errorDescription();
            outcome.connectionFailed = true;
        }
        outcome.quota = usage.quota();
        return outcome;
    }

    QTemporaryDir folder_;
    UserDefaults defaults_{folder_.filePath(QStringLiteral("defaults.ini"))};
};

QTEST_GUILESS_MAIN(tst_ClientAndService)
#include "tst_ClientAndService.moc"
