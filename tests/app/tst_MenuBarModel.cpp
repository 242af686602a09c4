#include "app/MenuBarFixture.h"
#include "base/NotificationCenter.h"
#include "support/FailOnWarnings.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::MenuBarFixture;

/// The menu's lines and what choosing them does.
class tst_MenuBarModel final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        test::failOnWarnings();
        fixture_ = std::make_unique<MenuBarFixture>();
    }
    // What a test has started may still be on its way.
    void cleanup() { retired_.push_back(std::move(fixture_)); }

    void theSubtitle();
    void theStatusWhileARewriteRuns();
    void theAccessibilityNotice();
    void theUpdateNotice();
    void connections_data();
    void connections();
    void theActionsInOrder();
    void aRefusedShortcut();
    void aKeyboardLayoutChangesTheTexts();
    void anActionRunsAfterTheMenuHasClosed();
    void anUnknownActionDoesNothing();
    void theFieldTargetsTheApplicationInFront();
    void theFieldLooksPastTheMenuItself();
    void aReopenedMenuCapturesAnew();
    void aBlankInstructionStaysOpen_data();
    void aBlankInstructionStaysOpen();
    void anInstructionIsTrimmedAndRun();
    void aHiddenFieldForgetsItsText();
    void sectionsOfTheSettings();
    void checkingForUpdates();
    void nothingIsCheckedDuringAnInstallation();
    void aPackagedCopyLeavesUpdatesAlone();
    void openingAndQuitting();

private:
    MenuBarModel& menu() { return *fixture_->model; }
    AppSettings& settings() { return fixture_->rewrites.settings; }
    test::BackEndScript& script() { return *fixture_->rewrites.script; }

    std::unique_ptr<MenuBarFixture> fixture_;
    std::vector<std::unique_ptr<MenuBarFixture>> retired_;
};

void tst_MenuBarModel::theSubtitle()
{
    QCOMPARE(menu().status(), QStringLiteral("A little better, in a shortcut."));
    QVERIFY(!menu().isProcessing());
}

void tst_MenuBarModel::theStatusWhileARewriteRuns()
{
    QSignalSpy changed(&menu(), &MenuBarModel::processingChanged);
    script().reply = [](const QString&, std::stop_token stop) {
        return test::RewriteFixture::neverAnswer(stop);
    };
    menu().runAction(0);
    QTRY_COMPARE(menu().status(), QStringLiteral("Polishing your words…"));
    QCOMPARE(changed.count(), 1);
    detach(fixture_->rewrites.service->performRewrite(std::nullopt, {}));
    QTRY_COMPARE(menu().status(), QStringLiteral("A little better, in a shortcut."));
}

void tst_MenuBarModel::theAccessibilityNotice()
{
    QCOMPARE(menu().accessibilityNotice(), QString());
    QSignalSpy changed(&menu(), &MenuBarModel::accessibilityChanged);
    fixture_->rewrites.platform.accessibility->trusted = false;
    fixture_->rewrites.service->checkAndSetupAccessibility(false);
    QCOMPARE(menu().accessibilityNotice(), QStringLiteral("Enable Accessibility to use shortcuts"));
    QCOMPARE(changed.count(), 1);
}

void tst_MenuBarModel::theUpdateNotice()
{
    QCOMPARE(menu().updateNotice(), QString());
    QSignalSpy changed(&menu(), &MenuBarModel::updateChanged);
    fixture_->findRelease("1.10.2");
    QCOMPARE(menu().updateNotice(), QStringLiteral("Update available · v1.10.2"));
    QVERIFY(changed.count() > 0);
    const int before = fixture_->updateWindows;
    menu().showUpdate();
    QCOMPARE(fixture_->updateWindows, before + 1);
}

void tst_MenuBarModel::connections_data()
{
    QTest::addColumn<int>("choice");
    QTest::addColumn<bool>("hasAccount");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<bool>("verified");
    const auto row = [](const char* name, AIConnectionChoice choice, bool hasAccount, const char* text,
                        bool connected, bool verified) {
        QTest::newRow(name) << static_cast<int>(choice) << hasAccount << QString::fromUtf8(text) << connected
                            << verified;
    };
    row("cloud", AIConnectionChoice::cloud, false, "Quillmarsh Cloud", true, true);
    row("cloud, an account all the same", AIConnectionChoice::cloud, true, "Quillmarsh Cloud", true, true);
    row("OpenAI key", AIConnectionChoice::openaiKey, false, "OpenAI", true, false);
    row("Claude", AIConnectionChoice::claude, false, "Claude", true, false);
    row("ChatGPT without an account", AIConnectionChoice::chatgpt, false, "Connect ChatGPT in Settings",
        false, false);
    row("ChatGPT", AIConnectionChoice::chatgpt, true, "ChatGPT connected", true, true);
}

void tst_MenuBarModel::connections()
{
    QFETCH(int, choice);
    QFETCH(bool, hasAccount);
    fixture_->isChatGPTConnected = hasAccount;
    settings().select(static_cast<AIConnectionChoice>(choice));
    QTEST(menu().connection(), "text");
    QTEST(menu().isConnected(), "connected");
    QTEST(menu().isVerified(), "verified");
}

void tst_MenuBarModel::theActionsInOrder()
{
    const QVariantList actions = menu().actions();
    QStringList names;
    for (const QVariant& action : actions)
        names.append(action.toMap().value(QStringLiteral("name")).toString());
    QCOMPARE(names, QStringList({"Autocorrect", "Formal", "Casual", "Shorter", "Longer"}));
    const QVariantMap first = actions.first().toMap();
    QCOMPARE(first.value(QStringLiteral("icon")).toString(), QStringLiteral("checkmark.circle"));
    QCOMPARE(first.value(QStringLiteral("shortcut")).toString(), QStringLiteral("⇧⌘R"));
    QCOMPARE(actions.at(1).toMap().value(QStringLiteral("shortcut")).toString(), QString());
    QSignalSpy changed(&menu(), &MenuBarModel::actionsChanged);
    settings().setInstructionShortcuts({});
    QVERIFY(menu().actions().isEmpty());
    QVERIFY(changed.count() > 0);
}

void tst_MenuBarModel::aRefusedShortcut()
{
    auto list = settings().instructionShortcuts();
    list[1].keyCode = VirtualKey::c;
    list[1].modifiersRaw = ModifierFlags::option;
    settings().setInstructionShortcuts(list);
    QSignalSpy changed(&menu(), &MenuBarModel::actionsChanged);
    fixture_->rewrites.platform.eventTaps->refusedCombinations = {
        {VirtualKey::r, ModifierFlags::shift | ModifierFlags::command}};
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Another program owns")));
    fixture_->rewrites.service->restartHotkeys();
    QVERIFY(changed.count() > 0);
    const QVariantList actions = menu().actions();
    QCOMPARE(actions.first().toMap().value(QStringLiteral("refusal")).toString(),
             QStringLiteral("⇧⌘R is used by another program"));
    QCOMPARE(actions.at(1).toMap().value(QStringLiteral("refusal")).toString(), QString());
}

void tst_MenuBarModel::aKeyboardLayoutChangesTheTexts()
{
    QSignalSpy changed(&menu(), &MenuBarModel::actionsChanged);
    fixture_->rewrites.platform.keyboardLayout->characters[VirtualKey::r] = QStringLiteral("к");
    emit fixture_->rewrites.platform.keyboardLayout->changed();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(menu().actions().first().toMap().value(QStringLiteral("shortcut")).toString(),
             QStringLiteral("⇧⌘К"));
}

void tst_MenuBarModel::anActionRunsAfterTheMenuHasClosed()
{
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    QElapsedTimer timer;
    qint64 beganAfter = -1;
    const auto noteTheTime = [&] { beganAfter = timer.elapsed(); };
    connect(&menu(), &MenuBarModel::processingChanged, &menu(), noteTheTime, Qt::SingleShotConnection);
    timer.start();
    menu().runAction(1);
    QCOMPARE(closes.count(), 1);
    QVERIFY(!menu().isProcessing());
    QTRY_VERIFY(menu().isProcessing());
    QVERIFY2(beganAfter >= 250, qPrintable(QString::number(beganAfter)));
    QCOMPARE(fixture_->rewrites.shownTitle(), QStringLiteral("Formal"));
    QTRY_COMPARE(script().instructions.size(), 1);
    QCOMPARE(script().instructions.first(), settings().instructionShortcuts().at(1).instruction);
    QTRY_VERIFY(!menu().isProcessing());
}

void tst_MenuBarModel::anUnknownActionDoesNothing()
{
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    menu().runAction(-1);
    menu().runAction(5);
    QCOMPARE(closes.count(), 0);
}

void tst_MenuBarModel::theFieldTargetsTheApplicationInFront()
{
    menu().openCustomField();
    QVERIFY(menu().showsCustomField());
    menu().setCustomInstruction(QStringLiteral("In rhyme."));
    menu().submit();
    const auto& activated = fixture_->rewrites.platform.workspace->activated;
    QCOMPARE(activated.size(), 1u);
    QCOMPARE(activated.front().processIdentifier, fixture_->rewrites.editor.processIdentifier);
    QTRY_COMPARE(script().instructions.size(), 1);
}

void tst_MenuBarModel::theFieldLooksPastTheMenuItself()
{
    fixture_->rewrites.platform.workspace->bringToFront(fixture_->rewrites.browser);
    fixture_->bringOurselvesToFront();
    menu().openCustomField();
    menu().setCustomInstruction(QStringLiteral("In rhyme."));
    menu().submit();
    const auto& activated = fixture_->rewrites.platform.workspace->activated;
    QCOMPARE(activated.size(), 1u);
    QCOMPARE(activated.front().processIdentifier, fixture_->rewrites.browser.processIdentifier);
}

void tst_MenuBarModel::aReopenedMenuCapturesAnew()
{
    menu().openCustomField();
    menu().setCustomInstruction(QStringLiteral("In rhyme."));
    fixture_->rewrites.platform.workspace->bringToFront(fixture_->rewrites.browser);
    menu().menuOpened();
    QCOMPARE(menu().customInstruction(), QStringLiteral("In rhyme."));
    menu().submit();
    const auto& activated = fixture_->rewrites.platform.workspace->activated;
    QCOMPARE(activated.size(), 1u);
    QCOMPARE(activated.front().processIdentifier, fixture_->rewrites.browser.processIdentifier);
}

void tst_MenuBarModel::aBlankInstructionStaysOpen_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("spaces") << QStringLiteral("   ");
    QTest::newRow("line breaks and tabs") << QStringLiteral("\n\t \r\n");
}

void tst_MenuBarModel::aBlankInstructionStaysOpen()
{
    QFETCH(QString, text);
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    menu().openCustomField();
    menu().setCustomInstruction(text);
    QVERIFY(!menu().canSubmit());
    menu().submit();
    QVERIFY(menu().showsCustomField());
    QCOMPARE(menu().customInstruction(), text);
    QCOMPARE(closes.count(), 0);
    QVERIFY(fixture_->rewrites.platform.workspace->activated.empty());
}

void tst_MenuBarModel::anInstructionIsTrimmedAndRun()
{
    script().reply = [](const QString&, std::stop_token stop) {
        return test::RewriteFixture::neverAnswer(stop);
    };
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    menu().openCustomField();
    menu().setCustomInstruction(QStringLiteral(" \n Make it a haiku. \t"));
    QVERIFY(menu().canSubmit());
    menu().submit();
    QCOMPARE(closes.count(), 1);
    QVERIFY(!menu().showsCustomField());
    QCOMPARE(menu().customInstruction(), QString());
    QTRY_COMPARE(script().instructions, QStringList("Make it a haiku."));
    QCOMPARE(fixture_->rewrites.shownTitle(), QStringLiteral("Custom rewrite"));
    detach(fixture_->rewrites.service->performRewrite(std::nullopt, {})); // cancels
    QTRY_VERIFY(!menu().isProcessing());
}

void tst_MenuBarModel::aHiddenFieldForgetsItsText()
{
    menu().openCustomField();
    menu().setCustomInstruction(QStringLiteral("x"));
    menu().hideCustomField();
    QVERIFY(!menu().showsCustomField());
    QCOMPARE(menu().customInstruction(), QString());
}

void tst_MenuBarModel::sectionsOfTheSettings()
{
    QSignalSpy posted(&NotificationCenter::defaultCenter(), &NotificationCenter::posted);
    const auto storedSection = [this] {
        return fixture_->rewrites.defaults.string(QStringLiteral("settingsSection")).value_or(QString());
    };
    menu().openPermissions();
    QCOMPARE(storedSection(), QStringLiteral("Permissions")); // for a window that is not open yet
    menu().openConnections();
    QCOMPARE(storedSection(), QStringLiteral("AI connections"));
    QCOMPARE(posted.count(), 2);
    for (const auto& [index, section] : {std::pair(0, "Permissions"), std::pair(1, "AI connections")}) {
        QCOMPARE(posted.at(index).at(0).toString(), QStringLiteral("openSettingsFromAlert"));
        QCOMPARE(posted.at(index).at(1).toMap().value(QStringLiteral("section")).toString(),
                 QString::fromLatin1(section));
    }
}

void tst_MenuBarModel::checkingForUpdates()
{
    QVERIFY(menu().updatesItself());
    fixture_->network.body = R"({"version":"1.0","url":"https://github.com/q/a.zip"})";
    menu().checkForUpdates();
    QVERIFY(!menu().canCheckForUpdates());
    menu().checkForUpdates();
    QTRY_VERIFY(menu().canCheckForUpdates());
    QCOMPARE(fixture_->network.requests, 1);
    QCOMPARE(fixture_->updateWindows, 1); // a manual check shows that there is nothing new
}

void tst_MenuBarModel::nothingIsCheckedDuringAnInstallation()
{
    fixture_->findRelease("1.1");
    const int before = fixture_->network.requests;
    fixture_->updates->installAvailableUpdate();
    QVERIFY(fixture_->updates->isUpdating() && !fixture_->updates->isChecking());
    QVERIFY(!menu().canCheckForUpdates());
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    menu().checkForUpdates();
    QCOMPARE(closes.count(), 0);
    QTRY_VERIFY(menu().canCheckForUpdates());
    QCOMPARE(fixture_->network.requests, before + 1); // the download's own
}

void tst_MenuBarModel::aPackagedCopyLeavesUpdatesAlone()
{
    fixture_->rewrites.platform.bundle->packageManaged = true;
    QVERIFY(!menu().updatesItself());
}

void tst_MenuBarModel::openingAndQuitting()
{
    QSignalSpy settingsRequests(&menu(), &MenuBarModel::settingsRequested);
    QSignalSpy quits(&menu(), &MenuBarModel::quitRequested);
    QSignalSpy closes(&menu(), &MenuBarModel::closeRequested);
    menu().openQuillmarsh();
    menu().quit();
    QCOMPARE(settingsRequests.count(), 1);
    QCOMPARE(quits.count(), 1);
    QCOMPARE(closes.count(), 2);
}

QTEST_MAIN(tst_MenuBarModel)
#include "tst_MenuBarModel.moc"
