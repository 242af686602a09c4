#include "base/LocalizedError.h"
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

Task<> failWith(bool cancelled)
{
    co_await sleepFor(1ms);
    if (cancelled)
        throw Cancelled();
    throw LocalizedError(QStringLiteral("secret text"));
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

    void aDetachedTaskLogsItsFailureWithoutTheText()
    {
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("^A background task failed \\([^ ]*\\)$")));
        detach(failWith(false));
        detach(failWith(true));
        QTest::qWait(50);
    }
};

QTEST_GUILESS_MAIN(tst_Task)
#include "tst_Task.moc"
