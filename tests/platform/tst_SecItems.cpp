#include "platform/SecItemsContract.h"
#include "platform/linux/LibsecretItems.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

using namespace quillmarsh;

#ifdef __SANITIZE_ADDRESS__
/// libsecret 0.20 loses 32 bytes per opened session, and Qt's D-Bus module its own bookkeeping.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:g_malloc0\nleak:libQt6DBus.so\n";
}
#endif

namespace {

const SecItemQuery key{QStringLiteral("com.quillmarsh.app"), QStringLiteral("openai-api-key")};

/// The default collection of the private secret service, locked as the user or the screen lock does.
void lockDefaultCollection()
{
    const auto service = QStringLiteral("org.freedesktop.secrets");
    QDBusInterface secrets(service, QStringLiteral("/org/freedesktop/secrets"),
                           QStringLiteral("org.freedesktop.Secret.Service"));
    const QList<QDBusObjectPath> all{
        QDBusObjectPath(QStringLiteral("/org/freedesktop/secrets/aliases/default"))};
    const QDBusMessage answer = secrets.call(QStringLiteral("Lock"), QVariant::fromValue(all));
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
}

/// The name on the bus of the process that serves secrets; none while nobody does. No two are ever the same.
QString secretService()
{
    return QDBusConnection::sessionBus().interface()->serviceOwner(QStringLiteral("org.freedesktop.secrets"));
}

void restartSecretService()
{
    const QString former = secretService();
    QProcess daemon;
    daemon.start(
        QStringLiteral("gnome-keyring-daemon"),
        {QStringLiteral("--replace"), QStringLiteral("--unlock"), QStringLiteral("--components=secrets")});
    daemon.write("test");
    daemon.closeWriteChannel();
    QVERIFY(daemon.waitForFinished());
    // It goes to the background before it serves; who asked now would have another one started, a locked one.
    const auto isServing = [&former] {
        const QString now = secretService();
        return !now.isEmpty() && now != former;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isServing(), 60'000);
}

Task<qint64> timeOfReads(SecItems& items, int count)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i)
        co_await items.copyMatching(key);
    co_return timer.nsecsElapsed();
}

} // namespace

class tst_SecItems final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qDBusRegisterMetaType<QList<QDBusObjectPath>>(); }
    void init()
    {
        test::failOnWarnings();
        QVERIFY(!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"));
    }

    void theFakeKeepsTheContract()
    {
        test::FakeSecItems items;
        test::verifySecItemsContract(items);
    }

    void theSecretServiceKeepsTheContract()
    {
        LibsecretItems items;
        test::verifySecItemsContract(items);
    }

    void anItemIsThereForTheNextProcess()
    {
        QCOMPARE(test::runTask(LibsecretItems().add(key, "kept", SecAccessible::whenUnlocked)),
                 errSecSuccess);
        LibsecretItems items;
        QCOMPARE(test::runTask(items.copyMatching(key)).data, QByteArray("kept"));
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void aStatusComesFromTheEventLoopAndTheMainThread()
    {
        LibsecretItems items;
        Task<SecItemResult> reading = items.copyMatching(key);
        QVERIFY(!reading.isReady());
        QCOMPARE(test::runTask(std::move(reading)).status, errSecItemNotFound);
    }

    void aWarmReadIsQuick()
    {
        LibsecretItems items;
        QCOMPARE(test::runTask(items.add(key, "quick", SecAccessible::whenUnlocked)), errSecSuccess);
        QCOMPARE(test::runTask(items.copyMatching(key)).status, errSecSuccess);
        const qint64 nanoseconds = test::runTask(timeOfReads(items, 20));
        qInfo("A warm read takes %.2f ms", double(nanoseconds) / 20e6);
        QVERIFY(nanoseconds < 20 * 100'000'000LL);
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void readsThatWaitTogetherAreOneUntilSomethingIsWritten()
    {
        LibsecretItems items;
        QCOMPARE(test::runTask(items.add(key, "old", SecAccessible::whenUnlocked)), errSecSuccess);
        const qint64 twentyReads = test::runTask(timeOfReads(items, 20));
        QElapsedTimer timer;
        timer.start();
        std::vector<Task<SecItemResult>> reads;
        for (int i = 0; i < 2000; ++i)
            reads.push_back(items.copyMatching(key));
        Task<SecItemResult> another = items.copyMatching({key.service, QStringLiteral("never stored")});
        Task<OSStatus> updating = items.update(key, "new");
        Task<SecItemResult> after = items.copyMatching(key);
        for (Task<SecItemResult>& read : reads)
            QCOMPARE(test::runTask(std::move(read)).data, QByteArray("old"));
        QCOMPARE(test::runTask(std::move(another)).status, errSecItemNotFound);
        QCOMPARE(test::runTask(std::move(updating)), errSecSuccess);
        QCOMPARE(test::runTask(std::move(after)).data, QByteArray("new"));
        qInfo("2000 reads at once took %lld ms", timer.elapsed());
        QVERIFY(timer.nsecsElapsed() < 50 * twentyReads); // one by one they would take twice that
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void aReadBehindAnAnswerAsksAnew()
    {
        LibsecretItems items;
        LibsecretItems otherProcess;
        QCOMPARE(test::runTask(items.add(key, "0", SecAccessible::whenUnlocked)), errSecSuccess);
        for (int i = 1; i <= 20; ++i) {
            std::ignore = test::runTask(items.copyMatching(key));
            QCOMPARE(test::runTask(otherProcess.update(key, QByteArray::number(i))), errSecSuccess);
            QCOMPARE(test::runTask(items.copyMatching(key)).data, QByteArray::number(i));
        }
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void aLockedStoreIsToldFromAMissingItem()
    {
        LibsecretItems items;
        QCOMPARE(test::runTask(items.add(key, "locked away", SecAccessible::whenUnlocked)), errSecSuccess);
        lockDefaultCollection();
        const SecItemQuery unknown{key.service, QStringLiteral("never stored")};
        QCOMPARE(test::runTask(items.copyMatching(unknown)).status, errSecInteractionNotAllowed);
        const SecItemResult locked = test::runTask(items.copyMatching(key));
        QCOMPARE(locked.status, errSecInteractionNotAllowed);
        QCOMPARE(locked.data, QByteArray());
        QCOMPARE(test::runTask(items.update(key, "x")), errSecInteractionNotAllowed);
        QCOMPARE(test::runTask(items.add(unknown, "x", SecAccessible::whenUnlocked)),
                 errSecInteractionNotAllowed);
        QCOMPARE(test::runTask(items.remove(key)), errSecInteractionNotAllowed);
        QCOMPARE(test::runTask(items.unlock()), errSecInteractionNotAllowed);
    }

    void anOpenStoreNeedsNoUnlocking()
    {
        LibsecretItems items;
        restartSecretService();
        QCOMPARE(test::runTask(items.unlock()), errSecSuccess);
    }

    /// After a restart the encrypted session of the old service is worthless.
    void aRestartedServiceIsFoundAgain()
    {
        LibsecretItems items;
        restartSecretService();
        QCOMPARE(test::runTask(items.copyMatching(key)).data, QByteArray("locked away"));
        restartSecretService();
        QCOMPARE(test::runTask(items.update(key, "anew")), errSecSuccess);
        restartSecretService();
        QCOMPARE(test::runTask(items.copyMatching(key)).data, QByteArray("anew"));
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void nothingLiesOnTheDiskInPlainText()
    {
        LibsecretItems items;
        const QByteArray canary = "canary-3f9a1c77";
        QCOMPARE(test::runTask(items.add(key, canary, SecAccessible::whenUnlocked)), errSecSuccess);
        QCOMPARE(test::runTask(items.update(key, canary + '2')), errSecSuccess);
        int files = 0;
        for (QDirIterator it(qEnvironmentVariable("HOME"), QDir::Files | QDir::Hidden,
                             QDirIterator::Subdirectories);
             it.hasNext(); ++files) {
            QFile file(it.next());
            if (file.open(QIODevice::ReadOnly))
                QVERIFY2(!file.readAll().contains(canary), qPrintable(file.fileName()));
        }
        QVERIFY(files > 0);
        QCOMPARE(test::runTask(items.remove(key)), errSecSuccess);
    }

    void goingAwayDoesNotWaitAndAnswersEveryCall()
    {
        std::vector<Task<SecItemResult>> pending;
        {
            LibsecretItems items;
            for (int i = 0; i < 50; ++i)
                pending.push_back(items.copyMatching({key.service, QString::number(i)}));
        }
        for (Task<SecItemResult>& task : pending) {
            const OSStatus status = test::runTask(std::move(task)).status;
            QVERIFY(status == errSecNotAvailable || status == errSecItemNotFound);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SecItems)
#include "tst_SecItems.moc"
