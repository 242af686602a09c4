#include "platform/ModifierFlags.h"
#include "platform/Platform.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"

#include <QRegularExpression>
#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;

/// Without a display and without a bus nothing works, and nothing breaks.
class tst_createPlatform final : public QObject
{
    Q_OBJECT

private:
    static void verifyComplete(const Platform& platform)
    {
        QVERIFY(platform.accessibility && platform.eventTaps && platform.keyPoster && platform.pasteboard);
        QVERIFY(platform.workspace && platform.keyboardLayout && platform.secItems && platform.panelWindow);
        QVERIFY(platform.appearance && platform.instanceGuard && platform.statusItemHost && platform.bundle);
        QVERIFY(platform.processRunner);
    }

private slots:
    void initTestCase()
    {
        qunsetenv("DISPLAY");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    }

    void fakesAreComplete()
    {
        const FakePlatform fake;
        verifyComplete(fake.platform);
    }

    void everyMemberIsThereWithoutADesktop()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No X server answers")));
        const Platform platform = createPlatform();
        verifyComplete(platform);
        QVERIFY(!platform.accessibility->isProcessTrusted());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Global shortcuts need")));
        QVERIFY(!platform.eventTaps->create([](const KeyEvent&) { return TapVerdict::Pass; }));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Keys cannot be pressed")));
        QVERIFY(!runTask(platform.keyPoster->post(VirtualKey::c, ModifierFlags::command)));
        QCOMPARE(runTask(platform.pasteboard->changeCount()), 0);
        QVERIFY(!runTask(platform.pasteboard->string()));
        QVERIFY(!runTask(platform.pasteboard->setString(QStringLiteral("x"))));
        runTask(platform.pasteboard->persist());
        QVERIFY(!platform.workspace->frontmostApplication());
        platform.workspace->activate({});
        QVERIFY(!platform.keyboardLayout->character(VirtualKey::r));
        QVERIFY(!platform.panelWindow->isCompositing());
        QVERIFY(!platform.appearance->reduceMotion());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No session bus")));
        QVERIFY(runTask(platform.instanceGuard->claim(false)) == InstanceClaim::Unknown);
    }
};

QTEST_MAIN(tst_createPlatform)
#include "tst_createPlatform.moc"
