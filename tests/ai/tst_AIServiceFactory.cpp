#include "ai/AIServiceFactory.h"
#include "ai/AnthropicService.h"
#include "ai/OpenAIService.h"
#include "chatgpt/CodexResponsesService.h"
#include "support/CoroutineTest.h"
#include "support/HttpTestServer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace quillmarsh;

class tst_AIServiceFactory final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("QUILLMARSH_TEST_OPENAI_API_BASE", server_.origin().toLatin1() + "/v1");
        qputenv("QUILLMARSH_TEST_ANTHROPIC_API_BASE", server_.origin().toLatin1());
        qputenv("QUILLMARSH_TEST_CLOUD_ORIGIN", server_.origin().toLatin1());
    }

    void eachConnectionHasItsBackEnd()
    {
        QVERIFY(isA<CloudAIService>(AIProvider::cloud, OpenAIAuthMode::apiKey, "/api/rewrite"));
        QVERIFY(isA<CloudAIService>(AIProvider::cloud, OpenAIAuthMode::chatgpt, "/api/rewrite"));
        QVERIFY(isA<CodexResponsesService>(AIProvider::openai, OpenAIAuthMode::chatgpt, "/v1/responses"));
        QVERIFY(isA<OpenAIService>(AIProvider::openai, OpenAIAuthMode::apiKey, "/v1/chat/completions"));
        QVERIFY(isA<AnthropicService>(AIProvider::claude, OpenAIAuthMode::apiKey, "/v1/messages"));
        QVERIFY(isA<AnthropicService>(AIProvider::claude, OpenAIAuthMode::chatgpt, "/v1/messages"));
    }

    void everyRewriteGetsABackEndOfItsOwn()
    {
        const auto first = make(AIProvider::claude, OpenAIAuthMode::apiKey);
        const auto second = make(AIProvider::claude, OpenAIAuthMode::apiKey);
        QVERIFY(first != second);
    }

    void theChatCompletionsModelIsGPT4o()
    {
        server_.answer(200, R"({"choices":[{"message":{"content":"x"}}]})");
        QCOMPARE(rewrite(AIProvider::openai), QStringLiteral("x"));
        QCOMPARE(server_.requests().back().target, "/v1/chat/completions");
        QCOMPARE(QJsonDocument::fromJson(server_.requests().back().body).object().value(u"model"), "gpt-4o");
    }

    void theHostedBackEndReportsToTheWholeProcess()
    {
        server_.answer(200, R"({"text":"x","quota":{"limit":20,"remaining":19}})");
        QCOMPARE(CloudUsage::shared().quota(), std::nullopt);
        QCOMPARE(rewrite(AIProvider::cloud), QStringLiteral("x"));
        QCOMPARE(server_.requests().back().headers.value("authorization"), "Bearer installation");
        QCOMPARE(CloudUsage::shared().quota(), std::optional(CloudQuota{20, 19, std::nullopt}));
    }

private:
    static Task<QString> token() { co_return QStringLiteral("installation"); }

    static std::unique_ptr<AIServiceProtocol> make(AIProvider provider, OpenAIAuthMode mode)
    {
        return AIServiceFactory::service(provider, mode, &tst_AIServiceFactory::token);
    }

    template <typename BackEnd>
    bool isA(AIProvider provider, OpenAIAuthMode mode, const char* path) const
    {
        const auto made = make(provider, mode);
        return dynamic_cast<BackEnd*>(made.get()) && made->endpoint() == QUrl(server_.origin() + path);
    }

    static QString rewrite(AIProvider provider)
    {
        const auto backEnd = make(provider, OpenAIAuthMode::apiKey);
        return test::runTask(backEnd->rewriteText(QStringLiteral("t"), QStringLiteral("k"), {}, {}));
    }

    test::HttpTestServer server_;
};

QTEST_GUILESS_MAIN(tst_AIServiceFactory)
#include "tst_AIServiceFactory.moc"
