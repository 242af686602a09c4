#include "base/LocalizedError.h"
#include "chatgpt/KeychainError.h"
#include "chatgpt/KeychainService.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"

using namespace quillmarsh;

namespace {

const QString key = QLatin1String(KeychainService::openAIKey);

QList<QByteArray> callNames(const test::FakeSecItems& items)
{
    QList<QByteArray> names;
    for (const auto& call : items.calls)
        names.append(call.first);
    return names;
}

} // namespace

class tst_KeychainService final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theServiceIsTheProductsOwn()
    {
        test::FakeSecItems items;
        test::runTask(KeychainService{&items}.save(key, QStringLiteral("k")));
        QCOMPARE(items.items.begin()->first.first, QStringLiteral("com.quillmarsh.app"));
        QCOMPARE(items.items.begin()->first.second, QStringLiteral("openai-api-key"));
    }

    void savingIsDeleteThenAdd()
    {
        test::FakeSecItems items;
        const KeychainService keychain{&items};
        test::runTask(keychain.save(key, QStringLiteral("first")));
        items.calls.clear();
        test::runTask(keychain.save(key, QStringLiteral("sécond")));
        QCOMPARE(callNames(items), (QList<QByteArray>{"remove", "add"}));
        QCOMPARE(items.accessibility.begin()->second, SecAccessible::whenUnlocked);
        QCOMPARE(test::runTask(keychain.load(key)), QStringLiteral("sécond"));
        QCOMPARE(items.items.size(), 1U);
    }

    void aFailingAddLeavesNoItemAndTellsTheStatus()
    {
        test::FakeSecItems items;
        const KeychainService keychain{&items};
        test::runTask(keychain.save(key, QStringLiteral("first")));
        items.addStatus = errSecDuplicateItem;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("openai-api-key.*status -25299")));
        try {
            test::runTask(keychain.save(key, QStringLiteral("second")));
            QFAIL("nothing was thrown");
        } catch (const KeychainError& error) {
            QCOMPARE(error.errorDescription(), QStringLiteral("Keychain save failed with status: -25299"));
            QCOMPARE(error.status(), errSecDuplicateItem);
        }
        QCOMPARE(test::runTask(keychain.load(key)), std::nullopt);
    }

    void aFailingRemoveDoesNotStopASave()
    {
        test::FakeSecItems items;
        items.removeStatus = errSecIO;
        test::runTask(KeychainService{&items}.save(key, QStringLiteral("v")));
        QCOMPARE(items.items.begin()->second, QByteArray("v"));
    }

    void aMissingItemIsSilentALockedStoreIsNot()
    {
        test::FakeSecItems items;
        const KeychainService keychain{&items};
        QCOMPARE(test::runTask(keychain.load(key)), std::nullopt);
        items.copyStatus = errSecInteractionNotAllowed;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("store is locked .status -25308")));
        QCOMPARE(test::runTask(keychain.load(key)), std::nullopt);
        items.copyStatus = errSecNotAvailable;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("no secret store.*status -25291")));
        QCOMPARE(test::runTask(keychain.load(key)), std::nullopt);
    }

    void bytesThatAreNotUtf8AreNoKey()
    {
        test::FakeSecItems items;
        items.items[{QStringLiteral("com.quillmarsh.app"), key}] = "\xff\xfe";
        QCOMPARE(test::runTask(KeychainService{&items}.load(key)), std::nullopt);
    }

    void removingNeverFails()
    {
        test::FakeSecItems items;
        const KeychainService keychain{&items};
        test::runTask(keychain.remove(key));
        items.removeStatus = errSecInteractionNotAllowed;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be removed")));
        test::runTask(keychain.remove(key));
    }

    void aCallOutlivesTheValueThatMadeIt()
    {
        test::FakeSecItems items;
        Task<> saving =
            std::make_unique<KeychainService>(KeychainService{&items})->save(key, QStringLiteral("v"));
        test::runTask(std::move(saving));
        QCOMPARE(items.items.size(), 1U);
    }
};

QTEST_GUILESS_MAIN(tst_KeychainService)
#include "tst_KeychainService.moc"
