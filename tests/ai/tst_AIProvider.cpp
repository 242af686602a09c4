#include "ai/AIProvider.h"

#include <QTest>

using namespace quillmarsh;

class tst_AIProvider final : public QObject
{
    Q_OBJECT

private slots:
    void rawValuesRoundTripInOrder()
    {
        QStringList providers;
        for (const AIProvider provider : allAIProviders) {
            providers << rawValue(provider);
            QCOMPARE(aiProviderFrom(rawValue(provider)), std::optional(provider));
        }
        QCOMPARE(providers,
                 QStringList({QStringLiteral("cloud"), QStringLiteral("openai"), QStringLiteral("claude")}));
        QStringList choices;
        for (const AIConnectionChoice choice : allAIConnectionChoices) {
            choices << rawValue(choice);
            QCOMPARE(aiConnectionChoiceFrom(rawValue(choice)), std::optional(choice));
        }
        QCOMPARE(choices.join(u' '), QStringLiteral("chatgpt cloud openaiKey claude"));
        QStringList modes;
        for (const OpenAIAuthMode mode : allOpenAIAuthModes) {
            modes << rawValue(mode);
            QCOMPARE(openAIAuthModeFrom(rawValue(mode)), std::optional(mode));
        }
        QCOMPARE(modes.join(u' '), QStringLiteral("apiKey chatgpt"));
    }

    void rawValuesAreCaseSensitive()
    {
        QCOMPARE(aiProviderFrom(QStringLiteral("Claude")), std::nullopt);
        QCOMPARE(aiProviderFrom(QStringLiteral("")), std::nullopt);
        QCOMPARE(openAIAuthModeFrom(QStringLiteral("apikey")), std::nullopt);
        QCOMPARE(aiConnectionChoiceFrom(QStringLiteral("openai")), std::nullopt);
    }

    void displayNamesAndKeyPages()
    {
        QCOMPARE(displayName(AIProvider::cloud), QStringLiteral("Quillmarsh Cloud"));
        QCOMPARE(displayName(AIProvider::openai), QStringLiteral("OpenAI"));
        QCOMPARE(displayName(AIProvider::claude), QStringLiteral("Claude"));
        QCOMPARE(docsUrl(AIProvider::openai).path(), QStringLiteral("/api-keys"));
        QCOMPARE(docsUrl(AIProvider::claude).path(), QStringLiteral("/settings/keys"));
        QCOMPARE(docsUrl(AIProvider::cloud).path(), QStringLiteral("/"));
        for (const AIProvider provider : allAIProviders)
            QVERIFY(docsUrl(provider).isValid());
    }

    void choicesSetProviderAndMode_data()
    {
        QTest::addColumn<QString>("choice");
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QString>("mode");
        QTest::newRow("chatgpt") << "chatgpt"
                                 << "openai"
                                 << "chatgpt";
        QTest::newRow("cloud") << "cloud"
                               << "cloud"
                               << "";
        QTest::newRow("openaiKey") << "openaiKey"
                                   << "openai"
                                   << "apiKey";
        QTest::newRow("claude") << "claude"
                                << "claude"
                                << "";
    }

    void choicesSetProviderAndMode()
    {
        QFETCH(QString, choice);
        QFETCH(QString, provider);
        QFETCH(QString, mode);
        const AIConnectionChoice value = *aiConnectionChoiceFrom(choice);
        const AIConnection written = connection(value);
        QCOMPARE(rawValue(written.provider), provider);
        QCOMPARE(written.mode ? rawValue(*written.mode) : QString(), mode);
        for (const OpenAIAuthMode remembered : allOpenAIAuthModes)
            QCOMPARE(currentChoice(written.provider, written.mode.value_or(remembered)), value);
    }
};

QTEST_APPLESS_MAIN(tst_AIProvider)
#include "tst_AIProvider.moc"
