#include "ai/InstallationToken.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"

#include <QRegularExpression>
#include <QTest>

using namespace quillmarsh;

namespace {

const test::FakeSecItems::Key item{QStringLiteral("com.quillmarsh.app"),
                                   QStringLiteral("quillmarsh-cloud-installation")};

/// Empty, and slow to say so.
class SlowSecItems final : public SecItems
{
public:
    int lookUps = 0;

    Task<SecItemResult> copyMatching(SecItemQuery) override
    {
        ++lookUps;
        co_await sleepFor(std::chrono::milliseconds(5));
        co_return SecItemResult{errSecItemNotFound, {}};
    }
    Task<OSStatus> update(SecItemQuery, QByteArray) override { co_return errSecItemNotFound; }
    Task<OSStatus> add(SecItemQuery, QByteArray, SecAccessible) override { co_return errSecSuccess; }
    Task<OSStatus> remove(SecItemQuery) override { co_return errSecSuccess; }
};

} // namespace

class tst_InstallationToken final : public QObject
{
    Q_OBJECT

private slots:
    void aNewTokenIsKeptAndRemembered()
    {
        test::FakeSecItems items;
        InstallationToken token(items);
        const QString first = test::runTask(token.value());
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9_-]{43}$")).match(first).hasMatch());
        QCOMPARE(items.items.at(item), first.toLatin1());
        QCOMPARE(items.accessibility.at(item), SecAccessible::afterFirstUnlockThisDeviceOnly);
        const size_t calls = items.calls.size();
        QCOMPARE(test::runTask(token.value()), first);
        QCOMPARE(items.calls.size(), calls);
        InstallationToken afterRestart(items);
        QCOMPARE(test::runTask(afterRestart.value()), first);
    }

    void aDamagedTokenIsReplaced()
    {
        test::FakeSecItems items;
        items.items[item] = "not a token";
        InstallationToken token(items);
        const QString made = test::runTask(token.value());
        QCOMPARE(items.items.at(item), made.toLatin1());
    }

    void aLockedStoreIsLeftAlone()
    {
        test::FakeSecItems items;
        const QByteArray good(43, 'A');
        items.items[item] = good;
        items.copyStatus = errSecInteractionNotAllowed;
        InstallationToken token(items);
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("could not be kept \\(status -25308\\)")));
        const QString made = test::runTask(token.value());
        QCOMPARE(made.size(), 43);
        QCOMPARE(items.items.at(item), good);
        QCOMPARE(test::runTask(token.value()), made);
    }

    void callersAtTheSameTimeGetTheSameToken()
    {
        test::FakeSecItems items;
        InstallationToken token(items);
        Task<QString> first = token.value();
        Task<QString> second = token.value();
        const QString value = test::runTask(std::move(first));
        QCOMPARE(test::runTask(std::move(second)), value);
        QCOMPARE(items.items.at(item), value.toLatin1());
    }

    void aStoreThatAsksTheUserIsAskedOnce()
    {
        SlowSecItems items;
        InstallationToken token(items);
        Task<QString> first = token.value();
        Task<QString> second = token.value();
        const QString value = test::runTask(std::move(first));
        QCOMPARE(test::runTask(std::move(second)), value);
        QCOMPARE(items.lookUps, 1);
    }
};

QTEST_GUILESS_MAIN(tst_InstallationToken)
#include "tst_InstallationToken.moc"
