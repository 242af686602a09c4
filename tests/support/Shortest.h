#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <limits>

namespace quillmarsh::test {

/// The shortest of up to five runs of `work`, in milliseconds; ends as soon as one keeps within `limit`. What
/// the work itself takes it takes in every run, while a busy machine delays only some of them.
template <typename Work>
qint64 shortest(qint64 limit, Work work)
{
    qint64 best = std::numeric_limits<qint64>::max();
    for (int round = 0; round < 5 && best > limit; ++round) {
        QElapsedTimer timer;
        timer.start();
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
