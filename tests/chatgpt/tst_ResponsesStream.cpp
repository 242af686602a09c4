#include "ai/AIError.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/ResponsesStreamAccumulator.h"
#include "chatgpt/ServerSentEventLines.h"
#include "support/FailOnWarnings.h"

#include <QTest>

using namespace quillmarsh;

namespace {

const QString limitMessage = QStringLiteral(
    "ChatGPT plan usage is unavailable or its limit was reached. Manage usage in ChatGPT settings.");
const QString unfinishedMessage = QStringLiteral(
    "ChatGPT didn’t finish the rewrite. Your selection hasn’t been replaced; please try again.");
const QString invalidMessage = QStringLiteral("Invalid response from AI service");

/// The lines of `stream`, handed over in pieces of `size` bytes.
QList<QByteArray> linesOf(const QByteArray& stream, qsizetype size)
{
    ServerSentEventLines lines;
    QList<QByteArray> found;
    const auto take = [&](QByteArrayView line) {
        found.append(line.toByteArray());
        return true;
    };
    for (qsizetype at = 0; at < stream.size(); at += size)
        lines.feed(QByteArrayView(stream).sliced(at, qMin(size, stream.size() - at)), take);
    lines.finish(take);
    return found;
}

QString failureOf(const QList<QByteArray>& events)
{
    ResponsesStreamAccumulator accumulator;
    try {
        for (const QByteArray& event : events)
            accumulator.consume(event);
        static_cast<void>(accumulator.result());
    } catch (const std::exception& error) {
        return errorDescription(error);
    }
    return {};
}

const QByteArray deltaA = R"({"type":"response.output_text.delta","delta":"Héllo "})";
const QByteArray deltaB = R"({"type":"response.output_text.delta","delta":"wörld"})";
const QByteArray completedEmpty =
    R"({"type":"response.completed","response":{"status":"completed","output":[]}})";

} // namespace

class tst_ResponsesStream final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void linesAreCutTheSameHoweverTheyArrive_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QList<QByteArray>>("expected");
        const auto row = [](const char* name, const QByteArray& stream, const QList<QByteArray>& expected) {
            QTest::newRow(name) << stream << expected;
        };
        row("empty", "", {});
        row("line feeds", "a\nb\n\nc\n", {"a", "b", "", "c"});
        row("carriage returns", "a\rb\r\rc\r", {"a", "b", "", "c"});
        row("both", "a\r\nb\r\n\r\nc\r\n", {"a", "b", "", "c"});
        row("mixed", "a\rb\nc\r\nd\n\re\r\r\nf", {"a", "b", "c", "d", "", "e", "", "f"});
        row("no end", "a\nb", {"a", "b"});
        row("mark",
            "\xef\xbb\xbf"
            "a\nb\n",
            {"a", "b"});
        row("mark alone", "\xef\xbb\xbf", {});
        row("half a mark",
            "\xef\xbb"
            "a\n",
            {"\xef\xbb"
             "a"});
        row("half a mark alone", "\xef\xbb", {"\xef\xbb"});
        row("mark in the second line",
            "a\n\xef\xbb\xbf"
            "b\n",
            {"a", "\xef\xbb\xbf"
                  "b"});
        row("characters of several bytes", "é漢😀\r\n😀\n", {"é漢😀", "😀"});
        row("nul", QByteArray("a\0b\n", 4), {QByteArray("a\0b", 3)});
    }
    void linesAreCutTheSameHoweverTheyArrive()
    {
        QFETCH(QByteArray, stream);
        QFETCH(QList<QByteArray>, expected);
        for (const qsizetype size : {1, 2, 3, 5, 7, 1000})
            QCOMPARE(linesOf(stream, size), expected);
    }

    void aLineComesWithItsLastByte()
    {
        ServerSentEventLines lines;
        int count = 0;
        const auto take = [&](QByteArrayView) { return ++count > 0; };
        lines.feed("a\r", take);
        QCOMPARE(count, 1); // not only with the byte after it
        lines.feed("\nb\n", take);
        QCOMPARE(count, 2);
    }

    void nothingIsReadAfterTheHandlerHasEnough()
    {
        ServerSentEventLines lines;
        QList<QByteArray> found;
        const auto take = [&](QByteArrayView line) {
            found.append(line.toByteArray());
            return line != QByteArrayView("stop");
        };
        QVERIFY(lines.feed("a\n", take));
        QVERIFY(!lines.feed("stop\nb\nc", take));
        lines.finish(take);
        QCOMPARE(found, (QList<QByteArray>{"a", "stop"}));
    }

    void aLineWithoutEndIsRefused()
    {
        ServerSentEventLines lines;
        const auto take = [](QByteArrayView) { return true; };
        const QByteArray block(1024 * 1024, 'x');
        for (int i = 0; i < 8; ++i)
            lines.feed(block, take);
        QVERIFY_EXCEPTION_THROWN(lines.feed("x", take), AIError);
        ServerSentEventLines whole;
        QVERIFY_EXCEPTION_THROWN(
            whole.feed(QByteArray(ServerSentEventLines::longestLine + 1, 'x') + '\n', take), AIError);
    }

    void aStreamWithoutEndIsRefused()
    {
        ServerSentEventLines lines;
        const auto take = [](QByteArrayView) { return true; };
        const QByteArray block = QByteArray(1023, 'x') + '\n';
        for (qsizetype size = 0; size < ServerSentEventLines::longestStream; size += block.size())
            QVERIFY(lines.feed(block, take));
        QVERIFY_EXCEPTION_THROWN(lines.feed("\n", take), AIError);
    }

    void deltasAndTheCompletedText()
    {
        ResponsesStreamAccumulator accumulator;
        accumulator.consume(deltaA);
        accumulator.consume(deltaB);
        QCOMPARE(accumulator.text, QStringLiteral("Héllo wörld"));
        QVERIFY(!accumulator.completed);
        QVERIFY_EXCEPTION_THROWN(static_cast<void>(accumulator.result()), AIError);
        accumulator.consume(completedEmpty);
        QCOMPARE(accumulator.result(), QStringLiteral("Héllo wörld"));
        accumulator.consume(R"({"type":"response.completed","response":{"status":"completed","output":[
            {"type":"reasoning"}, 5, {"content":"x"},
            {"content":[{"type":"output_text","text":"  Final "},{"type":"refusal","text":"no"},7,{"type":"output_text"}]},
            {"content":[{"type":"output_text","text":"text.\n"}]}]}})");
        QCOMPARE(accumulator.finalText, QStringLiteral("  Final text.\n"));
        QCOMPARE(accumulator.result(), QStringLiteral("Final text."));
    }

    void aDeltaThatIsNoTextAddsNothing()
    {
        ResponsesStreamAccumulator accumulator;
        accumulator.consume(R"({"type":"response.output_text.delta"})");
        accumulator.consume(R"({"type":"response.output_text.delta","delta":5})");
        accumulator.consume(R"({"type":"response.output_text.done","text":"x"})");
        accumulator.consume(R"({"type":"anything else"})");
        QCOMPARE(accumulator.text, QString());
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<QString>("message");
        const auto row = [](const QByteArray& event, const QString& message) {
            QTest::newRow(event.constData()) << event << message;
        };
        for (const char* bad :
             {"", "x", "[]", "5", "{}", R"({"type":5})", R"({"type":null})", "{\"type\":\"error\"", "\xff",
              R"({"type":"response.completed"})", R"({"type":"response.completed","response":5})",
              R"({"type":"response.completed","response":{}})",
              R"({"type":"response.completed","response":{"status":"failed"}})"})
            row(bad, invalidMessage);
        row(R"({"type":"error","code":"rate_limit_exceeded"})", limitMessage);
        row(R"({"type":"error","error":{"code":"rate_limit_exceeded"}})", limitMessage);
        row(R"({"type":"error","code":"subscription_sharing_usage_limit"})", limitMessage);
        row(R"({"type":"error","code":"subscription_sharing_usage_"})", limitMessage);
        row(R"({"type":"error","code":"subscription_sharing_usag"})", unfinishedMessage);
        row(R"({"type":"error","code":"rate_limit_exceeded_2"})", unfinishedMessage);
        row(R"({"type":"error"})", unfinishedMessage);
        row(R"({"type":"error","code":5})", unfinishedMessage);
        row(R"({"type":"response.failed","response":{"error":{"code":"rate_limit_exceeded"}}})",
            limitMessage);
        row(R"({"type":"response.failed","response":{"error":null}})", unfinishedMessage);
        row(R"({"type":"response.failed","code":"rate_limit_exceeded"})", unfinishedMessage);
        row(R"({"type":"response.failed"})", unfinishedMessage);
        row(R"({"type":"response.incomplete","response":{"error":{"code":"subscription_sharing_usage_x"}}})",
            limitMessage);
        row(R"({"type":"response.incomplete","response":{"incomplete_details":{}}})", unfinishedMessage);
    }
    void failures()
    {
        QFETCH(QByteArray, event);
        QFETCH(QString, message);
        QCOMPARE(failureOf({event, completedEmpty}), message);
        QCOMPARE(failureOf({deltaA, event}), message);
    }

    void anEmptyAnswerIsNone()
    {
        QCOMPARE(failureOf({completedEmpty}), invalidMessage);
        QCOMPARE(failureOf({R"({"type":"response.output_text.delta","delta":" \n\t "})", completedEmpty}),
                 invalidMessage);
    }
};

QTEST_GUILESS_MAIN(tst_ResponsesStream)
#include "tst_ResponsesStream.moc"
