#include "base/UserDefaults.h"
#include "support/FailOnWarnings.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;

namespace {

constexpr auto ownerMayReadAndWrite =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
const QString key = QStringLiteral("selectedProvider");
const QString value = QStringLiteral("claude");

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int failuresLogged = 0;

void countFailures(QtMsgType type, const QMessageLogContext&, const QString& line)
{
    if (type == QtWarningMsg && line == QLatin1String("The settings could not be written"))
        ++failuresLogged;
}

/// Counts, as long as it lives, how often a failed write is told.
struct FailureCount
{
    FailureCount() : before_(qInstallMessageHandler(countFailures)) { failuresLogged = 0; }
    ~FailureCount() { qInstallMessageHandler(before_); }

private:
    QtMessageHandler before_;
};

} // namespace

class tst_UserDefaults final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        test::failOnWarnings();
        folder_ = std::make_unique<QTemporaryDir>();
    }

    void aNewFileIsForItsOwnerAlone()
    {
        UserDefaults store(path());
        QCOMPARE(QFile::permissions(path()), ownerMayReadAndWrite); // before there is anything in it
        store.set(key, value);
        QTRY_VERIFY(contentOf(path()).contains("selectedProvider=claude"));
        QCOMPARE(QFile::permissions(path()), ownerMayReadAndWrite);
    }

    void anExistingFileBecomesItsOwnersAlone()
    {
        QDir().mkpath(QFileInfo(path()).path());
        write(path(), "[General]\nselectedProvider=openai\n");
        QFile::setPermissions(path(), ownerMayReadAndWrite | QFile::ReadGroup | QFile::ReadOther);
        UserDefaults store(path());
        QCOMPARE(QFile::permissions(path()), ownerMayReadAndWrite);
        QCOMPARE(store.string(key), QStringLiteral("openai"));
        store.set(key, value);
        QTRY_VERIFY(contentOf(path()).contains("selectedProvider=claude"));
        QCOMPARE(QFile::permissions(path()), ownerMayReadAndWrite);
    }

    void aValueIsWrittenAtTheEnd()
    {
        {
            UserDefaults store(path());
            store.set(key, value);
        }
        QVERIFY(contentOf(path()).contains("selectedProvider=claude"));
        {
            UserDefaults store(path());
            store.remove(key);
        }
        QVERIFY(!contentOf(path()).contains("selectedProvider"));
    }

    void aFailedWriteIsLoggedOnce()
    {
        write(QFileInfo(path()).path(), "a file where the folder should be");
        const FailureCount count;
        UserDefaults store(path());
        store.set(key, value);
        QTRY_COMPARE(failuresLogged, 1);
        store.set(key, QStringLiteral("openai"));
        QCoreApplication::processEvents();
        QCOMPARE(failuresLogged, 1);
        QCOMPARE(store.string(key), QStringLiteral("openai")); // what runs goes on with it
    }

    void aFailedWriteAtTheEndIsLogged()
    {
        write(QFileInfo(path()).path(), "a file where the folder should be");
        const FailureCount count;
        UserDefaults(path()).set(key, value);
        QCOMPARE(failuresLogged, 1);
    }

    void whatCouldNotBeWrittenComesWithTheNextChange()
    {
        const QString inTheWay = QFileInfo(path()).path();
        write(inTheWay, "a file where the folder should be");
        const FailureCount count;
        UserDefaults store(path());
        store.set(key, value);
        QTRY_COMPARE(failuresLogged, 1);
        QVERIFY(QFile::remove(inTheWay));
        store.set(QStringLiteral("completedRewriteCount"), 3);
        QTRY_VERIFY(contentOf(path()).contains("completedRewriteCount=3"));
        QVERIFY(contentOf(path()).contains("selectedProvider=claude"));
    }

    void aFileThatCannotBeReadIsKeptAsItIs()
    {
        const QByteArray garbage("[General\nselectedProvider=who\nfoo\x00\xff\n", 35);
        const QDir folder(QFileInfo(path()).path());
        QDir().mkpath(folder.path());
        write(path(), garbage);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Part of the settings file")));
        UserDefaults store(path());
        store.set(key, value);
        QTRY_VERIFY(contentOf(path()).contains("selectedProvider=claude"));
        const QStringList kept = folder.entryList({QStringLiteral("defaults.unreadable-*.ini")});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(contentOf(folder.filePath(kept.first())), garbage);
        QCOMPARE(QFile::permissions(path()), ownerMayReadAndWrite);
    }

private:
    [[nodiscard]] QString path() const
    {
        return folder_->filePath(QStringLiteral("quillmarsh/defaults.ini"));
    }

    std::unique_ptr<QTemporaryDir> folder_;
};

QTEST_GUILESS_MAIN(tst_UserDefaults)
#include "tst_UserDefaults.moc"
