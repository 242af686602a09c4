#include "support/CoroutineTest.h"
#include "update/BundleFixture.h"
#include "update/BundleInformation.h"
#include "update/BundleSwap.h"
#include "update/FileError.h"
#include "update/FileTree.h"
#include "update/UpdateError.h"
#include "update/WorkingFolder.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

const auto backupName = QStringLiteral("Quillmarsh-backup-b11d07cc-b13f-41bc-af75-15071a862f75.app");

} // namespace

Q_DECLARE_METATYPE(NameExchange)

class tst_BundleSwap final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        root_ = std::make_unique<QTemporaryDir>();
        installed_ = root_->filePath(QStringLiteral("Quillmarsh.app"));
        incoming_ = root_->filePath(QStringLiteral("incoming.app"));
    }

    void theNewCopyTakesThePlaceOfTheOld_data() { fileSystems(); }
    void theNewCopyTakesThePlaceOfTheOld()
    {
        QFETCH(NameExchange, exchange);
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        swapBundles(incoming_, installed_, exchange);
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.1"));
    }

    void aFirstCopyIsMovedInWithoutABackup()
    {
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        swapBundles(incoming_, installed_, [](const QString&, const QString&) {
            qFatal("There is nothing to exchange with");
            return false;
        });
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.1"));
    }

    void theExchangeIsOneStep()
    {
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        QVERIFY(exchangeNames(incoming_, installed_));
        QCOMPARE(version(), QStringLiteral("1.1"));
        QCOMPARE(BundleInformation::read(incoming_).version, QStringLiteral("1.0"));
        QVERIFY(!exchangeNames(root_->filePath(QStringLiteral("nothing")), installed_));
        QCOMPARE(version(), QStringLiteral("1.1"));
    }

    void aFailedMovePutsTheOldCopyBack_data() { fileSystems(); }
    void aFailedMovePutsTheOldCopyBack()
    {
        QFETCH(NameExchange, exchange);
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        try {
            swapBundles(incoming_, installed_, exchange); // nothing is there to be moved in
            QFAIL("it succeeded");
        } catch (const UpdateError& error) {
            QCOMPARE(error.kind(), UpdateError::Kind::InstallFailed);
        }
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.0"));
    }

    void aLinkIsMovedAwayAsALink_data() { fileSystems(); }
    void aLinkIsMovedAwayAsALink()
    {
        QFETCH(NameExchange, exchange);
        const QString target = root_->filePath(QStringLiteral("target.app"));
        makeBundle(target, {QStringLiteral("1.0"), identifier_, {}, 10});
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        QCOMPARE(::symlink("target.app", QFile::encodeName(installed_).constData()), 0);
        swapBundles(incoming_, installed_, exchange);
        QVERIFY(!QFileInfo(installed_).isSymLink());
        QCOMPARE(version(), QStringLiteral("1.1"));
        QVERIFY(exists(target));
    }

    void aCopyHasTheModesOfItsOriginal()
    {
        makeBundle(incoming_);
        setMode(incoming_ + QStringLiteral("/Contents/Linux"), 0750);
        const mode_t mask = ::umask(077);
        const QString copy = root_->filePath(QStringLiteral("copy.app"));
        runTask(copyTree(incoming_, copy));
        ::umask(mask);
        QCOMPARE(modes(copy), modes(incoming_));
        runTask(syncTree(copy));
        QVERIFY_EXCEPTION_THROWN(runTask(syncTree(root_->filePath(QStringLiteral("nothing")))), FileError);
    }

    void aBackupGoesBackOnlyWhereNothingIs()
    {
        makeBundle(root_->filePath(backupName), {QStringLiteral("1.0"), identifier_, {}, 10});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("interrupted")));
        QCOMPARE(recoverApplicationsFolder(root_->path(), QStringLiteral("/elsewhere")), std::nullopt);
        QCOMPARE(version(), QStringLiteral("1.0"));
        makeBundle(root_->filePath(backupName), {QStringLiteral("0.9"), identifier_, {}, 10});
        QCOMPARE(recoverApplicationsFolder(root_->path(), QStringLiteral("/elsewhere")), std::nullopt);
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.0"));
    }

    void aProcessThatRunsFromTheBackupLearnsWhereItIs()
    {
        const QString backup = root_->filePath(backupName);
        makeBundle(backup, {QStringLiteral("1.0"), identifier_, {}, 10});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("interrupted")));
        QCOMPARE(recoverApplicationsFolder(root_->path(), backup), installed_);
    }

    void whatIsNotTheUpdatersIsLeftAlone()
    {
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        const QStringList others{
            QStringLiteral("Quillmarsh-backup-.app"), QStringLiteral("Quillmarsh-backup-mine.app"),
            QStringLiteral("Quillmarsh-backup-"), QStringLiteral(".Quillmarsh-incoming-mine")};
        for (const QString& name : others)
            QVERIFY(QDir(root_->path()).mkdir(name));
        QCOMPARE(::symlink("Quillmarsh.app", QFile::encodeName(root_->filePath(backupName)).constData()), 0);
        QCOMPARE(recoverApplicationsFolder(root_->path(), installed_), std::nullopt);
        for (const QString& name : others)
            QVERIFY2(exists(root_->filePath(name)), qPrintable(name));
        QVERIFY(exists(root_->filePath(backupName)));
    }

    void nothingIsMendedWhileAnotherProcessInstalls()
    {
        makeBundle(root_->filePath(backupName), {QStringLiteral("1.0"), identifier_, {}, 10});
        const ApplicationsLock lock(root_->path());
        QVERIFY(!lock.isTaken());
        QVERIFY(ApplicationsLock(root_->path()).isTaken());
        QCOMPARE(recoverApplicationsFolder(root_->path(), installed_), std::nullopt);
        QVERIFY(!exists(installed_));
    }

    void aWorkingFolderInUseIsNotAbandoned()
    {
        const QString prefix = QLatin1String(workingFolderPrefix);
        const QString left = root_->filePath(prefix + QStringLiteral("b11d07cc-b13f-41bc-af75-15071a862f75"));
        QVERIFY(QDir().mkpath(left + QStringLiteral("/closed")));
        setMode(left + QStringLiteral("/closed"), 0);
        const WorkingFolder used(root_->path(), prefix);
        WorkingFolder::removeAbandoned(root_->path(), prefix);
        QVERIFY(exists(used.path()));
        QVERIFY(!exists(left));
    }

    void aWorkingFolderThatCannotBeMadeSaysWhy()
    {
        writeFile(root_->filePath(QStringLiteral("file")), "x");
        QVERIFY_EXCEPTION_THROWN(WorkingFolder(root_->filePath(QStringLiteral("file")), QStringLiteral("x-")),
                                 FileError);
    }

private:
    /// One that exchanges two names in one step, and one that cannot.
    static void fileSystems()
    {
        QTest::addColumn<NameExchange>("exchange");
        QTest::newRow("exchange") << NameExchange(exchangeNames);
        QTest::newRow("backup") << NameExchange([](const QString&, const QString&) { return false; });
    }

    static QStringList modes(const QString& folder)
    {
        QStringList found{QString::number(QFileInfo(folder).permissions(), 16)};
        const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QDirIterator entry(folder, everything, QDirIterator::Subdirectories);
        while (entry.hasNext()) {
            const QFileInfo file(entry.next());
            found.append(QDir(folder).relativeFilePath(file.filePath()) + u' ' +
                         QString::number(file.permissions(), 16));
        }
        found.sort();
        return found;
    }

    QString version() const { return BundleInformation::read(installed_).version.value_or(QString()); }
    QStringList content() const
    {
        return QDir(root_->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const QString identifier_ = QStringLiteral("com.quillmarsh.app");
    std::unique_ptr<QTemporaryDir> root_;
    QString installed_;
    QString incoming_;
};

QTEST_GUILESS_MAIN(tst_BundleSwap)
#include "tst_BundleSwap.moc"
