#include "platform/linux/LibsecretItems.h"
#include "support/CoroutineTest.h"

using namespace quillmarsh;

namespace {

const SecItemQuery key{QStringLiteral("com.quillmarsh.app"), QStringLiteral("openai-api-key")};

} // namespace

/// Runs twice: on a session bus without an unlocked keyring (argument "keyring"), and without a session bus.
class tst_SecItemsMissing final : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsStoredSilently()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral("canary")));
        LibsecretItems items;
        const bool hasBus = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS");
        if (!hasBus)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QStringLiteral("^The secret store cannot be used")));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("^The secret store cannot be used")));
        const OSStatus read = test::runTask(items.copyMatching(key)).status;
        QCOMPARE(read, hasBus ? errSecItemNotFound : errSecNotAvailable);
        QCOMPARE(test::runTask(items.add(key, "canary", SecAccessible::whenUnlocked)), errSecNotAvailable);
    }
};

QTEST_GUILESS_MAIN(tst_SecItemsMissing)
#include "tst_SecItemsMissing.moc"
