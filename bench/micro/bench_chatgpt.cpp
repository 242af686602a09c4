// What the ChatGPT connection adds to a rewrite: reading the event stream (budget 500,000 events per second
// or more), the pure token check (under 1 ms), and the time from the first byte of a whole answer until its
// text is handed to pasting (2 ms or less at the median). Prints medians of 50 rounds.
#include "chatgpt/CodexResponsesService.h"
#include "chatgpt/OpenAIIdentityVerifier.h"
#include "chatgpt/ResponsesStreamAccumulator.h"
#include "chatgpt/ServerSentEventLines.h"
#include "rewrite/RewriteFixture.h"
#include "support/ConnectionFixture.h"

#include <QElapsedTimer>
#include <QGuiApplication>

#include <algorithm>
#include <cstdio>

using namespace quillmarsh;

namespace {

constexpr int rounds = 50;

template <typename Round>
double medianNanoseconds(Round round)
{
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i)
        times.push_back(static_cast<double>(round()));
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    return times[rounds / 2];
}

/// Events per second through the splitter and the accumulator, in reads of 16 KiB.
void benchStream()
{
    constexpr int events = 20000;
    QByteArray stream;
    for (int i = 0; i < events; ++i)
        stream +=
            test::ModelStream::eventBytes(test::ModelStream::delta(QStringLiteral(" word%1").arg(i % 100)));
    const double median = medianNanoseconds([&] {
        QElapsedTimer timer;
        timer.start();
        ResponsesStreamAccumulator accumulator;
        ServerSentEventLines lines;
        const auto take = [&accumulator](QByteArrayView line) {
            if (line.startsWith("data:")) {
                const QByteArrayView payload = line.sliced(5).trimmed();
                accumulator.consume(QByteArray::fromRawData(payload.data(), payload.size()));
            }
            return true;
        };
        for (qsizetype at = 0; at < stream.size(); at += 16384)
            lines.feed(QByteArrayView(stream).sliced(at, qMin<qsizetype>(16384, stream.size() - at)), take);
        return timer.nsecsElapsed();
    });
    std::printf("event stream: %.0f events per second\n", events / median * 1e9);
}

void benchTokenCheck()
{
    const test::TestSigningKey key(QStringLiteral("k"));
    const OpenAIIdentityVerifier verifier{nullptr, QStringLiteral("https://auth.example.com")};
    const QString token = key.token({{QStringLiteral("iss"), verifier.authOrigin},
                                     {QStringLiteral("aud"), QStringLiteral("c")},
                                     {QStringLiteral("exp"), 2000},
                                     {QStringLiteral("iat"), 1000},
                                     {QStringLiteral("sub"), QStringLiteral("s")}});
    const QList<QJsonObject> keys{key.jwk()};
    const double median = medianNanoseconds([&] {
        QElapsedTimer timer;
        timer.start();
        static_cast<void>(verifier.verify(token, QStringLiteral("c"), std::nullopt, keys, 1500));
        return timer.nsecsElapsed();
    });
    std::printf("token check: %.3f ms\n", median / 1e6);
}

/// Whole rewrites on the plan, by the real orchestrator on a platform of fakes. The server writes the answer
/// at once; the clock runs from its first byte until the text is put on the clipboard, the first step of
/// pasting.
void benchFirstByteToPaste()
{
    test::ConnectionFixture connection;
    connection.connectAccount();
    test::runTask(connection.service->loadModels());
    QElapsedTimer timer;
    const QString answer = QStringLiteral("A sentence of about the usual length. ").repeated(10).trimmed();
    connection.model.onStream = [&](test::ModelStream stream) {
        QByteArray body;
        for (const QString& word : answer.split(u' '))
            body += test::ModelStream::eventBytes(test::ModelStream::delta(word));
        timer.start();
        stream.send(body + test::ModelStream::eventBytes(test::ModelStream::completed(answer)));
        stream.end();
    };
    CodexResponsesService backEnd(*connection.service, connection.session, connection.model.apiBase());
    test::RewriteFixture rewrite;
    rewrite.settings.setProvider(AIProvider::openai);
    rewrite.settings.setOpenaiAuthMode(OpenAIAuthMode::chatgpt);
    rewrite.tokens = connection.service->tokens();
    rewrite.script->reply = [&](QString text, std::stop_token stop) {
        return backEnd.rewriteText(text, {}, {}, stop);
    };
    qint64 elapsed = 0;
    rewrite.platform.pasteboard->onSet = [&] { elapsed = timer.nsecsElapsed(); };
    rewrite.makeService();
    const double median = medianNanoseconds([&] {
        test::runTask(
            rewrite.service->performRewrite(QStringLiteral("Be formal."), QStringLiteral("Formal")));
        if (rewrite.platform.pasteboard->text != answer)
            qFatal("Another answer");
        return elapsed;
    });
    std::printf("first byte to paste: %.3f ms\n", median / 1e6);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    benchStream();
    benchTokenCheck();
    benchFirstByteToPaste();
    return 0;
}
