#include "ai/AIError.h"
#include "ai/JsonBody.h"
#include "ai/SystemPrompt.h"

#include <QTest>

using namespace quillmarsh;

class tst_SystemPrompt final : public QObject
{
    Q_OBJECT

private slots:
    void theDefaultPromptServesAbsentAndEmpty()
    {
        const QString prompt = buildSystemPrompt(std::nullopt);
        QCOMPARE(prompt.size(), 326);
        QCOMPARE(buildSystemPrompt(QString()), prompt);
        QCOMPARE(buildSystemPrompt(QStringLiteral("")), prompt);
        QCOMPARE(prompt,
                 QStringLiteral(
                     "You are a writing assistant. Fix grammar, spelling, and punctuation errors in the "
                     "provided text. Return ONLY the corrected text with no explanations, no quotes, no "
                     "markdown formatting. Preserve the original meaning, tone, style, and formatting (line "
                     "breaks, spacing, etc.). If the text is already correct, return it unchanged."));
    }

    void anInstructionStandsBetweenThePieces_data()
    {
        QTest::addColumn<QString>("instruction");
        QTest::newRow("plain") << "Make it shorter.";
        QTest::newRow("trailing blank") << "Make it shorter. ";
        QTest::newRow("only blanks") << "  ";
        QTest::newRow("placeholders") << "%1 %2 %n";
    }

    void anInstructionStandsBetweenThePieces()
    {
        QFETCH(QString, instruction);
        QCOMPARE(
            buildSystemPrompt(instruction),
            QStringLiteral("You are a writing assistant. ") + instruction +
                QStringLiteral(" Return ONLY the rewritten text with no explanations, no quotes, no markdown "
                               "formatting. Preserve the original formatting (line breaks, spacing, etc.)."));
    }

    void errorTexts()
    {
        QCOMPARE(AIError::apiError(401, QStringLiteral("%1 no")).errorDescription(),
                 QStringLiteral("API error (401): %1 no"));
        QCOMPARE(AIError::apiError(-1, QStringLiteral("x")).errorDescription(),
                 QStringLiteral("API error (-1): x"));
        QCOMPARE(AIError::cloudLimit(QStringLiteral("Enough.")).errorDescription(),
                 QStringLiteral("Enough."));
        QCOMPARE(AIError::invalidResponse().errorDescription(),
                 QStringLiteral("Invalid response from AI service"));
        QCOMPARE(AIError::noAPIKey().errorDescription(), QStringLiteral("No API key configured"));
        QCOMPARE(AIError::textTooLong().errorDescription(),
                 QStringLiteral("Selected text is too long (max 10,000 characters)"));
    }

    void statusCheck_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("description");
        QTest::newRow("200") << 200 << QByteArray("x") << QString();
        QTest::newRow("299") << 299 << QByteArray("x") << QString();
        QTest::newRow("199") << 199 << QByteArray("x") << "API error (199): x";
        QTest::newRow("300") << 300 << QByteArray("") << "API error (300): ";
        QTest::newRow("404") << 404 << QByteArray("{\"a\":1}\n") << "API error (404): {\"a\":1}\n";
        QTest::newRow("not HTTP") << -1 << QByteArray("x") << "API error (-1): x";
        QTest::newRow("byte order mark")
            << 500 << QByteArray("\xEF\xBB\xBFx") << QStringLiteral("API error (500): \uFEFFx");
        QTest::newRow("not UTF-8") << 500 << QByteArray("a\xFF\xFE") << "API error (500): Unknown error";
        QTest::newRow("cut UTF-8") << 500 << QByteArray("a\xE2\x82") << "API error (500): Unknown error";
    }

    void statusCheck()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, description);
        QString thrown;
        try {
            checkHTTPStatus({status, body});
        } catch (const AIError& error) {
            thrown = error.errorDescription();
            QCOMPARE(error.statusCode(), status);
        }
        QCOMPARE(thrown, description);
    }
};

QTEST_APPLESS_MAIN(tst_SystemPrompt)
#include "tst_SystemPrompt.moc"
