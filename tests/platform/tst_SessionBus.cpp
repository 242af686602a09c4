#include "platform/linux/DBusInstanceGuard.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/TrayHost.h"
#include "support/CoroutineTest.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;
using namespace std::chrono_literals;

namespace {

const QString appName = QStringLiteral("com.quillmarsh.app");
const QString appPath = QStringLiteral("/com/quillmarsh/app");
using SettingGroups = QMap<QString, QVariantMap>;

} // namespace

/// Another process's instance of the product.
class OtherInstance final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quillmarsh.app")

public slots:
    Q_SCRIPTABLE void Activate() { ++activations; }

public:
    int activations = 0;
};

class SettingsPortal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public slots:
    Q_SCRIPTABLE SettingGroups ReadAll(const QStringList&) { return groups; }

signals:
    Q_SCRIPTABLE void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

public:
    SettingGroups groups;
};

class NotifierWatcher final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER registered)

public:
    bool registered = false;
};

class tst_SessionBus final : public QObject
{
    Q_OBJECT

private:
    /// A connection of "another process": names and objects are per connection.
    QDBusConnection other_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other"));

private slots:
    void initTestCase()
    {
        qDBusRegisterMetaType<SettingGroups>();
        QVERIFY(other_.isConnected());
    }

    void theFirstStartHasTheName()
    {
        DBusInstanceGuard guard;
        QSignalSpy requested(&guard, &InstanceGuard::activationRequested);
        QVERIFY(runTask(guard.claim(false)) == InstanceClaim::First);
        QVERIFY(runTask(guard.claim(false)) == InstanceClaim::First); // it is us already
        QVERIFY(other_.interface()->isServiceRegistered(appName));
        other_.send(QDBusMessage::createMethodCall(appName, appPath, appName, QStringLiteral("Activate")));
        QTRY_COMPARE(requested.size(), 1);
        guard.release();
        QTRY_VERIFY(!other_.interface()->isServiceRegistered(appName));
    }

    void aSecondStartBringsTheFirstForward()
    {
        OtherInstance running;
        QVERIFY(other_.registerObject(appPath, &running, QDBusConnection::ExportScriptableSlots));
        QVERIFY(other_.registerService(appName));
        DBusInstanceGuard guard;
        QVERIFY(runTask(guard.claim(false)) == InstanceClaim::Running);
        QTRY_COMPARE(running.activations, 1);
        QVERIFY(other_.unregisterService(appName));
        other_.unregisterObject(appPath);
    }

    void aRelaunchWaitsForItsPredecessor()
    {
        OtherInstance old;
        QVERIFY(other_.registerObject(appPath, &old, QDBusConnection::ExportScriptableSlots));
        QVERIFY(other_.registerService(appName));
        bool isGone = false;
        QTimer::singleShot(400ms, this, [this, &isGone] { isGone = other_.unregisterService(appName); });
        DBusInstanceGuard guard;
        QVERIFY(runTask(guard.claim(true)) == InstanceClaim::First);
        QVERIFY(isGone);
        QCOMPARE(old.activations, 0);
        other_.unregisterObject(appPath);
    }

    void theDesktopsSettingsAreRead()
    {
        PortalAppearance none; // nobody answers: everything is off, and nothing waits
        QVERIFY(!none.reduceMotion() && !none.increaseContrast() && !none.reduceTransparency());

        SettingsPortal portal;
        portal.groups[QStringLiteral("org.gnome.desktop.interface")][QStringLiteral("enable-animations")] =
            false;
        portal.groups[QStringLiteral("org.freedesktop.appearance")][QStringLiteral("contrast")] = 1U;
        QVERIFY(other_.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &portal,
                                      QDBusConnection::ExportScriptableContents));
        QVERIFY(other_.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
        PortalAppearance appearance;
        QVERIFY(!appearance.reduceMotion());
        QSignalSpy changed(&appearance, &DesktopAppearance::changed);
        QTRY_COMPARE(changed.size(), 1);
        QVERIFY(appearance.reduceMotion());
        QVERIFY(appearance.increaseContrast());

        emit portal.SettingChanged(QStringLiteral("org.gnome.desktop.interface"),
                                   QStringLiteral("enable-animations"), QDBusVariant(true));
        QTRY_COMPARE(changed.size(), 2);
        QVERIFY(!appearance.reduceMotion());
        emit portal.SettingChanged(QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("font-name"),
                                   QDBusVariant(QStringLiteral("x")));
        emit portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("contrast"),
                                   QDBusVariant(QStringLiteral("no number")));
        QTRY_COMPARE(changed.size(), 3);
        QVERIFY(!appearance.increaseContrast());
        QVERIFY(other_.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop")));
        other_.unregisterObject(QStringLiteral("/org/freedesktop/portal/desktop"));
    }

    void theTrayIsWaitedFor()
    {
        NotifierWatcher watcher;
        TrayHost host(nullptr);
        auto waiting = host.waitUntilAvailable();
        QTest::qWait(100);
        QVERIFY(!waiting.isReady());
        QVERIFY(other_.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                                      QDBusConnection::ExportAllProperties));
        QVERIFY(other_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")));
        QTest::qWait(700);
        QVERIFY(!waiting.isReady()); // a watcher without a host draws nothing
        watcher.registered = true;
        QVERIFY(runTask(std::move(waiting)));
        QVERIFY(other_.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher")));
    }
};

QTEST_GUILESS_MAIN(tst_SessionBus)
#include "tst_SessionBus.moc"
