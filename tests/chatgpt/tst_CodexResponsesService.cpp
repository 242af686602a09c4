#include "ai/AIError.h"
#include "ai/SystemPrompt.h"
#include "base/Http.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/CodexResponsesService.h"
#include "support/ConnectionFixture.h"
#include "support/ImpatientSession.h"

#include <QFile>
#include <QJsonArray>

using namespace quillmarsh;
using test::ModelStream;

namespace {

QStringList loggedLines;
QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    loggedLines.append(message);
    previousHandler(type, context, message);
}

} // namespace

class tst_CodexResponsesService final : public QObject, private test::ConnectionTest
{
    Q_OBJECT

    [[nodiscard]] Task<QString> rewrite(const QString& text = QStringLiteral("teh text"),
                                        std::stop_token stop = {}) const
    {
        CodexResponsesService service(*f_->service, f_->session, f_->model.apiBase());
        return service.rewriteText(text, QStringLiteral("unused"), QStringLiteral("Be formal."),
                                   std::move(stop));
    }
    [[nodiscard]] QString failure() const { return test::failureOf(rewrite()); }

    /// Stops a rewrite; the milliseconds until its connection is closed.
    qint64 stopUntilClosed(bool hasBegun)
    {
        std::optional<ModelStream> open;
        f_->model.onStream = [&](ModelStream answer) {
            open = answer;
            if (hasBegun)
                answer.sendDelta(QStringLiteral("a part"));
        };
        std::stop_source stop;
        Task<QString> rewriting = rewrite(QStringLiteral("x"), stop.get_token());
        if (!QTest::qWaitFor([&] { return open.has_value(); }))
            return 2000;
        QTest::qWait(30);
        QElapsedTimer timer;
        timer.start();
        stop.request_stop();
        while (open->isOpen() && timer.elapsed() < 2000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        const qint64 elapsed = timer.elapsed();
        [&] { QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(rewriting)), Cancelled); }();
        return elapsed;
    }

private slots:
    void init()
    {
        setUp();
        f_->connectAccount();
    }
    void cleanup() { tearDown(); }

    void theRequestAndItsAnswer()
    {
        f_->model.answer = QStringLiteral("Ümläut – 漢字 😀");
        QCOMPARE(test::runTask(rewrite(QStringLiteral("the \"selection\"\n"))), f_->model.answer);
        const QJsonObject body = f_->model.lastBody;
        QCOMPARE(body.value(QLatin1String("model")).toString(), QStringLiteral("m-1"));
        QCOMPARE(body.value(QLatin1String("instructions")).toString(),
                 buildSystemPrompt(QStringLiteral("Be formal.")));
        const QJsonValue message = body.value(QLatin1String("input")).toArray().at(0);
        QCOMPARE(message[QLatin1String("content")].toArray().at(0)[QLatin1String("text")].toString(),
                 QStringLiteral("the \"selection\"\n"));
        const auto& request = f_->model.http().requests().back();
        QCOMPARE(request.headers.value("authorization"),
                 "Bearer " + f_->service->tokens()->accessToken.toUtf8());
        QCOMPARE(f_->model.responsesRequests, 1);
    }

    void theEndpointIsKnownAhead()
    {
        const CodexResponsesService service(*f_->service, f_->session,
                                            QStringLiteral("https://api.example.com/v1"));
        QCOMPARE(service.endpoint(), QUrl(QStringLiteral("https://api.example.com/v1/responses")));
    }

    void theStreamMayBeCutAnywhere()
    {
        const QByteArray stream =
            "\xef\xbb\xbf: comment\r\n" + ModelStream::eventBytes(ModelStream::delta(QStringLiteral("é😀"))) +
            "data:" + ModelStream::eventBytes(ModelStream::completed(QString())).split('\n')[1].mid(5) +
            "\r\r\n";
        for (const qsizetype size : {1, 3, 4, 11}) {
            f_->model.onStream = [&](ModelStream answer) {
                for (qsizetype at = 0; at < stream.size(); at += size)
                    answer.send(stream.mid(at, size));
                answer.end();
            };
            QCOMPARE(test::runTask(rewrite()), QStringLiteral("é😀"));
        }
    }

    void theLastLineNeedsNoEnd()
    {
        f_->model.onStream = [](ModelStream answer) {
            answer.send(ModelStream::eventBytes(ModelStream::completed(QStringLiteral("done"))).trimmed());
            answer.end();
        };
        QCOMPARE(test::runTask(rewrite()), QStringLiteral("done"));
    }

    void doneEndsTheReading()
    {
        f_->model.onStream = [](ModelStream answer) {
            answer.sendCompleted(QStringLiteral("first"));
            answer.send("data:   [DONE]  \n\ndata: rubbish\n\n"); // and the stream stays open
        };
        QCOMPARE(test::runTask(rewrite()), QStringLiteral("first"));
    }

    void aCutBehindTheWholeAnswerChangesNothing()
    {
        f_->model.onStream = [this](ModelStream answer) {
            answer.sendCompleted(QStringLiteral("whole"));
            answer.send("data: {\"type\":\"resp");
            QTimer::singleShot(20, this, [answer]() mutable { answer.cut(); });
        };
        QCOMPARE(test::runTask(rewrite()), QStringLiteral("whole"));
    }

    void partsAreNeverReturned_data()
    {
        QTest::addColumn<QString>("end");
        QTest::addColumn<QString>("message");
        const QString invalid = QStringLiteral("Invalid response from AI service");
        QTest::newRow("ended") << QStringLiteral("end") << invalid;
        QTest::newRow("done") << QStringLiteral("done") << invalid;
        QTest::newRow("rubbish") << QStringLiteral("rubbish") << invalid;
        QTest::newRow("cut") << QStringLiteral("cut") << QStringLiteral("The network connection was lost.");
        QTest::newRow("limit")
            << QStringLiteral("limit")
            << QStringLiteral("ChatGPT plan usage is unavailable or its limit was reached. Manage usage "
                              "in ChatGPT settings.");
    }
    void partsAreNeverReturned()
    {
        QFETCH(QString, end);
        QFETCH(QString, message);
        f_->model.onStream = [&](ModelStream answer) {
            answer.sendDelta(QStringLiteral("only a part"));
            if (end == u"done")
                answer.send("data: [DONE]\n\n");
            else if (end == u"rubbish")
                answer.send("data: {\n\n");
            else if (end == u"limit")
                answer.send("data: {\"type\":\"error\",\"code\":\"rate_limit_exceeded\"}\n\n");
            if (end == u"cut")
                QTimer::singleShot(20, this, [answer]() mutable { answer.cut(); });
            else
                answer.end();
        };
        QCOMPARE(failure(), message);
    }

    void statuses()
    {
        for (const int status : {400, 403, 404, 500, 503, 302, 307}) {
            f_->model.responsesStatuses = {status};
            QCOMPARE(failure(),
                     QStringLiteral("ChatGPT request failed (HTTP %1). Check your connection in Settings.")
                         .arg(status));
        }
        f_->model.responsesStatuses = {429};
        QCOMPARE(failure(),
                 QStringLiteral(
                     "Your ChatGPT usage limit was reached. Manage usage in ChatGPT or try again later."));
        QCOMPARE(f_->model.responsesRequests, 8);
        QCOMPARE(f_->auth.count(test::FakeAuthorizationServer::tokenPath), 1);
    }

    void aWithdrawnTokenIsRefreshedOnce()
    {
        test::runTask(f_->service->loadModels());
        f_->auth.withdraw(f_->service->tokens()->accessToken);
        QCOMPARE(test::runTask(rewrite()), f_->model.answer);
        QCOMPARE(f_->model.responsesRequests, 2);
        f_->model.responsesStatuses = {401, 401};
        QCOMPARE(failure(),
                 QStringLiteral("ChatGPT request failed (HTTP 401). Check your connection in Settings."));
        QCOMPARE(f_->model.responsesRequests, 4);
    }

    /// The second attempt is the new account's, with the model that was chosen for it.
    void aSwitchDuringTheRefreshTakesTheOtherAccount()
    {
        f_->auth.account.subject = QStringLiteral("user-2");
        f_->connectAccount(true);
        f_->defaults->set(QStringLiteral("chatgpt.model.client-1"), QStringLiteral("m-2"));
        f_->model.responsesStatuses = {401};
        f_->auth.hold(test::FakeAuthorizationServer::tokenPath);
        Task<QString> rewriting = rewrite();
        QTRY_COMPARE(f_->auth.parked(), 1);
        f_->service->selectProfile(QStringLiteral("client-1"));
        QCOMPARE(test::runTask(std::move(rewriting)), f_->model.answer);
        QCOMPARE(f_->model.lastBody.value(QLatin1String("model")).toString(), QStringLiteral("m-2"));
        QCOMPARE(f_->model.http().requests().back().headers.value("authorization"),
                 "Bearer " + f_->service->tokens()->accessToken.toUtf8());
        QCOMPARE(f_->service->tokens()->clientID, QStringLiteral("client-1"));
        f_->auth.release();
    }

    void withoutAnAccountNothingIsSent()
    {
        test::runTask(f_->service->save([this] {
            CodexTokens tokens = *f_->service->tokens();
            tokens.accessToken.clear();
            return tokens;
        }()));
        QCOMPARE(failure(), QStringLiteral("Connect your ChatGPT account in Settings."));
        QCOMPARE(f_->model.responsesRequests, 0);
    }

    void noNetwork()
    {
        test::runTask(f_->service->loadModels());
        CodexResponsesService service(*f_->service, f_->session, QStringLiteral("http://127.0.0.1:9/v1"));
        QVERIFY_EXCEPTION_THROWN(test::runTask(service.rewriteText(QStringLiteral("x"), {}, {}, {})),
                                 TransportError);
    }

    /// The plan may have been charged for the request by then, also on a connection that was used before.
    void aConnectionThatEndsUnansweredIsNotAskedAgain()
    {
        QCOMPARE(test::runTask(rewrite()), f_->model.answer);
        f_->model.http().setResponder(
            [](const test::RecordedRequest&, QTcpSocket& socket) { socket.abort(); });
        const auto before = f_->model.http().requests().size();
        QCOMPARE(failure(), QStringLiteral("The network connection was lost."));
        QCOMPARE(f_->model.http().requests().size(), before + 1);
    }

    void whatIsNotHttpIsNoAnswer()
    {
        test::runTask(f_->service->loadModels());
        f_->model.http().setResponder([](const test::RecordedRequest&, QTcpSocket& socket) {
            socket.write("HTTP/x.y hello\r\n\r\ndata: {}\n\n");
            socket.disconnectFromHost();
        });
        const auto before = f_->model.http().requests().size();
        QCOMPARE(failure(), QStringLiteral("The network connection was lost."));
        QCOMPARE(f_->model.http().requests().size(), before + 1);
    }

    /// Sixty seconds without a byte end a rewrite, before the answer and in the middle of it.
    void aSilentServerIsNotWaitedForForEver_data()
    {
        QTest::addColumn<bool>("hasBegun");
        QTest::newRow("before the answer") << false;
        QTest::newRow("in the middle of the answer") << true;
    }
    void aSilentServerIsNotWaitedForForEver()
    {
        QFETCH(bool, hasBegun);
        test::runTask(f_->service->loadModels());
        f_->model.onStream = [&](ModelStream answer) {
            if (hasBegun)
                answer.sendDelta(QStringLiteral("a part"));
        };
        test::ImpatientSession session;
        session.haste = 60; // a second, for the request to arrive on a busy machine too
        CodexResponsesService service(*f_->service, session, f_->model.apiBase());
        try {
            test::runTask(service.rewriteText(QStringLiteral("x"), {}, {}, {}));
            QFAIL("an answer");
        } catch (const TransportError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("The request timed out."));
        }
        QCOMPARE(session.timeouts.value(QStringLiteral("/v1/responses")), 60'000);
        QTRY_COMPARE(f_->model.responsesRequests, 1);
    }

    /// A slow answer is no silent one.
    void everyByteStartsTheWaitAnew()
    {
        test::runTask(f_->service->loadModels());
        test::ImpatientSession session;
        session.haste = 30; // two seconds, in all of which a busy machine lets some byte through
        QTimer drip;
        f_->model.onStream = [&](ModelStream answer) {
            connect(&drip, &QTimer::timeout, this, [&drip, answer, sent = 0]() mutable {
                answer.sendDelta(QStringLiteral("x"));
                if (++sent < 10)
                    return;
                drip.stop();
                answer.sendCompleted(QString());
                answer.end();
            });
            drip.start(250);
        };
        CodexResponsesService service(*f_->service, session, f_->model.apiBase());
        QCOMPARE(test::runTask(service.rewriteText(QStringLiteral("x"), {}, {}, {})), QString(10, u'x'));
    }

    void theOtherTimeOuts()
    {
        test::ImpatientSession session;
        CodexEnvironment environment = f_->environment();
        environment.session = &session;
        f_->service = std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load);
        f_->connectAccount();
        test::runTask(f_->service->loadModels());
        const QHash<QString, int> expected{
            {QString::fromLatin1(test::FakeAuthorizationServer::tokenPath), 30'000},
            {QString::fromLatin1(test::FakeAuthorizationServer::keysPath), 60'000},
            {QStringLiteral("/v1/models"), 30'000}};
        QCOMPARE(session.timeouts, expected);
    }

    void aStopClosesTheConnectionAtOnce_data()
    {
        QTest::addColumn<bool>("hasBegun");
        QTest::newRow("while waiting for the answer") << false;
        QTest::newRow("in the middle of the answer") << true;
    }
    void aStopClosesTheConnectionAtOnce()
    {
        QFETCH(bool, hasBegun);
        qint64 best = std::numeric_limits<qint64>::max();
        for (int round = 0; round < 5 && best >= 100; ++round) // a busy machine delays only some of them
            best = std::min(best, stopUntilClosed(hasBegun));
        QVERIFY2(best < 100, qPrintable(QString::number(best)));
    }

    void aStopBeforeTheStartSendsNothing()
    {
        std::stop_source stop;
        stop.request_stop();
        QVERIFY_EXCEPTION_THROWN(test::runTask(rewrite(QStringLiteral("x"), stop.get_token())), Cancelled);
        QCOMPARE(f_->model.responsesRequests, 0);
    }

    /// No token, code, verifier or text in the log, in the settings file or in the text of an error.
    void nothingSecretIsWrittenAnywhere()
    {
        const QString text = QStringLiteral("selected-c4n4ry");
        loggedLines.clear();
        previousHandler = qInstallMessageHandler(collect);
        f_->connectAccount();
        test::runTask(rewrite(text));
        test::runTask(f_->service->refreshIfNeeded(CodexOAuthService::Refresh::forced));
        QStringList messages;
        f_->auth.tokenStatuses = {500};
        f_->model.responsesStatuses = {401, 401};
        messages.append(failure());
        f_->auth.tokenOverrides = {{QStringLiteral("id_token"), QStringLiteral("a.b.c")}};
        test::runTask(f_->service->signIn(true));
        messages.append(f_->service->lastError().value_or(QString()));
        f_->service->cancelSignIn();
        test::runTask(f_->service->signOut());
        messages.append(f_->service->lastError().value_or(QString()));
        qInstallMessageHandler(previousHandler);

        QCoreApplication::processEvents(); // the store writes soon, not at once
        QFile file(f_->folder.filePath(QStringLiteral("defaults.ini")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString everything =
            QString::fromUtf8(file.readAll()) + loggedLines.join(u'\n') + messages.join(u'\n');
        QVERIFY(everything.contains(QStringLiteral("chatgpt.hostID")));
        QVERIFY(f_->auth.secrets.size() >= 10);
        for (const QString& secret : f_->auth.secrets + QStringList{text, QStringLiteral("c4n4ry")})
            QVERIFY2(!everything.contains(secret), qPrintable(secret));
    }
};

QTEST_GUILESS_MAIN(tst_CodexResponsesService)
#include "tst_CodexResponsesService.moc"
