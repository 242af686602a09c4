#include "app/IdleMemory.h"

#include <QElapsedTimer>
#include <QTest>

using namespace quillmarsh;
using namespace std::chrono_literals;

/// When memory is handed back, and when not.
class tst_IdleMemory final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        isInUse_ = false;
        times_ = 0;
    }

    void atOnceWhenAWindowIsGone()
    {
        IdleMemory memory(options(1h));
        memory.giveBack();
        QCOMPARE(times_, 1);
    }

    void neverWhileSomethingIsInUse()
    {
        IdleMemory memory(options(1ms));
        isInUse_ = true;
        memory.giveBack();
        memory.giveBackLater();
        QTest::qWait(20);
        QCOMPARE(times_, 0);
    }

    void aSeriesOfRewritesCountsOnce()
    {
        IdleMemory memory(options(1s)); // far longer than a busy machine stretches one of the waits
        QElapsedTimer sinceLast;
        for (int rewrite = 0; rewrite < 5; ++rewrite) {
            memory.giveBackLater();
            sinceLast.start();
            QTest::qWait(20);
        }
        QTRY_COMPARE(times_, 1);
        QVERIFY(sinceLast.elapsed() >= 950); // timers are coarse
        QTest::qWait(100);
        QCOMPARE(times_, 1);
    }

    void aClosedWindowIsEnough()
    {
        IdleMemory memory(options(10ms));
        memory.giveBackLater();
        memory.giveBack();
        QTest::qWait(40);
        QCOMPARE(times_, 1);
    }

private:
    IdleMemoryOptions options(std::chrono::milliseconds pause)
    {
        return {[this] { return isInUse_; }, [this] { ++times_; }, pause};
    }

    bool isInUse_ = false;
    int times_ = 0;
};

QTEST_MAIN(tst_IdleMemory)
#include "tst_IdleMemory.moc"
