#include "chatgpt/CodexTokenStore.h"
#include "chatgpt/CodexTokens.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"

#include <limits>

using namespace quillmarsh;

namespace {

const test::FakeSecItems::Key itemKey{QStringLiteral("com.quillmarsh.app"),
                                      QStringLiteral("chatgpt-plan-profiles-v1")};

CodexTokens sample()
{
    CodexTokens tokens;
    tokens.clientID = QStringLiteral("client \"1\"/é");
    tokens.subject = QStringLiteral("user-1");
    tokens.accessToken = QStringLiteral("access");
    tokens.refreshToken = QStringLiteral("refresh");
    tokens.idToken = QStringLiteral("a.b.c");
    tokens.expiresAt = 1795000000.25;
    tokens.email = QStringLiteral("a+b@example.com");
    tokens.scopes = {QStringLiteral("resource.invoke"), QStringLiteral("chatgpt.tokens.use.direct")};
    return tokens;
}

const QByteArray complete =
    R"([{"clientID":"c","subject":"s","accessToken":"a","refreshToken":"r","idToken":"i",)"
    R"("expiresAt":12.5,"email":"e","scopes":["x"]}])";

} // namespace

class tst_CodexTokens final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theStoredFormKeepsItsOrder()
    {
        CodexTokens tokens = sample();
        tokens.clientID = QStringLiteral("c");
        QCOMPARE(CodexTokens::encode({tokens}),
                 QByteArray(
                     R"([{"clientID":"c","subject":"user-1","accessToken":"access","refreshToken":"refresh",)"
                     R"("idToken":"a.b.c","expiresAt":1795000000.25,"email":"a+b@example.com",)"
                     R"("scopes":["resource.invoke","chatgpt.tokens.use.direct"]}])"));
        QCOMPARE(CodexTokens::encode({}), QByteArray("[]"));
    }

    void whatIsWrittenReadsBack()
    {
        CodexTokens second = sample();
        second.email.reset();
        second.scopes.clear();
        second.expiresAt = 1795000000.1234567;
        const QList<CodexTokens> profiles{sample(), second, CodexTokens{}};
        QCOMPARE(CodexTokens::decode(*CodexTokens::encode(profiles)), profiles);
    }

    void aNumberWithoutAJsonFormIsRefused()
    {
        CodexTokens tokens = sample();
        tokens.expiresAt = std::numeric_limits<double>::infinity();
        QVERIFY(!CodexTokens::encode({tokens}));
    }

    void everyKeyButTheEmailIsRequired_data()
    {
        QTest::addColumn<QByteArray>("key");
        for (const char* key :
             {"clientID", "subject", "accessToken", "refreshToken", "idToken", "expiresAt", "scopes"})
            QTest::newRow(key) << QByteArray(key);
    }
    void everyKeyButTheEmailIsRequired()
    {
        QFETCH(QByteArray, key);
        QVERIFY(CodexTokens::decode(complete));
        QByteArray json = complete;
        QVERIFY(!CodexTokens::decode(json.replace('"' + key + '"', "\"other\"")));
    }

    void theEmailMayBeMissingOrNull()
    {
        QByteArray json = complete;
        const auto withNull = CodexTokens::decode(json.replace(R"("email":"e")", R"("email":null)"));
        QVERIFY(withNull && !withNull->first().email);
        json = complete;
        const auto without = CodexTokens::decode(json.replace(R"("email":"e",)", ""));
        QVERIFY(without && !without->first().email);
    }

    void aWrongTypeSpoilsTheWholeList_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::newRow("number for text") << QByteArray(R"("subject":"s")") << QByteArray(R"("subject":5)");
        QTest::newRow("null for text") << QByteArray(R"("subject":"s")") << QByteArray(R"("subject":null)");
        QTest::newRow("text for number") << QByteArray("12.5") << QByteArray(R"("12.5")");
        QTest::newRow("number for email") << QByteArray(R"("email":"e")") << QByteArray(R"("email":1)");
        QTest::newRow("text for scopes") << QByteArray(R"(["x"])") << QByteArray(R"("x")");
        QTest::newRow("number in scopes") << QByteArray(R"(["x"])") << QByteArray(R"(["x",1])");
        QTest::newRow("entry no object") << QByteArray("}]") << QByteArray("},5]");
        QTest::newRow("cut") << QByteArray("}]") << QByteArray("}");
    }
    void aWrongTypeSpoilsTheWholeList()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QByteArray json = complete;
        QVERIFY(json.contains(from));
        QVERIFY(!CodexTokens::decode(json.replace(from, to)));
    }

    void onlyAListIsAList()
    {
        for (const QByteArray& json :
             {QByteArray(), QByteArray("null"), QByteArray("{}"), QByteArray("\xff")})
            QVERIFY(!CodexTokens::decode(json));
        QCOMPARE(CodexTokens::decode("[]"), QList<CodexTokens>());
    }

    void thePlanNeedsBothScopesAndAToken()
    {
        CodexTokens tokens = sample();
        QVERIFY(tokens.canUsePlan());
        tokens.scopes = {QStringLiteral("resource.invoke")};
        QVERIFY(!tokens.canUsePlan());
        tokens.scopes = {QStringLiteral("chatgpt.tokens.use.direct")};
        QVERIFY(!tokens.canUsePlan());
        tokens.scopes = {QStringLiteral("Resource.Invoke"), QStringLiteral("chatgpt.tokens.use.direct")};
        QVERIFY(!tokens.canUsePlan());
        tokens = sample();
        tokens.accessToken.clear();
        QVERIFY(!tokens.canUsePlan());
    }

    void aTokenServesUntilFiveMinutesBeforeItsEnd()
    {
        CodexTokens tokens = sample();
        tokens.expiresAt = 1299;
        QVERIFY(!tokens.isFresh(1000));
        tokens.expiresAt = 1300;
        QVERIFY(!tokens.isFresh(1000));
        tokens.expiresAt = 1301;
        QVERIFY(tokens.isFresh(1000));
    }

    void savingUpdatesOrElseAdds()
    {
        test::FakeSecItems items;
        const CodexTokenStore store{&items};
        test::runTask(store.save({sample()}));
        QCOMPARE(items.accessibility.at(itemKey), SecAccessible::afterFirstUnlockThisDeviceOnly);
        test::runTask(store.save({}));
        QCOMPARE(items.items.at(itemKey), QByteArray("[]"));
        QCOMPARE(test::runTask(store.load()), QList<CodexTokens>());
        QCOMPARE(items.calls.size(), 4U); // update, add, update, copyMatching
        QCOMPARE(items.calls[2].first, QByteArray("update"));
    }

    void noItemIsNoList()
    {
        test::FakeSecItems items;
        QCOMPARE(test::runTask(CodexTokenStore{&items}.load()), std::nullopt);
        QVERIFY(test::runTask(CodexTokenStore{&items}.read()).isKnown());
    }

    void aDamagedItemIsNoListAndIsOverwritten()
    {
        test::FakeSecItems items;
        items.items[itemKey] = "[{]";
        const CodexTokenStore store{&items};
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("damaged")));
        QCOMPARE(test::runTask(store.load()), std::nullopt);
        test::runTask(store.save({sample()}));
        QCOMPARE(test::runTask(store.load()), QList<CodexTokens>{sample()});
    }

    void aLockedStoreIsNotTakenForAnEmptyOne()
    {
        test::FakeSecItems items;
        items.copyStatus = errSecInteractionNotAllowed;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("store is locked .status -25308")));
        const StoredProfiles stored = test::runTask(CodexTokenStore{&items}.read());
        QVERIFY(!stored.isKnown());
        QCOMPARE(stored.status, errSecInteractionNotAllowed);
    }

    void failuresTellTheirDomainAndCode()
    {
        test::FakeSecItems items;
        const CodexTokenStore store{&items};
        const auto failure = [&](const QList<CodexTokens>& profiles) {
            try {
                test::runTask(store.save(profiles));
            } catch (const CodexTokenStoreError& error) {
                return error;
            }
            return CodexTokenStoreError::saveFailed(0);
        };
        using Domain = CodexTokenStoreError::Domain;
        items.addStatus = errSecIO;
        CodexTokenStoreError error = failure({});
        QCOMPARE(error.errorDescription(), QStringLiteral("save failed"));
        QVERIFY(error.domain() == Domain::codexTokenStore && error.code() == errSecIO);
        items.updateStatus = errSecInteractionNotAllowed;
        error = failure({});
        QVERIFY(error.domain() == Domain::osStatus && error.code() == errSecInteractionNotAllowed);
        QVERIFY(error.errorDescription().contains(QStringLiteral("-25308")));
        CodexTokens endless = sample();
        endless.expiresAt = std::numeric_limits<double>::quiet_NaN();
        error = failure({endless});
        QCOMPARE(error.errorDescription(), QStringLiteral("encode failed"));
        QVERIFY(error.domain() == Domain::codexTokenStore && error.code() == -1);
    }
};

QTEST_GUILESS_MAIN(tst_CodexTokens)
#include "tst_CodexTokens.moc"
