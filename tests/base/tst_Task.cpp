#include "base/LocalizedError.h"
#include "base/Race.h"
#include "base/Task.h"
#include "support/CoroutineTest.h"

#include <QElapsedTimer>
#include <QTest>

using namespace quillmarsh;
using namespace std::chrono_literals;

namespace {

Task<qint64> sleepAndMeasure(std::chrono::milliseconds duration, std::stop_token stop)
{
    QElapsedTimer timer;
    timer.start();
    co_await sleepFor(duration, stop);
    co_return timer.elapsed();
}

Task<> failWith(bool cancelled, int* failures)
{
    co_await sleepFor(1ms);
    ++*failures;
    if (cancelled)
        throw Cancelled();
    throw LocalizedError(QStringLiteral("secret text"));
}

Task<int> answerAfter(std::stop_token known, int* finished)
{
    co_await sleepFor(1h, known);
    ++*finished;
    co_return 42;
}

Task<int> answerWithAFailure()
{
    co_await sleepFor(1ms);
    throw LocalizedError(QStringLiteral("no"));
}

Task<int> answerAtOnce()
{
    co_return 7;
}

} // namespace

class tst_Task final : public QObject
{
    Q_OBJECT

private slots:
    void sleepIsNeverEarly() { QVERIFY(test::runTask(sleepAndMeasure(50ms, {})) >= 50); }

    void aStopEndsASleepFromTheEventLoop()
    {
        std::stop_source source;
        Task<qint64> sleeping = sleepAndMeasure(10s, source.get_token());
        source.request_stop();
        QVERIFY(!sleeping.isReady());
        QVERIFY(test::runTask(std::move(sleeping)) < 5000);
    }

    void aSleepAfterAStopDoesNotSuspend()
    {
        std::stop_source source;
        source.request_stop();
        QVERIFY(sleepAndMeasure(10s, source.get_token()).isReady());
    }

    void aRaceEndsAsItsTaskDoes()
    {
        QCOMPARE(test::runTask(orStopped(answerAtOnce(), {})), 7);
        QVERIFY(orStopped(answerAtOnce(), {}).isReady());
        QVERIFY_EXCEPTION_THROWN(test::runTask(orStopped(answerWithAFailure(), {})), LocalizedError);
        std::stop_source known;
        int finished = 0;
        Task<int> waiting = orStopped(answerAfter(known.get_token(), &finished), {});
        QVERIFY(!waiting.isReady());
        known.request_stop();
        QCOMPARE(test::runTask(std::move(waiting)), 42);
    }

    void aStopEndsTheWaitAndNotTheTask()
    {
        std::stop_source known;
        std::stop_source stop;
        int finished = 0;
        Task<int> waiting = orStopped(answerAfter(known.get_token(), &finished), stop.get_token());
        stop.request_stop();
        QVERIFY(!waiting.isReady()); // from the event loop only
        QVERIFY_EXCEPTION_THROWN(test::runTask(std::move(waiting)), Cancelled);
        QCOMPARE(finished, 0);
        known.request_stop();
        QTRY_COMPARE(finished, 1);
        QVERIFY_EXCEPTION_THROWN(test::runTask(orStopped(answerAtOnce(), stop.get_token())), Cancelled);
    }

    void aDetachedTaskLogsItsFailureWithoutTheText()
    {
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("^A background task failed \\([^ ]*\\)$")));
        int failures = 0;
        detach(failWith(false, &failures));
        detach(failWith(true, &failures));
        QTRY_COMPARE(failures, 2);
    }
};

QTEST_GUILESS_MAIN(tst_Task)
#include "tst_Task.moc"
