#include "ui/settings/WindowFixture.h"

#include <QAccessible>
#include <QScreen>

using namespace quillmarsh;
using test::SettingsFixture;

namespace {

/// Every text that an assistive program can read below `object`.
void collectAccessibleTexts(QAccessibleInterface* object, QStringList& texts)
{
    if (!object)
        return;
    for (const auto kind :
         {QAccessible::Name, QAccessible::Description, QAccessible::Value, QAccessible::Help})
        texts << object->text(kind);
    if (QAccessibleTextInterface* text = object->textInterface())
        texts << text->text(0, text->characterCount());
    for (int child = 0; child < object->childCount(); ++child)
        collectAccessibleTexts(object->child(child), texts);
}

} // namespace

/// The real window, driven with mouse and keyboard.
class tst_SettingsWindow final : public QObject, private test::WindowFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void theFirstStartBeginsWithTheGuide()
    {
        fixture_->rewrite.defaults.remove("settingsSection");
        driver_->open();
        QCOMPARE(driver_->view().title(), QStringLiteral("Quillmarsh"));
        expectTexts({"Getting started", "Your words, a little clearer.", "Step 1 of 3", "Connect"});
    }

    void theWindowFitsTheScreen()
    {
        driver_->open();
        const QQuickView& window = driver_->view();
        const QRect room = window.screen()->availableGeometry();
        QVERIFY2(room.width() < 900, "the screen has to be narrower than the window would be");
        QCOMPARE(window.size(), QSize(room.width(), 660));
        QCOMPARE(window.minimumSize(), QSize(720, 520));
    }

    void everySectionShowsItsTexts_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("overview") << 0
                                  << QStringList(
                                         {"Overview", "Active shortcuts", "Rewrites completed", "1", "0",
                                          "Writing actions with a keyboard shortcut assigned.",
                                          "Successful rewrites on this Mac since usage tracking was added.",
                                          "Quillmarsh 1.0.0", "Automatically checks for updates.",
                                          "Check for updates"});
        QTest::newRow("actions") << 1
                                 << QStringList({"Writing actions",
                                                 "Choose what a shortcut does to your selected text.",
                                                 "5 writing actions", "New action", "Autocorrect", "Longer",
                                                 "⇧", "R"});
        QTest::newRow("connections")
            << 2
            << QStringList(
                   {"Connect your AI", "Choose the account and model that handle your rewrites.",
                    "Writing assistant", "Use your own ChatGPT plan or API key from OpenAI or Claude.",
                    "Choose your assistant", "ChatGPT", "Quillmarsh Cloud", "OpenAI", "Claude",
                    "Your credentials stay securely on this Mac.",
                    "Only the assistant you choose is used. No automatic switching.",
                    "Cloud routes your text through our server to the configured AI provider or its backup.",
                    "No API key needed",
                    "Your selected text is sent to our server and the Cloud AI provider to perform your "
                    "rewrite. We do not store your text in application logs or quota storage."});
        QTest::newRow("guide") << 3
                               << QStringList({"Getting started", "Your words, a little clearer.",
                                               "Select the sentence.",
                                               "Click and drag across the whole text below.", "Then press",
                                               "Control", "R", "thanks for your help ill send the notes soon",
                                               "Connect"});
        QTest::newRow("permissions")
            << 4
            << QStringList(
                   {"Enable your shortcut", "You stay in control of what Quillmarsh can access.",
                    "Accessibility",
                    "Quillmarsh needs this access to read your selected text using Copy, replace it using "
                    "Paste, and respond to your shortcut in other apps.",
                    "Enabled · your shortcuts are ready",
                    "Open System Settings → Privacy & Security → Accessibility.",
                    "Turn on Quillmarsh. Use Touch ID or your Mac password if macOS asks.",
                    "Return here. Your shortcuts activate when access is detected.", "Open System Settings",
                    "Check again", "Select text in an app, then use the shortcut shown in Writing actions.",
                    "No Screen Recording or Full Disk Access is requested.", "Continue",
                    "Try the demo first"});
    }

    void everySectionShowsItsTexts()
    {
        QFETCH(int, section);
        QFETCH(QStringList, expected);
        driver_->open();
        driver_->click(driver_->control(sectionTexts(allSettingsSections.at(size_t(section))).label));
        driver_->settle();
        expectTexts(expected);
    }

    void theAllowanceAppearsAndStaysCurrent()
    {
        driver_->open();
        driver_->select(SettingsSection::connections);
        QVERIFY(!driver_->item("allowance"));
        fixture_->cloudUsage.setQuota({100, 99, std::nullopt});
        driver_->settle();
        expectTexts({"99 of 100 rewrites left"});
        fixture_->cloudUsage.setQuota({100, 0, QStringLiteral("2026-11-21")});
        expectTexts({"0 of 100 rewrites left · renews 2026-11-21"});
    }

    void theChatGPTPanelByState()
    {
        fixture_->rewrite.settings.select(AIConnectionChoice::chatgpt);
        driver_->open();
        driver_->select(SettingsSection::connections);
        expectTexts(
            {"Connect your ChatGPT", "Use your eligible ChatGPT plan.",
             "You approve access in your browser. Rewrites count toward your ChatGPT allowance; availability "
             "depends on your plan.",
             "Continue with ChatGPT"});
        driver_->click(driver_->item("continueWithChatGPT"));
        expectTexts({"Finish connecting in your browser…"});
        QVERIFY(!driver_->item("continueWithChatGPT"));
        QTRY_COMPARE(fixture_->rewrite.platform.workspace->opened.size(), 1U);
        driver_->click(driver_->item("cancelSignIn"));
        QVERIFY(driver_->item("continueWithChatGPT"));
    }

    void theConnectedPanel()
    {
        driver_.reset();
        fixture_->makeAccounts({SettingsFixture::account("ada.lovelace@example.com"),
                                SettingsFixture::account("grace@example.com", false)});
        fixture_->rewrite.settings.select(AIConnectionChoice::chatgpt);
        makeWindow();
        driver_->open();
        driver_->select(SettingsSection::connections);
        expectTexts({"AL", "ada.lovelace@example.com", "Choose an account", "Refresh available models",
                     "Manage usage ↗"});
        QTRY_COMPARE(fixture_->oauth->models().size(), 2);
        driver_->settle();
        expectTexts({"Swift"});
        driver_->click(driver_->item("accountMenu"));
        driver_->settle();
        expectTexts({"grace@example.com", "Add another account"});
        driver_->press(Qt::Key_Down);
        driver_->press(Qt::Key_Return);
        QCOMPARE(fixture_->oauth->activeClientID(), QStringLiteral("client-grace@example.com"));
        driver_->settle();
        expectTexts({"Reconnect to allow this app to use your plan."});
    }

    void theModelsWhileTheyLoad()
    {
        driver_.reset();
        fixture_->models.stayMute();
        fixture_->makeAccounts({SettingsFixture::account("ada.lovelace@example.com")});
        fixture_->rewrite.settings.select(AIConnectionChoice::chatgpt);
        makeWindow();
        driver_->open();
        driver_->select(SettingsSection::connections);
        expectTexts({"Loading available models…"});
        QVERIFY(!driver_->item("modelMenu")->isEnabled());
    }

    void theKeyPanel()
    {
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        driver_->open();
        driver_->select(SettingsSection::connections);
        expectTexts({"Connect with an API key", "Get an API key ↗",
                     "API usage is billed separately by your provider."});
        driver_->click(driver_->item("keyField"));
        driver_->type("sk-secret-1");
        QCOMPARE(driver_->models().connections()->apiKey()->text(), QStringLiteral("sk-secret-1"));
        QStringList texts;
        collectAccessibleTexts(QAccessible::queryAccessibleInterface(&driver_->view()), texts);
        QVERIFY(texts.contains("API key"));
        QVERIFY(texts.filter("sk-secret").isEmpty());
        driver_->click(driver_->item("saveKey"));
        expectTexts({"Saved securely on this Mac."});
        QCOMPARE(fixture_->storedSecret("anthropic-api-key"), QByteArray("sk-secret-1"));
        driver_->click(driver_->item("removeKey"));
        QCOMPARE(driver_->item("keyField")->property("text").toString(), QString());
        QVERIFY(fixture_->storedSecret("anthropic-api-key").isNull());
    }

    void anActionIsMadeWithTheKeyboardAlone()
    {
        driver_->open();
        driver_->select(SettingsSection::shortcuts);
        driver_->item("newAction")->forceActiveFocus(Qt::TabFocusReason);
        driver_->press(Qt::Key_Return);
        expectTexts({"New writing action", "e.g. Formal, Casual, Shorter...", "Write your own instruction",
                     "Tell the AI how to rewrite the selected text.", "Keyboard Shortcut",
                     "Optional. Press a key combo to trigger this instruction globally.",
                     "Add Keyboard Shortcut", "Add a name and an instruction to save."});
        driver_->type("Pirate");
        driver_->press(Qt::Key_Tab);
        driver_->type("Arr");
        driver_->press(Qt::Key_Tab);
        ignoreGrab();
        driver_->press(Qt::Key_Space);
        expectTexts({"Press your shortcut..."});
        QTRY_VERIFY(driver_->focused()->inherits("quillmarsh::KeyCaptureView"));
        driver_->pressNative(0, Qt::Key_A);
        QCOMPARE(fixture_->beeps, 1);
        driver_->pressNative(12, Qt::Key_Q, Qt::MetaModifier);
        expectTexts({"Q", "Change", "Remove"});
        QVERIFY(driver_->window.isOpen());
        driver_->click(driver_->item("saveAction"));
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().back().name, QStringLiteral("Pirate"));
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().back().instruction, QStringLiteral("Arr"));
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().back().modifiersRaw, 0x100000);
        expectTexts({"6 writing actions"});
    }

    void tabIsRecordedAndEscapeOnlyEndsTheRecording()
    {
        driver_->open();
        driver_->select(SettingsSection::shortcuts);
        driver_->models().editor()->edit(0);
        ignoreGrab();
        driver_->click(driver_->item("changeShortcut"));
        QTRY_VERIFY(driver_->focused()->inherits("quillmarsh::KeyCaptureView"));
        driver_->pressNative(53, Qt::Key_Escape);
        QVERIFY(driver_->models().editor()->isOpen());
        expectTexts({"Change"});
        ignoreGrab();
        driver_->click(driver_->item("changeShortcut"));
        QTRY_VERIFY(driver_->focused()->inherits("quillmarsh::KeyCaptureView"));
        driver_->pressNative(48, Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(driver_->models().editor()->shortcutText(), QStringLiteral("⇧Tab"));
        driver_->press(Qt::Key_Escape);
        QVERIFY(!driver_->models().editor()->isOpen());
    }

    void leavingTheRecorderBringsTheShortcutsBack()
    {
        auto& taps = fixture_->rewrite.platform.eventTaps->taps;
        driver_->open();
        driver_->models().editor()->edit(0);
        ignoreGrab();
        driver_->click(driver_->item("changeShortcut"));
        QTRY_VERIFY(driver_->focused()->inherits("quillmarsh::KeyCaptureView"));
        QVERIFY(taps.back()->invalidated);
        driver_->click(driver_->item("nameField"));
        QVERIFY(!driver_->models().editor()->recorder()->isRecording());
        QVERIFY(taps.back()->enabled);
    }

    void aConflictShowsTheAlert()
    {
        driver_->open();
        driver_->models().editor()->edit(1);
        driver_->models().editor()->startRecording();
        const QKeyEvent press =
            SettingsFixture::keyEvent(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
        driver_->models().editor()->recorder()->keyDown(press);
        driver_->click(driver_->item("saveAction"));
        expectTexts({"Shortcut Already in Use",
                     "This keyboard shortcut is already assigned to \"Autocorrect\". Please "
                     "choose a different shortcut."});
        driver_->press(Qt::Key_Return);
        QVERIFY(driver_->models().editor()->conflictMessage().isEmpty());
        QVERIFY(driver_->models().editor()->isOpen());
    }

    void deletingFromTheMenuCanBeUndone()
    {
        driver_->open();
        driver_->select(SettingsSection::shortcuts);
        driver_->click(driver_->item("actionMenu", 1));
        driver_->settle();
        expectTexts({"Edit", "Move up", "Move down", "Delete"});
        driver_->press(Qt::Key_End);
        driver_->press(Qt::Key_Return);
        expectTexts({"4 writing actions", "Deleted “Formal”.", "Undo"});
        driver_->click(driver_->control("Undo"));
        QTRY_COMPARE(fixture_->rewrite.settings.instructionShortcuts().size(), 5U);
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().at(1).name, QStringLiteral("Formal"));
    }

    void rowsAreOrderedWithTheKeyboard()
    {
        driver_->open();
        driver_->select(SettingsSection::shortcuts);
        driver_->settle();
        QQuickItem* list = driver_->item("actionList");
        QQuickItem* row = nullptr;
        QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, row), Q_ARG(int, 2));
        row->forceActiveFocus(Qt::TabFocusReason);
        driver_->press(Qt::Key_Up, Qt::AltModifier);
        driver_->settle();
        driver_->press(Qt::Key_Up, Qt::AltModifier);
        driver_->settle();
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().front().name, QStringLiteral("Casual"));
        QCOMPARE(driver_->focused()->property("name").toString(), QStringLiteral("Casual"));
        driver_->press(Qt::Key_Down);
        QCOMPARE(driver_->focused()->property("name").toString(), QStringLiteral("Autocorrect"));
        driver_->press(Qt::Key_Delete);
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().size(), 4U);
    }

    void theDemoWithTheMouse()
    {
        driver_->open();
        driver_->select(SettingsSection::guide);
        driver_->settle();
        QQuickItem* text = driver_->item("demoText");
        const QPointF start = text->mapToScene({1, text->height() / 2});
        QTest::mousePress(&driver_->view(), Qt::LeftButton, {}, start.toPoint());
        for (const qreal share : {0.2, 0.5, 0.8, 1.0})
            QTest::mouseMove(&driver_->view(), (start + QPointF(share * (text->width() - 2), 0)).toPoint());
        QTest::mouseRelease(&driver_->view(), Qt::LeftButton, {},
                            (start + QPointF(text->width() - 2, 0)).toPoint());
        expectTexts({"Your selection is ready to rewrite.", "Now press"});
        QCOMPARE(fixture_->demoFocus, QList<bool>({true}));
        driver_->pressNative(15, Qt::Key_R, Qt::ControlModifier);
        expectTexts({"Nicely done.", "Thanks for your help. I'll send the notes soon.", "Try again"});
        QCOMPARE(text->property("selectedText").toString(),
                 QStringLiteral("Thanks for your help. I'll send the notes soon."));
        driver_->click(driver_->item("tryAgain"));
        expectTexts({"Your words, a little clearer.", "thanks for your help ill send the notes soon"});
        driver_->press(Qt::Key_A, Qt::ControlModifier);
        expectTexts({"Your selection is ready to rewrite."});
        driver_->press(Qt::Key_Right);
        driver_->pressNative(15, Qt::Key_R, Qt::ControlModifier);
        expectTexts({"Select the whole sentence to try it."});
    }

    void theGuideLeadsToTheOverview()
    {
        driver_->open();
        driver_->select(SettingsSection::guide);
        driver_->click(driver_->item("tutorialNext"));
        expectTexts({"ChatGPT by OpenAI", "Use your ChatGPT subscription.", "Claude",
                     "by Anthropic · Connect an API key", "Other connections", "Connect ChatGPT"});
        driver_->click(driver_->item("tutorialSkip"));
        expectTexts({"Create a writing action", "All writing actions", "Enable shortcuts in other apps",
                     "Set up permissions", "Done"});
        driver_->click(driver_->item("tutorialNext"));
        QVERIFY(fixture_->rewrite.defaults.boolean("hasSeenModernOnboarding"));
        expectTexts({"Active shortcuts", "Autocorrect"});
    }

    void thePermissionsWhileAccessIsMissing()
    {
        fixture_->rewrite.platform.accessibility->trusted = false;
        fixture_->rewrite.service->checkAndSetupAccessibility(false);
        driver_->open();
        driver_->select(SettingsSection::permissions);
        expectTexts({"Not enabled", "Waiting for you to enable Quillmarsh in System Settings…",
                     "Not listed? Click + and choose Quillmarsh from Applications. If access is on but "
                     "shortcuts still "
                     "fail, quit and reopen Quillmarsh from Applications."});
        QVERIFY(fixture_->rewrite.defaults.boolean("hasSeenPermissionsGuide"));
        driver_->click(driver_->item("openSystemSettings"));
        QCOMPARE(fixture_->rewrite.platform.accessibility->settingsOpened, 1);
        driver_->click(driver_->item("tryDemo"));
        expectTexts({"Your words, a little clearer."});
    }

    void noticesReachTheOpenWindow()
    {
        driver_->open();
        fixture_->notifications.post(QLatin1String(openSettingsFromAlert), {{"section", "AI connections"}});
        driver_->settle();
        expectTexts({"Writing assistant"});
    }

    void comingForwardKeepsItMaximised()
    {
        driver_->open();
        for (const Qt::WindowStates hidden : {Qt::WindowStates(), Qt::WindowStates(Qt::WindowMinimized)}) {
            driver_->view().setWindowStates(Qt::WindowMaximized | hidden);
            QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
            driver_->window.show();
            QCOMPARE(driver_->view().windowStates(), Qt::WindowStates(Qt::WindowMaximized));
        }
    }

    void anEmptyListInvites()
    {
        fixture_->rewrite.settings.setInstructionShortcuts({});
        driver_->open();
        driver_->select(SettingsSection::shortcuts);
        expectTexts({"0 writing actions", "Your first writing action starts here.",
                     "Add an instruction and give it a shortcut."});
    }

    void theArrowsWalkThroughTheSidebar()
    {
        driver_->open();
        driver_->control("Overview")->forceActiveFocus(Qt::TabFocusReason);
        driver_->press(Qt::Key_Down);
        QCOMPARE(driver_->models().sections()->section(), SettingsSection::shortcuts);
        driver_->press(Qt::Key_Up);
        driver_->press(Qt::Key_Up);
        QCOMPARE(driver_->models().sections()->section(), SettingsSection::permissions);
        QCOMPARE(driver_->focused()->property("text").toString(), QStringLiteral("Permissions"));
    }

    void whatHasTheKeyboardLiesClearOfTheFadingEdges_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("down the actions") << 1 << Qt::Key_Down;
        QTest::newRow("through the actions") << 1 << Qt::Key_Tab;
        QTest::newRow("through the connections") << 2 << Qt::Key_Tab;
    }

    void whatHasTheKeyboardLiesClearOfTheFadingEdges()
    {
        QFETCH(int, section);
        QFETCH(Qt::Key, key);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        std::vector<InstructionShortcut> actions;
        for (int number = 0; number < 30; ++number)
            actions.push_back({QUuid::createUuid(), QString::number(number), "x", "star", number, 0x1E0000});
        fixture_->rewrite.settings.setInstructionShortcuts(actions);
        driver_->open();
        driver_->view().resize(driver_->view().minimumSize());
        driver_->select(static_cast<SettingsSection>(section));
        if (auto* before = driver_->item("newAction"))
            before->forceActiveFocus(Qt::TabFocusReason);
        constexpr qreal edge = 20;
        int seen = 0;
        for (int step = 0; step < 40; ++step) {
            driver_->press(step == 0 ? Qt::Key_Tab : key);
            driver_->settle();
            QQuickItem* view = scrolledViewOf(driver_->focused());
            if (!view)
                continue;
            ++seen;
            const QRectF place = driver_->focused()->mapRectToItem(view, driver_->focused()->boundingRect());
            QVERIFY(place.top() >= edge);
            QVERIFY(place.bottom() <= view->height() - (view->property("atYEnd").toBool() ? 0 : edge));
        }
        QVERIFY(seen > 3);
    }

    void tabReachesEveryControl_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QStringList>("reached");
        QTest::newRow("overview") << 0 << QStringList({"Overview", "Check for updates"});
        QTest::newRow("actions") << 1
                                 << QStringList({"Shortcuts", "New action", "Autocorrect",
                                                 "Actions for Autocorrect", "Longer", "Actions for Longer"});
        QTest::newRow("connections") << 2 << QStringList({"Connect your AI", "Quillmarsh Cloud"});
        QTest::newRow("guide") << 3 << QStringList({"Getting started", "Demo text", "Connect"});
        QTest::newRow("permissions") << 4
                                     << QStringList({"Permissions", "Open System Settings", "Check again",
                                                     "Try the demo first", "Continue"});
    }

    void tabReachesEveryControl()
    {
        QFETCH(int, section);
        QFETCH(QStringList, reached);
        driver_->open();
        driver_->models().sections()->setIndex(section);
        driver_->settle();
        QStringList names;
        for (int step = 0; step < 30; ++step) {
            driver_->press(Qt::Key_Tab);
            QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(driver_->focused());
            QVERIFY(interface);
            const QString name = interface->text(QAccessible::Name);
            QVERIFY2(!name.isEmpty(), driver_->focused()->metaObject()->className());
            names << name;
        }
        for (const QString& name : reached)
            QVERIFY2(names.contains(name), qPrintable(name + " is missing in " + names.join(", ")));
    }

    void aCopyOutsideApplicationsShowsTheInstallationScreen()
    {
        driver_.reset();
        fixture_->rewrite.platform.bundle->bundlePath = QStringLiteral("/tmp/Quillmarsh.app");
        makeWindow();
        driver_->open();
        QVERIFY(!driver_->window.models());
        expectTexts({"Move Quillmarsh to Applications."});
        driver_->click(driver_->control("Continue here for now"));
        QTRY_VERIFY(driver_->window.models());
        driver_->settle();
        expectTexts({"Overview", "Active shortcuts"});
    }

private:
    /// The view that this lies in, if it has scrolled.
    static QQuickItem* scrolledViewOf(QQuickItem* item)
    {
        while (item && !item->inherits("QQuickFlickable"))
            item = item->parentItem();
        return item && item->property("contentY").toReal() > 0 ? item : nullptr;
    }

    void expectTexts(const QStringList& expected)
    {
        const QStringList texts = driver_->texts();
        for (const QString& text : expected)
            QVERIFY2(texts.contains(text), qPrintable("Missing: " + text + "\nin: " + texts.join(" | ")));
    }

    static void ignoreGrab()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("grabbing the keyboard"));
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_SettingsWindow.moc"
