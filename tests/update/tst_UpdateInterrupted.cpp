#include "update/FileTree.h"
#include "update/UpdateHarness.h"

#include <QDir>
#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

/// What a user does after a crash: start the application, from the backup when it is not in its place.
QString startAgain(UpdateHarness& harness)
{
    harness.setVariable("KILL_AT", QString());
    if (exists(harness.installed()))
        return harness.whatStarts();
    const QStringList backups =
        QDir(harness.applications()).entryList({QStringLiteral("Quillmarsh-backup-*.app")}, QDir::Dirs);
    if (backups.size() != 1)
        return QStringLiteral("there is no one backup");
    const QStringList report = harness.run(harness.applications() + u'/' + backups.first(), "probe");
    if (!report.contains(QStringLiteral("recovered")))
        return QStringLiteral("the backup was not put back");
    return harness.whatStarts();
}

} // namespace

/// Kills the application with SIGKILL before and after each change that an installation makes to the disk.
class tst_UpdateInterrupted final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UpdateHarness harness;
        prepare(harness);
        harness.setVariable("KILL_COUNT", harness.path("home/count"));
        harness.run(harness.installed());
        QTRY_VERIFY(harness.report().contains(QStringLiteral("relaunched 1.1 yes")));
        points_ = readFile(harness.path("home/count")).toInt();
        qInfo("An installation has %d points", points_);
        QVERIFY(points_ >= 20);
    }

    void aKilledInstallationIsMended()
    {
        int oldStarted = 0;
        int newStarted = 0;
        for (int point = 1; point <= points_; ++point) {
            UpdateHarness harness;
            prepare(harness);
            harness.setVariable("KILL_AT", QString::number(point));
            harness.run(harness.installed());
            const QString started = startAgain(harness);
            oldStarted += started == QLatin1String("started 1.0 yes") ? 1 : 0;
            newStarted += started == QLatin1String("started 1.1 yes") ? 1 : 0;
            QVERIFY2(oldStarted + newStarted == point,
                     qPrintable(QStringLiteral("%1: %2").arg(point).arg(started)));
            QVERIFY2(harness.leftovers().isEmpty(),
                     qPrintable(QStringLiteral("%1: %2").arg(point).arg(harness.leftovers().join(u' '))));
            QVERIFY(harness.settingsAreUntouched());
        }
        qInfo("The old version started %d times, the new one %d times", oldStarted, newStarted);
        QVERIFY(oldStarted > 0 && newStarted > 0);
    }

private:
    void prepare(UpdateHarness& harness)
    {
        if (archive_.isEmpty())
            archive_ = harness.archiveOf(QStringLiteral("1.1"));
        harness.publish(archive_);
        // Readable for the user that the stand-in runs as.
        const QString shim = harness.path("system/killAt.so");
        QVERIFY(QFile::copy(QStringLiteral(KILL_AT), shim));
        harness.setVariable("LD_PRELOAD", shim);
    }

    QByteArray archive_;
    int points_ = 0;
};

QTEST_GUILESS_MAIN(tst_UpdateInterrupted)
#include "tst_UpdateInterrupted.moc"
