#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <limits>

namespace quillmarsh::test {

/// How long the threads of this process were ready to run while others had the processors, in milliseconds.
inline qint64 timeWithoutProcessor()
{
    qint64 nanoseconds = 0;
    const QString threads = QStringLiteral("/proc/self/task");
    for (const QString& thread : QDir(threads).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(threads + QLatin1Char('/') + thread + QStringLiteral("/schedstat"));
        if (file.open(QIODevice::ReadOnly))
            nanoseconds += file.readAll().split(' ').value(1).toLongLong();
    }
    return nanoseconds / 1'000'000;
}

/// Measures like a stopwatch, which stands still while other programs keep this one from running.
class FairTimer final
{
public:
    [[nodiscard]] qint64 elapsed() const
    {
        const qint64 all = timer_.elapsed();
        return all - std::clamp<qint64>(timeWithoutProcessor() - before_, 0, all); // a thread may have ended
    }

private:
    static QElapsedTimer started()
    {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }

    qint64 before_ = timeWithoutProcessor();
    QElapsedTimer timer_ = started();
};

/// The shortest of up to five runs of `work`, in milliseconds; ends as soon as one keeps within `limit`. What
/// the work itself takes it takes in every run, while a busy machine delays only some of them.
template <typename Work>
qint64 shortest(qint64 limit, Work work)
{
    qint64 best = std::numeric_limits<qint64>::max();
    for (int round = 0; round < 5 && best > limit; ++round) {
        const FairTimer timer;
        work();
        best = std::min(best, timer.elapsed());
    }
    return best;
}

/// Checks that `work` takes no longer than `limit` milliseconds on a machine that is not busy.
#define VERIFY_TAKES_AT_MOST(limit, work)                                                                    \
    do {                                                                                                     \
        const qint64 took = quillmarsh::test::shortest(limit, work);                                         \
        QVERIFY2(took <= (limit), qPrintable(QStringLiteral("took %1 ms at best").arg(took)));               \
    } while (false)

} // namespace quillmarsh::test
