#include "update/FileTree.h"
#include "update/UpdateHarness.h"

#include <QDir>
#include <QTest>

#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

using Prepare = std::function<void(UpdateHarness&)>;

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

Q_DECLARE_METATYPE(Prepare)

/// Kills the application with SIGKILL between all the changes that an installation makes to the disk.
class tst_UpdateInterrupted final : public QObject
{
    Q_OBJECT

private slots:
    void aKilledInstallationIsMended_data()
    {
        QTest::addColumn<Prepare>("prepare");
        QTest::addColumn<bool>("isNeverMissing");
        QTest::newRow("exchange") << Prepare([](UpdateHarness&) {}) << true;
        QTest::newRow("backup") << Prepare([](UpdateHarness& h) {
            h.setVariable("NO_EXCHANGE", QStringLiteral("yes"));
        }) << false;
        QTest::newRow("temporary folder on another disk") << Prepare([](UpdateHarness& h) {
            h.setTemporaryFolder(QStringLiteral("/dev/shm/quillmarsh-test-%1").arg(::getpid()));
        }) << true;
    }

    void aKilledInstallationIsMended()
    {
        QFETCH(Prepare, prepare);
        QFETCH(bool, isNeverMissing);
        const int points = countPoints(prepare);
        int oldStarted = 0;
        int newStarted = 0;
        int tried = 0;
        // The point after one change and the point before the next are the same moment for the disk.
        for (int point = 1; point <= points; point += 2) {
            ++tried;
            UpdateHarness harness;
            setUp(harness, prepare);
            harness.setVariable("KILL_AT", QString::number(point));
            harness.run(harness.installed());
            QVERIFY2(exists(harness.installed()) || !isNeverMissing, qPrintable(QString::number(point)));
            const QString started = startAgain(harness);
            oldStarted += started == QLatin1String("started 1.0 yes") ? 1 : 0;
            newStarted += started == QLatin1String("started 1.1 yes") ? 1 : 0;
            QVERIFY2(oldStarted + newStarted == tried,
                     qPrintable(QStringLiteral("%1: %2").arg(point).arg(started)));
            QVERIFY2(harness.leftovers().isEmpty(),
                     qPrintable(QStringLiteral("%1: %2").arg(point).arg(harness.leftovers().join(u' '))));
            QVERIFY(harness.settingsAreUntouched());
        }
        qInfo("The old version started %d times, the new one %d times", oldStarted, newStarted);
        QVERIFY(oldStarted > 0 && newStarted > 0);
    }

private:
    int countPoints(const Prepare& prepare)
    {
        UpdateHarness harness;
        setUp(harness, prepare);
        harness.setVariable("KILL_COUNT", harness.path("home/count"));
        harness.run(harness.installed());
        [&] { QVERIFY(harness.awaitReport(QStringLiteral("relaunched 1.1 yes"))); }();
        const int points = readFile(harness.path("home/count")).toInt();
        qInfo("An installation has %d points", points);
        [&] { QVERIFY(points / 2 >= 20); }();
        return points;
    }

    void setUp(UpdateHarness& harness, const Prepare& prepare)
    {
        if (archive_.isEmpty())
            archive_ = harness.archiveOf(QStringLiteral("1.1"));
        harness.publish(archive_);
        // Readable for the user that the stand-in runs as.
        const QString shim = harness.path("system/killAt.so");
        QVERIFY(QFile::copy(QStringLiteral(KILL_AT), shim));
        harness.setVariable("LD_PRELOAD", shim);
        prepare(harness);
    }

    QByteArray archive_;
};

QTEST_GUILESS_MAIN(tst_UpdateInterrupted)
#include "tst_UpdateInterrupted.moc"
