#include "update/BundleFixture.h"
#include "update/BundleInformation.h"
#include "update/BundleSwap.h"
#include "update/FileError.h"
#include "update/FileTree.h"
#include "update/UpdateError.h"
#include "update/WorkingFolder.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

const auto backupName = QStringLiteral("Quillmarsh-backup-b11d07cc-b13f-41bc-af75-15071a862f75.app");

} // namespace

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

    void theNewCopyTakesThePlaceOfTheOld()
    {
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        swapBundles(incoming_, installed_);
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.1"));
    }

    void aFailedMovePutsTheOldCopyBack()
    {
        makeBundle(installed_, {QStringLiteral("1.0"), identifier_, {}, 10});
        try {
            swapBundles(incoming_, installed_); // nothing is there to be moved in
            QFAIL("it succeeded");
        } catch (const UpdateError& error) {
            QCOMPARE(error.kind(), UpdateError::Kind::InstallFailed);
        }
        QCOMPARE(content(), QStringList{QStringLiteral("Quillmarsh.app")});
        QCOMPARE(version(), QStringLiteral("1.0"));
    }

    void aLinkIsMovedAwayAsALink()
    {
        const QString target = root_->filePath(QStringLiteral("target.app"));
        makeBundle(target, {QStringLiteral("1.0"), identifier_, {}, 10});
        makeBundle(incoming_, {QStringLiteral("1.1"), identifier_, {}, 10});
        QCOMPARE(::symlink("target.app", QFile::encodeName(installed_).constData()), 0);
        swapBundles(incoming_, installed_);
        QVERIFY(!QFileInfo(installed_).isSymLink());
        QCOMPARE(version(), QStringLiteral("1.1"));
        QVERIFY(exists(target));
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
        QVERIFY(lock.isHeld());
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
