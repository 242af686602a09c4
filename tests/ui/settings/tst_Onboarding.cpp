#include "ui/settings/ViewModelsFixture.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::SettingsFixture;
using Status = DemoModel::Status;

/// The demo's rules, the getting-started guide and the permissions guide.
class tst_Onboarding final : public QObject, private test::ViewModelsFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void theDemosTexts_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("heading");
        QTest::addColumn<QString>("instruction");
        QTest::addColumn<QString>("hint");
        QTest::addColumn<QString>("press");
        QTest::newRow("ready") << int(Status::ready) << "Your words, a little clearer."
                               << "Select the sentence."
                               << "Click and drag across the whole text below."
                               << "Then press";
        QTest::newRow("selected") << int(Status::selected) << "Your selection is ready to rewrite."
                                  << ""
                                  << ""
                                  << "Now press";
        QTest::newRow("needs all") << int(Status::needsFullSelection)
                                   << "Select the whole sentence to try it."
                                   << ""
                                   << ""
                                   << "";
        QTest::newRow("complete") << int(Status::complete) << "Nicely done."
                                  << ""
                                  << ""
                                  << "";
    }

    void theDemosTexts()
    {
        QFETCH(int, status);
        DemoModel& demo = *models_->demo();
        if (Status(status) == Status::needsFullSelection)
            demo.rewriteSelection();
        if (Status(status) == Status::selected || Status(status) == Status::complete)
            selectAll(demo);
        if (Status(status) == Status::complete)
            demo.rewriteSelection();
        QCOMPARE(int(demo.status()), status);
        QTEST(demo.heading(), "heading");
        QTEST(demo.instruction(), "instruction");
        QTEST(demo.hint(), "hint");
        QTEST(demo.pressText(), "press");
        QCOMPARE(demo.isComplete(), Status(status) == Status::complete);
    }

    void theSample()
    {
        DemoModel& demo = *models_->demo();
        QCOMPARE(demo.text(), QStringLiteral("thanks for your help ill send the notes soon"));
        selectAll(demo);
        demo.rewriteSelection();
        QCOMPARE(demo.text(), QStringLiteral("Thanks for your help. I'll send the notes soon."));
    }

    void allButTheLastCharacterIsNotEnough_data()
    {
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("end");
        const int length = int(DemoSample().original.size());
        QTest::newRow("last missing") << 0 << length - 1;
        QTest::newRow("first missing") << 1 << length;
        QTest::newRow("nothing") << 0 << 0;
    }

    void allButTheLastCharacterIsNotEnough()
    {
        QFETCH(int, start);
        QFETCH(int, end);
        DemoModel& demo = *models_->demo();
        demo.selectionChanged(start, end);
        QCOMPARE(demo.status(), Status::ready);
        QVERIFY(controlR(demo));
        QCOMPARE(demo.status(), Status::needsFullSelection);
        QCOMPARE(demo.text(), DemoSample().original);
        selectAll(demo);
        QCOMPARE(demo.status(), Status::selected);
    }

    void onlyControlRIsTheDemos_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("taken");
        QTest::newRow("control R") << 15 << int(Qt::ControlModifier) << true;
        QTest::newRow("control R with keypad flag")
            << 15 << int(Qt::ControlModifier | Qt::KeypadModifier) << true;
        QTest::newRow("control shift R") << 15 << int(Qt::ControlModifier | Qt::ShiftModifier) << false;
        QTest::newRow("command R") << 15 << int(Qt::MetaModifier) << false;
        QTest::newRow("control option R") << 15 << int(Qt::ControlModifier | Qt::AltModifier) << false;
        QTest::newRow("R") << 15 << int(Qt::NoModifier) << false;
        QTest::newRow("control A") << 0 << int(Qt::ControlModifier) << false;
    }

    void onlyControlRIsTheDemos()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(bool, taken);
        DemoModel& demo = *models_->demo();
        selectAll(demo);
        QCOMPARE(demo.keyDown(SettingsFixture::scanOffset + key, modifiers, false), taken);
        QCOMPARE(demo.status(), taken ? Status::complete : Status::selected);
    }

    void aHeldControlRFiresOnce()
    {
        DemoModel& demo = *models_->demo();
        QVERIFY(controlR(demo, true));
        QCOMPARE(demo.status(), Status::ready);
    }

    void afterSuccessNothingHappensUntilTryAgain()
    {
        DemoModel& demo = *models_->demo();
        selectAll(demo);
        controlR(demo);
        QSignalSpy changes(&demo, &DemoModel::statusChanged);
        demo.selectionChanged(0, 0);
        demo.selectionChanged(0, int(demo.text().size()));
        controlR(demo);
        QCOMPARE(changes.count(), 0);
        demo.tryAgain();
        QCOMPARE(demo.status(), Status::ready);
        QCOMPARE(demo.text(), DemoSample().original);
        controlR(demo);
        QCOMPARE(demo.status(), Status::needsFullSelection);
    }

    void lengthsCountUtf16Units()
    {
        DemoModel demo(SettingsFixture::virtualKey, [](bool) {},
                       {QStringLiteral("a😀b"), QStringLiteral("A😀B")});
        demo.selectionChanged(0, 3);
        QCOMPARE(demo.status(), Status::ready);
        demo.selectionChanged(0, 4);
        QCOMPARE(demo.status(), Status::selected);
    }

    void theTapHearsOfTheDemosFocus()
    {
        models_->demo()->setFocused(true);
        models_->demo()->setFocused(true);
        models_.reset();
        QCOMPARE(fixture_->demoFocus, QList<bool>({true, false}));
    }

    void theStepsAndTheirButtons_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<bool>("plan");
        QTest::addColumn<int>("step");
        QTest::addColumn<QString>("title");
        QTest::newRow("0") << 0 << false << false << 0 << "Connect";
        QTest::newRow("0, connected") << 0 << true << true << 0 << "Connect";
        QTest::newRow("1") << 1 << false << false << 1 << "Connect ChatGPT";
        QTest::newRow("1, without plan") << 1 << true << false << 1 << "Connect ChatGPT";
        QTest::newRow("1, connected") << 1 << true << true << 1 << "Customize";
        QTest::newRow("2") << 2 << false << false << 2 << "Done";
        QTest::newRow("beyond") << 7 << false << false << 2 << "Done";
        QTest::newRow("below") << -1 << false << false << 0 << "Connect";
    }

    void theStepsAndTheirButtons()
    {
        QFETCH(int, stored);
        QFETCH(bool, connected);
        QFETCH(bool, plan);
        fixture_->rewrite.defaults.set("quickOnboardingStep", stored);
        makeModels(connected ? QList{SettingsFixture::account("a@b.c", plan)} : QList<CodexTokens>());
        QTEST(models_->tutorial()->step(), "step");
        QTEST(models_->tutorial()->nextTitle(), "title");
        QCOMPARE(models_->tutorial()->canSkip(), stored == 1 && !(connected && plan));
    }

    void theWayThroughTheGuide()
    {
        makeModels({SettingsFixture::account("a@b.c")});
        models_->sections()->select(SettingsSection::guide);
        TutorialModel& tutorial = *models_->tutorial();
        tutorial.advance();
        QCOMPARE(fixture_->rewrite.defaults.integer("quickOnboardingStep"), 1);
        tutorial.advance();
        QCOMPARE(tutorial.step(), 2);
        QVERIFY(!fixture_->rewrite.defaults.boolean("hasSeenModernOnboarding"));
        tutorial.back();
        QCOMPARE(tutorial.step(), 1);
        tutorial.advance();
        tutorial.advance();
        QVERIFY(fixture_->rewrite.defaults.boolean("hasSeenModernOnboarding"));
        QCOMPARE(models_->sections()->section(), SettingsSection::general);
        QCOMPARE(tutorial.step(), 0);
    }

    void withoutAnAccountTheSecondStepSignsIn()
    {
        TutorialModel& tutorial = *models_->tutorial();
        tutorial.advance();
        QCOMPARE(tutorial.waitingText(), QString());
        tutorial.advance();
        QCOMPARE(fixture_->rewrite.settings.connectionChoice(), AIConnectionChoice::chatgpt);
        QVERIFY(fixture_->oauth->isAuthenticating());
        QCOMPARE(tutorial.step(), 1);
        QVERIFY(!tutorial.canAdvance());
        QCOMPARE(tutorial.waitingText(), QStringLiteral("Continue in your browser…"));
        QTRY_COMPARE(fixture_->rewrite.platform.workspace->opened.size(), 1U);
        tutorial.cancelSignIn();
        QVERIFY(tutorial.canAdvance());
        tutorial.skip();
        QCOMPARE(tutorial.step(), 2);
    }

    void theCardsLeadToTheirSections()
    {
        models_->tutorial()->connectClaude();
        QCOMPARE(fixture_->rewrite.settings.connectionChoice(), AIConnectionChoice::claude);
        QCOMPARE(models_->sections()->section(), SettingsSection::connections);
        models_->tutorial()->setUpPermissions();
        QCOMPARE(models_->sections()->section(), SettingsSection::permissions);
        models_->tutorial()->showWritingActions();
        QCOMPARE(models_->sections()->section(), SettingsSection::shortcuts);
    }

    void fromThePermissionsOn()
    {
        fixture_->rewrite.defaults.set("quickOnboardingStep", 1);
        models_->tutorial()->continueFromPermissions();
        QCOMPARE(models_->sections()->section(), SettingsSection::guide);
        QCOMPARE(models_->tutorial()->step(), 2);
        models_->sections()->select(SettingsSection::permissions);
        models_->tutorial()->tryDemo();
        QCOMPARE(models_->sections()->section(), SettingsSection::guide);
        QCOMPARE(models_->tutorial()->step(), 0);
        QCOMPARE(fixture_->rewrite.defaults.integer("quickOnboardingStep"), 2);
        models_->sections()->select(SettingsSection::general);
        QCOMPARE(models_->tutorial()->step(), 2);
        models_->tutorial()->tryDemo();
        models_->tutorial()->advance();
        QCOMPARE(models_->tutorial()->step(), 1);
        fixture_->rewrite.defaults.set("hasSeenModernOnboarding", true);
        models_->tutorial()->continueFromPermissions();
        QCOMPARE(models_->sections()->section(), SettingsSection::shortcuts);
    }

    void thePermissionBadges_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<bool>("tap");
        QTest::addColumn<QString>("badge");
        QTest::newRow("enabled") << true << true << "Enabled · your shortcuts are ready";
        QTest::newRow("allowed") << true << false << "Allowed · check your shortcuts";
        QTest::newRow("missing") << false << true << "Not enabled";
    }

    void thePermissionBadges()
    {
        QFETCH(bool, trusted);
        QFETCH(bool, tap);
        setPermission(trusted, tap);
        const PermissionsModel& model = *models_->permissions();
        QTEST(model.badge(), "badge");
        QCOMPARE(model.isEnabled(), trusted && tap);
        QCOMPARE(model.waitingText(),
                 trusted ? QString()
                         : QStringLiteral("Waiting for you to enable Quillmarsh in System Settings…"));
        QCOMPARE(model.helpText(),
                 trusted ? QString()
                         : QStringLiteral(
                               "Not listed? Click + and choose Quillmarsh from Applications. If access is "
                               "on but shortcuts still fail, quit and reopen Quillmarsh from "
                               "Applications."));
        QCOMPARE(model.enabledText(), trusted && tap
                                          ? QStringLiteral("Select text in an app, then use the shortcut "
                                                           "shown in Writing actions.")
                                          : QString());
        QCOMPARE(model.problem(), trusted && !tap ? QStringLiteral("Failed to register shortcuts. Check "
                                                                   "Accessibility permission.")
                                                  : QString());
    }

    void thePermissionButtons()
    {
        auto& accessibility = *fixture_->rewrite.platform.accessibility;
        setPermission(false, true);
        models_->permissions()->openSystemSettings();
        QCOMPARE(accessibility.requests, 1);
        QCOMPARE(accessibility.settingsOpened, 1);
        QSignalSpy changes(models_->permissions(), &PermissionsModel::changed);
        accessibility.trusted = true;
        models_->permissions()->checkAgain();
        QVERIFY(models_->permissions()->isEnabled());
        QVERIFY(changes.count() > 0);
    }

    void theGuideIsRecordedAsSeen()
    {
        QVERIFY(!fixture_->rewrite.defaults.boolean("hasSeenPermissionsGuide"));
        models_->permissions()->markSeen();
        QVERIFY(fixture_->rewrite.defaults.boolean("hasSeenPermissionsGuide"));
    }

private:
    void setPermission(bool trusted, bool tap)
    {
        fixture_->rewrite.platform.accessibility->trusted = trusted;
        fixture_->rewrite.platform.eventTaps->refuses = !tap;
        if (trusted && !tap)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("FAILED to create"));
        fixture_->rewrite.service->restartHotkeys();
    }

    static void selectAll(DemoModel& demo) { demo.selectionChanged(0, int(demo.text().size())); }
    static bool controlR(DemoModel& demo, bool isAutoRepeat = false)
    {
        return demo.keyDown(SettingsFixture::scanOffset + 15, Qt::ControlModifier, isAutoRepeat);
    }
};

QTEST_GUILESS_MAIN(tst_Onboarding)
#include "tst_Onboarding.moc"
