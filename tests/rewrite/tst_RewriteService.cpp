#include "base/NotificationCenter.h"
#include "rewrite/RewriteFixture.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace quillmarsh;
using namespace std::chrono_literals;
using test::RewriteFixture;

namespace {

constexpr quint64 successDelay = 1'300'000'000;
constexpr quint64 failureDelay = 8'000'000'000;

/// A locked store: it asks the user, and knows nothing before the user has answered.
class AskingSecItems final : public SecItems
{
public:
    std::stop_source answered;
    int asked = 0;

    Task<SecItemResult> copyMatching(SecItemQuery) override
    {
        ++asked;
        return ask(answered.get_token());
    }
    Task<OSStatus> update(SecItemQuery, QByteArray) override { co_return errSecItemNotFound; }
    Task<OSStatus> add(SecItemQuery, QByteArray, SecAccessible) override { co_return errSecSuccess; }
    Task<OSStatus> remove(SecItemQuery) override { co_return errSecSuccess; }

private:
    static Task<SecItemResult> ask(std::stop_token answered)
    {
        co_await sleepFor(1h, answered);
        co_return SecItemResult{errSecSuccess, "sk-1"};
    }
};

} // namespace

/// One rewrite from start to end, through the real orchestrator with fakes at the platform's edge.
class tst_RewriteService final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        fixture_ = std::make_unique<RewriteFixture>();
        fixture_->makeService();
    }

    void aRewriteReplacesTheSelection()
    {
        rewrite();
        QCOMPARE(fixture_->platform.pasteboard->sets, std::vector<QString>({"SOME TEXT"}));
        QCOMPARE(fixture_->platform.keyPoster->posts,
                 std::vector<KeyCombination>({{8, 0x100000}, {9, 0x100000}}));
        expectSuccess("Text rewritten", "Editor");
        QCOMPARE(fixture_->script->instructions, QStringList("Louder."));
        QCOMPARE(fixture_->script->warmed.size(), 1u);
        QCOMPARE(fixture_->script->made, fixture_->script->warmed);
        QCOMPARE(fixture_->script->made.front(), std::pair(AIProvider::cloud, OpenAIAuthMode::apiKey));
    }

    void theShortcutStartsIt()
    {
        QCOMPARE(fixture_->platform.eventTaps->press(15, 0x120000), TapVerdict::Swallow);
        QTRY_VERIFY(fixture_->service->isProcessing());
        QCOMPARE(fixture_->shownTitle(), QStringLiteral("Autocorrect"));
        QCOMPARE(fixture_->shownDetail(), QStringLiteral("Editor"));
        QCOMPARE(fixture_->panel.transitions.back().duration, 0ms);
        QTRY_VERIFY(!fixture_->service->isProcessing());
        QVERIFY(fixture_->pasted());
    }

    void withoutAnInstructionTheBackEndDecides()
    {
        test::runTask(fixture_->service->performRewrite(std::nullopt, QStringLiteral("Custom rewrite")));
        QCOMPARE(fixture_->script->instructions, QStringList("<none>"));
    }

    void theSelectionIsSentWithItsBlanks()
    {
        fixture_->selection = QStringLiteral("  text\n\n");
        rewrite();
        QCOMPARE(fixture_->script->texts, QStringList("  text\n\n"));
    }

    void nothingSelected_data()
    {
        QTest::addColumn<bool>("copies");
        QTest::addColumn<QString>("text");
        QTest::newRow("no copy") << false << QString();
        QTest::newRow("empty") << true << "";
        QTest::newRow("blanks") << true << QStringLiteral(" \t\r\n\u00a0\u2028");
    }

    void nothingSelected()
    {
        QFETCH(bool, copies);
        QFETCH(QString, text);
        fixture_->selection = std::nullopt;
        if (copies)
            fixture_->selection = text;
        rewrite();
        expectFailure("Select some text first", "Then press your shortcut again.");
        QVERIFY(fixture_->script->made.empty());
        QVERIFY(!fixture_->pasted());
    }

    void anImageIsNothingSelected()
    {
        fixture_->selection = std::optional<QString>();
        rewrite();
        expectFailure("Select some text first", "Then press your shortcut again.");
    }

    void theLimitCountsPerceivedCharacters()
    {
        fixture_->selection = QStringLiteral("👍🏽").repeated(10'000);
        rewrite();
        expectSuccess("Text rewritten", "Editor");
        fixture_->selection = QStringLiteral("👍🏽").repeated(10'001);
        rewrite();
        expectFailure("Couldn’t rewrite", "Selected text is too long (max 10,000 characters)");
        QCOMPARE(fixture_->script->made.size(), 1u);
    }

    void withoutAccessibility()
    {
        fixture_->settings.select(AIConnectionChoice::claude); // without a key, which comes second
        fixture_->platform.accessibility->trusted = false;
        rewrite();
        expectFailure("Allow Accessibility",
                      "Enable Quillmarsh in System Settings → Privacy & Security → Accessibility.",
                      Button::Settings);
        QVERIFY(fixture_->platform.keyPoster->posts.empty());
    }

    void withoutAUsableProvider_data()
    {
        QTest::addColumn<int>("choice");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QString>("scopes");
        QTest::newRow("chatgpt, no tokens") << int(AIConnectionChoice::chatgpt) << QByteArray() << QString();
        QTest::newRow("chatgpt, no plan")
            << int(AIConnectionChoice::chatgpt) << QByteArray() << "resource.invoke openid";
        QTest::newRow("openai, no key") << int(AIConnectionChoice::openaiKey) << QByteArray() << QString();
        QTest::newRow("claude, empty key") << int(AIConnectionChoice::claude) << QByteArray("") << QString();
    }

    void withoutAUsableProvider()
    {
        QFETCH(int, choice);
        QFETCH(QByteArray, key);
        QFETCH(QString, scopes);
        fixture_->settings.select(static_cast<AIConnectionChoice>(choice));
        if (!key.isNull())
            storeKey("anthropic-api-key", key);
        if (!scopes.isEmpty())
            connectAccount(scopes);
        rewrite();
        expectFailure("Connect your AI", "Connect ChatGPT or add your own API key.", Button::Settings);
        QVERIFY(fixture_->platform.keyPoster->posts.empty());
        QVERIFY(fixture_->script->warmed.empty());
    }

    void aLockedKeychainIsNoProvider()
    {
        fixture_->settings.select(AIConnectionChoice::claude);
        fixture_->platform.secItems->copyStatus = errSecInteractionNotAllowed;
        rewrite();
        QCOMPARE(fixture_->shownTitle(), QStringLiteral("Connect your AI"));
    }

    void theKeyIsPassedOnAsRead_data()
    {
        QTest::addColumn<int>("choice");
        QTest::addColumn<int>("provider");
        QTest::addColumn<QString>("key");
        QTest::newRow("openai") << int(AIConnectionChoice::openaiKey) << int(AIProvider::openai) << " sk-1 ";
        QTest::newRow("claude") << int(AIConnectionChoice::claude) << int(AIProvider::claude) << " sk-2 ";
        QTest::newRow("cloud") << int(AIConnectionChoice::cloud) << int(AIProvider::cloud) << "";
    }

    void theKeyIsPassedOnAsRead()
    {
        QFETCH(int, choice);
        QFETCH(int, provider);
        QFETCH(QString, key);
        storeKey("openai-api-key", " sk-1 ");
        storeKey("anthropic-api-key", " sk-2 ");
        fixture_->settings.select(static_cast<AIConnectionChoice>(choice));
        rewrite();
        QCOMPARE(fixture_->script->keys, QStringList(key));
        QCOMPARE(fixture_->script->made.front(),
                 std::pair(static_cast<AIProvider>(provider), OpenAIAuthMode::apiKey));
    }

    void aConnectedAccountNeedsNoKey()
    {
        fixture_->settings.select(AIConnectionChoice::chatgpt);
        connectAccount(QStringLiteral("resource.invoke chatgpt.tokens.use.direct"));
        rewrite();
        QCOMPARE(fixture_->script->made.front(), std::pair(AIProvider::openai, OpenAIAuthMode::chatgpt));
        expectSuccess("Text rewritten", "Editor");
    }

    void theApplicationChangesBeforeSending()
    {
        const auto copy = fixture_->platform.keyPoster->onPost;
        fixture_->platform.keyPoster->onPost = [this, copy](const KeyCombination& keys) {
            copy(keys);
            fixture_->platform.workspace->bringToFront(fixture_->browser);
        };
        rewrite();
        expectFailure("Selection changed", "Return to your text and try the shortcut again.");
        QVERIFY(fixture_->script->made.empty());
    }

    void theApplicationChangesWhileWaiting_data()
    {
        QTest::addColumn<bool>("before");
        QTest::addColumn<bool>("after");
        QTest::newRow("another") << true << true;
        QTest::newRow("none any more") << true << false;
        QTest::newRow("one where none was") << false << true;
    }

    void theApplicationChangesWhileWaiting()
    {
        QFETCH(bool, before);
        QFETCH(bool, after);
        if (!before)
            fixture_->platform.workspace->frontmost = std::nullopt;
        fixture_->script->reply = [this, after](const QString& text, std::stop_token stop) {
            fixture_->platform.workspace->frontmost = std::nullopt;
            if (after)
                fixture_->platform.workspace->bringToFront(fixture_->browser);
            return RewriteFixture::shout(text, stop);
        };
        rewrite();
        QCOMPARE(fixture_->platform.pasteboard->text, std::optional(QStringLiteral("SOME TEXT")));
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QVERIFY(!fixture_->pasted());
    }

    void whoComesBackAfterTheAnswerFindsItOnTheClipboard()
    {
        fixture_->script->reply = [this](const QString& text, std::stop_token stop) {
            fixture_->platform.workspace->bringToFront(fixture_->browser);
            return RewriteFixture::shout(text, stop);
        };
        fixture_->platform.pasteboard->onSet = [this] {
            fixture_->platform.workspace->bringToFront(fixture_->editor);
        };
        rewrite();
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QVERIFY(!fixture_->pasted());
    }

    void theTargetGetsItsTimeToNotice()
    {
        QElapsedTimer sinceSet;
        qint64 waited = 0;
        fixture_->platform.pasteboard->onSet = [&sinceSet] { sinceSet.start(); };
        const auto copy = fixture_->platform.keyPoster->onPost;
        fixture_->platform.keyPoster->onPost = [&, copy](const KeyCombination& keys) {
            copy(keys);
            if (keys.keyCode == VirtualKey::v)
                waited = sinceSet.elapsed();
        };
        rewrite();
        QVERIFY2(waited >= 50, qPrintable(QString::number(waited)));
        QCOMPARE(fixture_->platform.keyPoster->announcements, 1);
    }

    void theApplicationChangesWhileTheTargetNotices()
    {
        whileTheTargetNotices([this] { fixture_->platform.workspace->bringToFront(fixture_->browser); });
        rewrite();
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QVERIFY(!fixture_->pasted());
    }

    void anotherWindowOfTheSameApplicationIsTheSameTarget()
    {
        fixture_->script->reply = [this](const QString& text, std::stop_token stop) {
            fixture_->editor.window = 99;
            fixture_->platform.workspace->bringToFront(fixture_->editor);
            return RewriteFixture::shout(text, stop);
        };
        rewrite();
        expectSuccess("Text rewritten", "Editor");
    }

    void anotherProgramWithTheConnectionOfTheTargetIsAnother()
    {
        fixture_->script->reply = [this](const QString& text, std::stop_token stop) {
            fixture_->browser.client = fixture_->editor.client; // given to it when the editor ended
            fixture_->platform.workspace->bringToFront(fixture_->browser);
            return RewriteFixture::shout(text, stop);
        };
        rewrite();
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QVERIFY(!fixture_->pasted());
    }

    void accessibilityIsLostWhileTheTargetNotices()
    {
        whileTheTargetNotices([this] { fixture_->platform.accessibility->trusted = false; });
        rewrite();
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QVERIFY(!fixture_->pasted());
    }

    void nothingInFront()
    {
        fixture_->platform.workspace->frontmost = std::nullopt;
        rewrite();
        expectSuccess("Text rewritten", "Done");
    }

    void anApplicationWithoutAName()
    {
        fixture_->editor.localizedName.clear();
        fixture_->platform.workspace->frontmost = fixture_->editor;
        rewrite();
        expectSuccess("Text rewritten", "Done");
    }

    void theBackEndFails()
    {
        fixture_->script->reply = [](const QString&, const std::stop_token&) {
            return RewriteFixture::failWith(QStringLiteral("<b>%1 no</b>"));
        };
        rewrite();
        expectFailure("Couldn’t rewrite", "API error (500): <b>%1 no</b>");
        QVERIFY(!fixture_->pasted());
        QVERIFY(fixture_->platform.pasteboard->sets.empty());
        QVERIFY(!fixture_->service->lastSuccess());
        QCOMPARE(fixture_->settings.completedRewriteCount(), 0);
    }

    void aTextThatNobodyTookIsLeftOnTheClipboard()
    {
        fixture_->platform.pasteboard->isPastable = false; // a page that can only be read
        rewrite();
        QVERIFY(fixture_->pasted());
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
        QCOMPARE(fixture_->platform.pasteboard->text, std::optional(QStringLiteral("SOME TEXT")));
    }

    void anAnswerOfNothingIsAFailure_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << QStringLiteral(" \n\t");
    }
    void anAnswerOfNothingIsAFailure()
    {
        QFETCH(QString, answer);
        fixture_->script->reply = [answer](const QString&, const std::stop_token&) {
            return RewriteFixture::say(answer);
        };
        rewrite();
        expectFailure("Couldn’t rewrite", "Invalid response from AI service");
        QVERIFY(!fixture_->pasted());
        QVERIFY(fixture_->platform.pasteboard->sets.empty());
    }

    void theLineBreakThatEndsTheSelectionIsKept_data()
    {
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("pasted");
        const auto row = [](const char* name, const char* selected, const char* answer, const char* pasted) {
            QTest::newRow(name) << QString::fromUtf8(selected) << QString::fromUtf8(answer)
                                << QString::fromUtf8(pasted);
        };
        row("dropped", "one line\n", "One line.", "One line.\n");
        row("several", "one\ntwo \n\n", "One\nTwo", "One\nTwo \n\n");
        row("of another system", "one\r\n", "One", "One\r\n");
        row("given back", "one\n", "One\n", "One\n");
        row("none selected", "one ", "One", "One");
        row("more than selected", "one", "One\n", "One\n");
        row("in front", "\n  one", "One", "One");
    }
    void theLineBreakThatEndsTheSelectionIsKept()
    {
        QFETCH(QString, selected);
        QFETCH(QString, answer);
        fixture_->selection = selected;
        fixture_->script->reply = [answer](const QString&, const std::stop_token&) {
            return RewriteFixture::say(answer);
        };
        rewrite();
        QTEST(fixture_->platform.pasteboard->text.value_or(QString()), "pasted");
        QCOMPARE(fixture_->script->texts, QStringList{selected});
        expectSuccess("Text rewritten", "Editor");
    }

    void aBackEndThatGivesUpByItselfIsAFailure()
    {
        fixture_->script->reply = [](const QString&, const std::stop_token&) { return giveUp(); };
        rewrite();
        expectFailure("Couldn’t rewrite", "The operation couldn’t be completed.");
        QVERIFY(!fixture_->pasted());
    }

    void aSecondPressCancelsAtOnce()
    {
        std::stop_token request;
        fixture_->script->reply = [&request](const QString&, std::stop_token stop) {
            request = stop;
            return RewriteFixture::neverAnswer(stop);
        };
        const Task<> running =
            fixture_->service->performRewrite(QStringLiteral("x"), QStringLiteral("Formal"));
        QTRY_COMPARE(fixture_->script->texts.size(), 1);
        QVERIFY(fixture_->panel.visible);
        test::runTask(fixture_->service->performRewrite(QStringLiteral("y"), QStringLiteral("Casual")));
        QVERIFY(!fixture_->panel.visible);
        QVERIFY(request.stop_requested());
        QTRY_VERIFY(!fixture_->service->isProcessing());
        expectSilence();
        fixture_->script->reply = &RewriteFixture::shout;
        rewrite();
        expectSuccess("Text rewritten", "Editor");
    }

    void anAnswerAfterTheCancelIsDiscarded()
    {
        std::stop_source answered;
        int answers = 0;
        fixture_->script->reply = [&](const QString& text, const std::stop_token&) {
            return answerAfter(text, answered.get_token(), &answers);
        };
        const Task<> running =
            fixture_->service->performRewrite(QStringLiteral("x"), QStringLiteral("Formal"));
        QTRY_COMPARE(fixture_->script->texts.size(), 1);
        fixture_->overlay->state().dismiss();
        QVERIFY(!fixture_->panel.visible);
        QTRY_VERIFY(!fixture_->service->isProcessing());
        expectSilence();
        answered.request_stop();
        QTRY_COMPARE(answers, 1);
        QTest::qWait(20);
        expectSilence();
        QVERIFY(fixture_->platform.pasteboard->sets.empty());
    }

    void aCancelDoesNotWaitForTheUserToAnswerAKeyring_data()
    {
        QTest::addColumn<int>("choice");
        QTest::newRow("an API key") << int(AIConnectionChoice::claude);
        QTest::newRow("the accounts") << int(AIConnectionChoice::chatgpt);
        QTest::newRow("what the back end needs") << int(AIConnectionChoice::cloud);
    }

    void aCancelDoesNotWaitForTheUserToAnswerAKeyring()
    {
        QFETCH(int, choice);
        AskingSecItems items;
        fixture_->secItems = &items;
        fixture_->tokensKnown = items.answered.get_token();
        connectAccount(QStringLiteral("resource.invoke chatgpt.tokens.use.direct"));
        fixture_->settings.select(static_cast<AIConnectionChoice>(choice));
        int answers = 0;
        fixture_->script->reply = [&items, &answers](const QString& text, const std::stop_token&) {
            return answerAfter(text, items.answered.get_token(), &answers);
        };
        fixture_->makeService();
        const bool asksForKey = choice != int(AIConnectionChoice::cloud);
        const Task<> running = start();
        QTRY_VERIFY(asksForKey || !fixture_->script->texts.isEmpty());
        fixture_->platform.pasteboard->sets.clear();

        test::runTask(fixture_->service->performRewrite(QStringLiteral("y"), QStringLiteral("Casual")));
        QTRY_VERIFY_WITH_TIMEOUT(!fixture_->service->isProcessing(), 500);
        QVERIFY(running.isReady());
        expectSilence();
        const auto requests = fixture_->script->texts;

        items.answered.request_stop();
        QTRY_VERIFY(asksForKey || answers == 1);
        QTest::qWait(20);
        expectSilence();
        QCOMPARE(fixture_->script->texts, requests);
        QCOMPARE(fixture_->platform.keyPoster->posts.size(), asksForKey ? 0U : 1U);
        QVERIFY(fixture_->platform.pasteboard->sets.empty());

        rewrite();
        expectSuccess("Text rewritten", "Editor");
    }

    void theServiceMayEndWhileAKeyringAsks()
    {
        AskingSecItems items;
        fixture_->secItems = &items;
        fixture_->settings.select(AIConnectionChoice::claude);
        fixture_->makeService();
        const Task<> running = start();
        QCOMPARE(items.asked, 1);
        fixture_->service.reset();
        QTRY_VERIFY(running.isReady());
        items.answered.request_stop();
        QTest::qWait(20);
        QVERIFY(fixture_->platform.keyPoster->posts.empty());
    }

    void cancelDuringTheCopySendsNothing_data()
    {
        QTest::addColumn<bool>("selects");
        QTest::addColumn<bool>("leaves");
        QTest::newRow("a text") << true << false;
        QTest::newRow("nothing selected") << false << false;
        QTest::newRow("another application") << true << true;
    }

    void cancelDuringTheCopySendsNothing()
    {
        QFETCH(bool, selects);
        QFETCH(bool, leaves);
        if (!selects)
            fixture_->selection = std::nullopt;
        const Task<> running = start();
        if (leaves)
            fixture_->platform.workspace->bringToFront(fixture_->browser);
        test::runTask(fixture_->service->performRewrite(QStringLiteral("x"), QStringLiteral("Formal")));
        QTRY_VERIFY(!fixture_->service->isProcessing());
        expectSilence();
        QVERIFY(fixture_->script->made.empty());
    }

    void cancelWhileTheTargetNoticesPastesNothing()
    {
        whileTheTargetNotices([this] { fixture_->overlay->state().dismiss(); });
        rewrite();
        expectSilence();
    }

    void aCancelledRunLeavesTheClipboardToOthers()
    {
        whileTheTargetNotices([this] {
            fixture_->overlay->state().dismiss();
            fixture_->platform.pasteboard->copyFromElsewhere(QStringLiteral("theirs"));
        });
        rewrite();
        expectSilence();
        QCOMPARE(fixture_->platform.pasteboard->text, std::optional(QStringLiteral("theirs")));
        QCOMPARE(fixture_->platform.pasteboard->sets.size(), 1U);
    }

    void aCancelledFailureIsSilent()
    {
        fixture_->script->reply = [this](const QString&, const std::stop_token&) {
            fixture_->overlay->state().dismiss();
            return RewriteFixture::failWith(QStringLiteral("x"));
        };
        rewrite();
        expectSilence();
    }

    void theServiceEndsDuringARun_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<int>("after");
        const auto row = [](const char* place, int after) {
            QTest::addRow("%s, %d ms", place, after) << QString::fromLatin1(place) << after;
        };
        for (const int after : {0, 50, 190})
            row("copying", after);
        for (const int after : {0, 30, 59})
            row("waiting for the answer", after);
        for (const int after : {0, 30})
            row("before the paste", after);
    }

    /// Each of the times ends before the product's own that began with it.
    void theServiceEndsDuringARun()
    {
        QFETCH(QString, place);
        QFETCH(int, after);
        QTimer end;
        end.setSingleShot(true);
        end.setTimerType(Qt::PreciseTimer);
        connect(&end, &QTimer::timeout, this, [this] { fixture_->service.reset(); });
        const auto endAt = [&](const char* here) {
            if (place == QLatin1String(here))
                end.start(after);
        };
        fixture_->script->reply = [&](const QString& text, const std::stop_token&) {
            endAt("waiting for the answer");
            return lateAnswer(text);
        };
        fixture_->platform.pasteboard->onSet = [&] { endAt("before the paste"); };
        const auto copy = fixture_->platform.keyPoster->onPost;
        fixture_->platform.keyPoster->onPost = [&, copy](const KeyCombination& keys) {
            copy(keys);
            endAt("copying");
        };
        const Task<> running =
            fixture_->service->performRewrite(QStringLiteral("x"), QStringLiteral("Formal"));
        QTRY_VERIFY(!fixture_->service);
        QTRY_VERIFY(running.isReady());
        QVERIFY(!fixture_->pasted());
    }

    void whatOutlivesTheServiceDoesNothing()
    {
        const auto shortcut = fixture_->service->hotkeyService().registrations().front().handler;
        const Task<> running = start();
        fixture_->service.reset();
        fixture_->overlay->state().dismiss();
        QVERIFY(fixture_->panel.visible);
        QTRY_VERIFY(running.isReady());
        const auto posts = fixture_->platform.keyPoster->posts;
        shortcut();
        QCOMPARE(fixture_->platform.keyPoster->posts, posts);
    }

    void theSettingsButtonOutlivesTheService()
    {
        fixture_->platform.accessibility->trusted = false;
        rewrite();
        fixture_->service.reset();
        QSignalSpy notices(&NotificationCenter::defaultCenter(), &NotificationCenter::posted);
        fixture_->overlay->state().action();
        QVERIFY(notices.isEmpty());
        QVERIFY(fixture_->panel.visible);
    }

    void theSettingsMayEndDuringARun()
    {
        auto settings = std::make_unique<AppSettings>(fixture_->defaults);
        fixture_->service->setAppSettings(settings.get());
        fixture_->script->reply = [&settings](const QString& text, std::stop_token stop) {
            settings.reset();
            return RewriteFixture::shout(text, stop);
        };
        rewrite();
        QCOMPARE(fixture_->shownTitle(), QStringLiteral("Text rewritten"));
    }

    void anotherProgramTakesTheClipboardOnce()
    {
        int sets = 0;
        fixture_->platform.pasteboard->onSet = [this, &sets] {
            if (++sets == 1)
                QTimer::singleShot(20, this,
                                   [this] { fixture_->platform.pasteboard->copyFromElsewhere("theirs"); });
        };
        rewrite();
        QCOMPARE(sets, 2);
        QCOMPARE(fixture_->platform.pasteboard->text, std::optional(QStringLiteral("SOME TEXT")));
        expectSuccess("Text rewritten", "Editor");
    }

    void anotherProgramKeepsTheClipboard()
    {
        fixture_->platform.pasteboard->ownable = false;
        rewrite();
        expectFailure("Couldn’t rewrite", "Another application is holding the clipboard. Please try again.");
        QVERIFY(!fixture_->pasted());
    }

    void aPasteThatCannotBePostedLeavesTheResult()
    {
        const auto copy = fixture_->platform.keyPoster->onPost;
        fixture_->platform.keyPoster->onPost = [this, copy](const KeyCombination& keys) {
            copy(keys);
            fixture_->platform.keyPoster->result = false;
        };
        rewrite();
        expectSuccess("Copied to clipboard", "Paste it when you’re ready.");
    }

    void theSettingsButtonLeadsToItsSection_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<QString>("section");
        QTest::newRow("no permission") << false << "Permissions";
        QTest::newRow("no connection") << true << "AI connections";
    }

    void theSettingsButtonLeadsToItsSection()
    {
        QFETCH(bool, trusted);
        QFETCH(QString, section);
        fixture_->settings.select(AIConnectionChoice::claude); // without a key
        fixture_->platform.accessibility->trusted = trusted;
        rewrite();
        std::optional<QString> storedBefore;
        QObject listener;
        connect(&NotificationCenter::defaultCenter(), &NotificationCenter::posted, &listener,
                [&] { storedBefore = fixture_->defaults.string("settingsSection"); });
        QSignalSpy notices(&NotificationCenter::defaultCenter(), &NotificationCenter::posted);
        fixture_->overlay->state().action();
        QCOMPARE(notices.size(), 1);
        QCOMPARE(notices.front().at(0).toString(), QStringLiteral("openSettingsFromAlert"));
        QCOMPARE(notices.front().at(1).toMap(), QVariantMap({{"section", section}}));
        QCOMPARE(storedBefore, std::optional(section)); // a window that opens for the notice reads the store
        QVERIFY(!fixture_->panel.visible);
    }

    void aRunIsOverWhenItsOutcomeIsShown()
    {
        QList<bool> busy;
        std::vector<RewriteOverlayState::Phase> phases;
        connect(fixture_->service.get(), &RewriteService::isProcessingChanged, this, [&] {
            busy << fixture_->service->isProcessing();
            phases.push_back(fixture_->overlay->state().phase());
        });
        rewrite();
        QCOMPARE(busy, QList<bool>({true, false}));
        QCOMPARE(phases.back(), RewriteOverlayState::Phase::Success);
    }

    void aNewRunClearsTheLastError()
    {
        fixture_->selection = std::nullopt;
        rewrite();
        QVERIFY(fixture_->service->lastError());
        fixture_->selection = QStringLiteral("x");
        const Task<> running = start();
        QVERIFY(!fixture_->service->lastError());
        QTRY_VERIFY(!fixture_->service->isProcessing());
    }

private:
    static Task<QString> giveUp()
    {
        co_await sleepFor(1ms);
        throw Cancelled();
    }

    static Task<QString> lateAnswer(QString text)
    {
        co_await sleepFor(60ms);
        co_return text;
    }

    static Task<QString> answerAfter(QString text, std::stop_token answered, int* answers)
    {
        co_await sleepFor(1h, answered);
        ++*answers;
        co_return text.toUpper();
    }

    Task<> start()
    {
        return fixture_->service->performRewrite(QStringLiteral("x"), QStringLiteral("Formal"));
    }

    void rewrite()
    {
        test::runTask(fixture_->service->performRewrite(QStringLiteral("Louder."), QStringLiteral("Louder")));
        QVERIFY(!fixture_->service->isProcessing());
    }

    /// In the middle of the wait between the clipboard and the paste.
    void whileTheTargetNotices(const std::function<void()>& happens)
    {
        fixture_->platform.pasteboard->onSet = [this, happens] {
            QTimer::singleShot(20ms, fixture_->platform.workspace, happens);
        };
    }

    void storeKey(const char* account, const QByteArray& key)
    {
        fixture_->platform.secItems->items[{QStringLiteral("com.quillmarsh.app"), QLatin1String(account)}] =
            key;
    }

    void connectAccount(const QString& scopes)
    {
        CodexTokens tokens;
        tokens.clientID = QStringLiteral("client");
        tokens.accessToken = QStringLiteral("access");
        tokens.scopes = scopes.split(u' ');
        fixture_->tokens = tokens;
    }

    void expectSuccess(const QString& title, const QString& detail)
    {
        QCOMPARE(fixture_->overlay->state().phase(), RewriteOverlayState::Phase::Success);
        QCOMPARE(fixture_->shownTitle(), title);
        QCOMPARE(fixture_->shownDetail(), detail);
        QCOMPARE(fixture_->overlay->dismissalDelay(), std::optional(successDelay));
        QVERIFY(fixture_->service->lastSuccess());
        QVERIFY(!fixture_->service->lastError());
        QCOMPARE(fixture_->settings.completedRewriteCount(), 1);
    }

    enum class Button { None, Settings };

    void expectFailure(const QString& title, const QString& detail, Button button = Button::None)
    {
        QCOMPARE(fixture_->overlay->state().phase(), RewriteOverlayState::Phase::Error);
        QCOMPARE(fixture_->shownTitle(), title);
        QCOMPARE(fixture_->shownDetail(), detail);
        QCOMPARE(fixture_->overlay->dismissalDelay(), std::optional(failureDelay));
        QCOMPARE(fixture_->service->lastError(), std::optional(detail));
        const bool hasButton = button == Button::Settings;
        QCOMPARE(fixture_->overlay->state().actionTitle(),
                 hasButton ? std::optional(QStringLiteral("Settings")) : std::nullopt);
    }

    void expectSilence()
    {
        QVERIFY(!fixture_->panel.visible);
        QCOMPARE(fixture_->overlay->state().phase(), RewriteOverlayState::Phase::Working);
        QVERIFY(!fixture_->service->lastError());
        QVERIFY(!fixture_->service->lastSuccess());
        QVERIFY(!fixture_->pasted());
        QCOMPARE(fixture_->settings.completedRewriteCount(), 0);
    }

    std::unique_ptr<RewriteFixture> fixture_;
};

QTEST_MAIN(tst_RewriteService)
#include "tst_RewriteService.moc"
