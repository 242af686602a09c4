#include "ui/settings/WindowStates.h"

#include <QRegularExpression>

namespace quillmarsh::test {

namespace {

using Section = SettingsSection;
using Fixture = SettingsFixture;
using Driver = WindowDriver;

const QStringList sidebar{"Quillmarsh",      "Overview",        "Shortcuts",
                          "Connect your AI", "Getting started", "Permissions"};

// --- the overview

const QStringList overview =
    sidebar + QStringList{"Active shortcuts", "Writing actions with a keyboard shortcut assigned.",
                          "Rewrites completed",
                          "Successful rewrites on this Mac since usage tracking was added.",
                          "Quillmarsh 1.0.0"};

void offerUpdate(Fixture& fixture)
{
    fixture.updateNetwork.body = R"({"version":"1.1","url":"https://github.com/q/a.zip"})";
    runTask(fixture.updates.checkForUpdates(true));
}

void failCheck(Fixture& fixture)
{
    fixture.updateNetwork.status = 500;
    runTask(fixture.updates.checkForUpdates(true));
}

void check(Fixture& fixture)
{
    fixture.updateNetwork.isMute = true;
    detach(fixture.updates.checkForUpdates(true));
}

void finishGuide(Fixture&, Driver& driver)
{
    for (int step = 0; step < 2; ++step)
        driver.models().tutorial()->skip(), driver.models().tutorial()->advance();
    driver.models().tutorial()->skip();
    driver.models().tutorial()->advance();
}

// --- the writing actions

const QStringList actions =
    sidebar +
    QStringList{"Writing actions", "Choose what a shortcut does to your selected text.", "New action"};
const QStringList fiveActions = actions + QStringList{"5 writing actions"};

void removeAll(Fixture& fixture)
{
    fixture.rewrite.settings.setInstructionShortcuts({});
}

void refuse(Fixture& fixture)
{
    fixture.rewrite.platform.eventTaps->refusedCombinations = {{15, 0x120000}};
    for (const char* warning : {"Every shortcut belongs", "Another program owns"})
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QString::fromLatin1(warning)));
    fixture.rewrite.service->restartHotkeys();
}

// --- the connections

const QStringList connections =
    sidebar +
    QStringList{"Choose the account and model that handle your rewrites.",
                "Writing assistant",
                "Use your own ChatGPT plan or API key from OpenAI or Claude.",
                "Choose your assistant",
                "ChatGPT",
                "Quillmarsh Cloud",
                "OpenAI",
                "Claude",
                "Your credentials stay securely on this Mac.",
                "Only the assistant you choose is used. No automatic switching.",
                "Cloud routes your text through our server to the configured AI provider or its backup."};
const QStringList cloud =
    connections + QStringList{"No API key needed", "Your selected text is sent to our server and the Cloud "
                                                   "AI provider to perform your rewrite. We do not "
                                                   "store your text in application logs or quota storage."};
const QStringList invitation =
    connections + QStringList{"Connect your ChatGPT", "Use your eligible ChatGPT plan.",
                              "You approve access in your browser. Rewrites count toward your ChatGPT "
                              "allowance; availability depends "
                              "on your plan."};
const QStringList account =
    connections + QStringList{"Choose an account", "Refresh available models", "Manage usage ↗"};
const QStringList apiKey = connections + QStringList{"Connect with an API key", "Get an API key ↗",
                                                     "API usage is billed separately by your provider."};

auto choose(AIConnectionChoice choice)
{
    return [choice](Fixture& fixture) { fixture.rewrite.settings.select(choice); };
}

void reportAllowance(Fixture& fixture)
{
    fixture.rewrite.settings.select(AIConnectionChoice::cloud);
    fixture.cloudUsage.setQuota({1000, 999, QStringLiteral("2026-11-21T00:00:00Z")});
}

void connectTwo(Fixture& fixture)
{
    fixture.makeAccounts(
        {Fixture::account("ada.lovelace@example.com"), Fixture::account("grace@example.com")});
    fixture.rewrite.settings.select(AIConnectionChoice::chatgpt);
}

void connectWithoutPlan(Fixture& fixture)
{
    fixture.makeAccounts({Fixture::account("ada.lovelace@example.com", false)});
    fixture.rewrite.settings.select(AIConnectionChoice::chatgpt);
}

void connectMute(Fixture& fixture)
{
    fixture.models.stayMute();
    connectTwo(fixture);
}

void signIn(Fixture&, Driver& driver)
{
    driver.models().connections()->chatGPT()->signIn();
}

void failSignIn(Fixture& fixture, Driver& driver)
{
    fixture.rewrite.platform.workspace->result = false;
    signIn(fixture, driver);
    QTRY_VERIFY(!fixture.oauth->isAuthenticating());
}

void awaitModels(Fixture& fixture, Driver&)
{
    QTRY_COMPARE(fixture.oauth->models().size(), 2);
}

void saveKey(Fixture&, Driver& driver)
{
    driver.item("keyField")->setProperty("text", QStringLiteral("sk-canary"));
    driver.models().connections()->apiKey()->save();
}

void saveKeyInVain(Fixture& fixture, Driver& driver)
{
    fixture.rewrite.platform.secItems->addStatus = errSecNotAvailable;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be saved")));
    saveKey(fixture, driver);
}

// --- the editor

const QStringList editor =
    fiveActions + QStringList{"Tell the AI how to rewrite the selected text.", "Keyboard Shortcut",
                              "Optional. Press a key combo to trigger this instruction globally."};

void record(Fixture&, Driver& driver)
{
    driver.models().editor()->edit(0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("grabbing the keyboard")));
    driver.models().editor()->startRecording();
}

void recordTaken(Fixture& fixture, Driver& driver)
{
    fixture.owned = {{15, 0x120000}};
    driver.models().editor()->edit(1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("grabbing the keyboard")));
    driver.models().editor()->startRecording();
    driver.settle();
    const QKeyEvent press = Fixture::keyEvent(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
    driver.models().editor()->recorder()->keyDown(press);
}

void conflict(Fixture& fixture, Driver& driver)
{
    recordTaken(fixture, driver);
    driver.models().editor()->save();
}

// --- the guide

const QStringList demoReady = sidebar + QStringList{"Your words, a little clearer.",
                                                    "Select the sentence.",
                                                    "Click and drag across the whole text below.",
                                                    "Then press",
                                                    "Control",
                                                    "Step 1 of 3",
                                                    "Connect"};
const QStringList connect = sidebar + QStringList{"ChatGPT by OpenAI",
                                                  "Use your ChatGPT subscription.",
                                                  "Claude",
                                                  "by Anthropic · Connect an API key",
                                                  "Other connections",
                                                  "Step 2 of 3"};
const QStringList customize =
    sidebar + QStringList{"Create a writing action", "All writing actions", "Enable shortcuts in other apps",
                          "Set up permissions",      "Step 3 of 3",         "Done"};

auto guideStep(int step)
{
    return [step](Fixture& fixture) { fixture.rewrite.defaults.set("quickOnboardingStep", step); };
}

void connectedGuide(Fixture& fixture)
{
    connectTwo(fixture);
    guideStep(1)(fixture);
}

void tryWithoutSelection(Fixture&, Driver& driver)
{
    driver.models().demo()->rewriteSelection();
}

void selectSentence(Fixture&, Driver& driver)
{
    QMetaObject::invokeMethod(driver.item("demoText"), "selectAll");
}

void rewriteSentence(Fixture& fixture, Driver& driver)
{
    selectSentence(fixture, driver);
    driver.models().demo()->rewriteSelection();
}

// --- the permissions

const QStringList permissions =
    sidebar + QStringList{"Enable your shortcut",
                          "You stay in control of what Quillmarsh can access.",
                          "Accessibility",
                          "Quillmarsh needs this access to read your selected text using Copy, replace it "
                          "using Paste, and respond "
                          "to your shortcut in other apps.",
                          "Open System Settings → Privacy & Security → Accessibility.",
                          "Turn on Quillmarsh. Use Touch ID or your Mac password if macOS asks.",
                          "Return here. Your shortcuts activate when access is detected.",
                          "Open System Settings",
                          "Check again",
                          "No Screen Recording or Full Disk Access is requested.",
                          "Continue",
                          "Try the demo first"};

void refuseTap(Fixture& fixture)
{
    fixture.rewrite.platform.eventTaps->refuses = true;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("FAILED to create")));
    fixture.rewrite.service->restartHotkeys();
}

void distrust(Fixture& fixture)
{
    fixture.rewrite.platform.accessibility->trusted = false;
    fixture.rewrite.service->checkAndSetupAccessibility(false);
}

// --- the installation screen

const QStringList installation{
    "Welcome to Quillmarsh",
    "Move Quillmarsh to Applications.",
    "Open it from Applications to keep your installation and permissions in one place.",
    "Quillmarsh",
    "Applications folder",
    "Find Quillmarsh.app in your downloads.",
    "Drag it into the Applications folder.",
    "Open Quillmarsh from Applications to finish setup.",
    "Show download",
    "Open Applications",
    "I've moved it — open Quillmarsh",
    "Continue here for now"};

void startElsewhere(Fixture& fixture)
{
    fixture.rewrite.platform.bundle->bundlePath = QStringLiteral("/tmp/Quillmarsh.app");
}

void openInVain(Fixture& fixture, Driver& driver)
{
    driver.click(driver.item("openInstalled"));
    QTRY_VERIFY(!fixture.installation.errorMessage().isEmpty());
}

std::vector<WindowState> makeStates()
{
    using Choice = AIConnectionChoice;
    const auto cloudChoice = choose(Choice::cloud);
    const auto chatGPTChoice = choose(Choice::chatgpt);
    const auto claudeChoice = choose(Choice::claude);
    const auto openAIChoice = choose(Choice::openaiKey);
    const QString automatic = "Automatically checks for updates.";
    const QString badgeReady = "Enabled · your shortcuts are ready";
    return {
        {"overview", Section::general, overview + QStringList{automatic, "Check for updates"}, {}},
        {"overview-checking", Section::general, overview + QStringList{automatic, "Checking…"}, check},
        {"overview-update", Section::general,
         overview + QStringList{"Version 1.1 is available", "View update"}, offerUpdate},
        {"overview-check-failed", Section::general,
         overview +
             QStringList{automatic, "Check for updates", "The update service is temporarily unavailable."},
         failCheck},
        {"overview-after-guide",
         Section::guide,
         overview + QStringList{automatic, "Check for updates", "All writing actions"},
         {},
         finishGuide},

        {"actions", Section::shortcuts, fiveActions, {}},
        {"actions-empty", Section::shortcuts,
         actions + QStringList{"0 writing actions", "Your first writing action starts here.",
                               "Add an instruction and give it a shortcut."},
         removeAll},
        {"actions-menu",
         Section::shortcuts,
         fiveActions + QStringList{"Edit", "Move up", "Move down", "Delete"},
         {},
         [](Fixture&, Driver& driver) { driver.click(driver.item("actionMenu", 1)); }},
        {"actions-deleted",
         Section::shortcuts,
         actions + QStringList{"4 writing actions", "Undo"},
         {},
         [](Fixture&, Driver& driver) { driver.models().actions()->remove(1); }},
        {"actions-refused", Section::shortcuts,
         fiveActions + QStringList{"Another program uses", "Choose a different shortcut."}, refuse},

        {"connections-cloud", Section::connections, cloud, cloudChoice},
        {"connections-cloud-allowance", Section::connections,
         cloud + QStringList{"999 of 1,000 rewrites left · renews 2026-11-21T00:00:00Z"}, reportAllowance},
        {"connections-chatgpt", Section::connections, invitation + QStringList{"Continue with ChatGPT"},
         chatGPTChoice},
        {"connections-signing-in", Section::connections,
         invitation + QStringList{"Finish connecting in your browser…", "Cancel"}, chatGPTChoice, signIn},
        {"connections-chatgpt-error", Section::connections,
         invitation + QStringList{"Continue with ChatGPT", "Couldn’t open your browser. Please try again."},
         chatGPTChoice, failSignIn},
        {"connections-accounts", Section::connections, account + QStringList{"ChatGPT connected"}, connectTwo,
         awaitModels},
        {"connections-loading", Section::connections,
         account + QStringList{"ChatGPT connected", "Loading available models…"}, connectMute},
        {"connections-account-menu", Section::connections,
         account + QStringList{"ChatGPT connected", "Add another account"}, connectTwo,
         [](Fixture& fixture, Driver& driver) {
             awaitModels(fixture, driver);
             driver.click(driver.item("accountMenu"));
         }},
        {"connections-reconnect", Section::connections,
         account + QStringList{"Reconnect to allow this app to use your plan.", "Reconnect"},
         connectWithoutPlan},
        {"connections-key", Section::connections, apiKey, openAIChoice},
        {"connections-key-saved", Section::connections, apiKey + QStringList{"Saved securely on this Mac."},
         claudeChoice, saveKey},
        {"connections-key-error", Section::connections,
         apiKey + QStringList{"Couldn’t save the key: Keychain save failed with status: -25291"},
         claudeChoice, saveKeyInVain},

        {"editor-new",
         Section::shortcuts,
         editor + QStringList{"New writing action", "e.g. Formal, Casual, Shorter...",
                              "Write your own instruction", "Add Keyboard Shortcut", "Cancel",
                              "Add a name and an instruction to save."},
         {},
         [](Fixture&, Driver& driver) { driver.models().editor()->create(); }},
        {"editor",
         Section::shortcuts,
         editor + QStringList{"Edit writing action", "Change", "Remove", "Cancel"},
         {},
         [](Fixture&, Driver& driver) { driver.models().editor()->edit(0); }},
        {"editor-recording",
         Section::shortcuts,
         editor + QStringList{"Edit writing action", "Press your shortcut...", "Cancel"},
         {},
         record},
        {"editor-owned",
         Section::shortcuts,
         editor + QStringList{"Edit writing action", "Change", "Remove", "Cancel", "Another program uses",
                              "so it may not reach Quillmarsh."},
         {},
         recordTaken},
        {"editor-conflict",
         Section::shortcuts,
         editor +
             QStringList{"Edit writing action", "Change", "Remove", "Cancel", "Another program uses",
                         "so it may not reach Quillmarsh.", "Shortcut Already in Use",
                         "This keyboard shortcut is already assigned to \"Autocorrect\". Please choose a "
                         "different shortcut."},
         {},
         conflict},

        {"guide-demo-ready", Section::guide, demoReady, {}},
        {"guide-demo-needs-full-selection",
         Section::guide,
         sidebar + QStringList{"Select the whole sentence to try it.", "Step 1 of 3", "Connect"},
         {},
         tryWithoutSelection},
        {"guide-demo-selected",
         Section::guide,
         sidebar + QStringList{"Your selection is ready to rewrite.", "Now press", "Control", "Step 1 of 3",
                               "Connect"},
         {},
         selectSentence},
        {"guide-demo-complete",
         Section::guide,
         sidebar + QStringList{"Nicely done.", "Try again", "Step 1 of 3", "Connect"},
         {},
         rewriteSentence},
        {"guide-connect", Section::guide, connect + QStringList{"Connect ChatGPT"}, guideStep(1)},
        {"guide-connect-waiting", Section::guide,
         connect + QStringList{"Connect ChatGPT", "Continue in your browser…", "Cancel"}, guideStep(1),
         signIn},
        {"guide-connect-error", Section::guide,
         connect + QStringList{"Connect ChatGPT", "Couldn’t open your browser. Please try again."},
         guideStep(1), failSignIn},
        {"guide-connected", Section::guide, connect + QStringList{"Connected", "Customize"}, connectedGuide},
        {"guide-customize", Section::guide, customize + QStringList{badgeReady}, guideStep(2)},

        {"permissions-enabled",
         Section::permissions,
         permissions + QStringList{badgeReady,
                                   "Select text in an app, then use the shortcut shown in Writing actions."},
         {}},
        {"permissions-allowed", Section::permissions,
         permissions + QStringList{"Allowed · check your shortcuts"}, refuseTap},
        {"permissions-missing", Section::permissions,
         permissions +
             QStringList{"Not enabled", "Waiting for you to enable Quillmarsh in System Settings…",
                         "Not listed? Click + and choose Quillmarsh from Applications. If access is on "
                         "but shortcuts still fail, quit and reopen Quillmarsh from Applications."},
         distrust},

        {"installation", Section::general, installation, startElsewhere},
        {"installation-error", Section::general,
         installation +
             QStringList{"Move this version of Quillmarsh.app into Applications first, then try again. "
                         "If Finder asks, choose Replace for an older copy."},
         startElsewhere, openInVain},
    };
}

} // namespace

const std::vector<WindowState>& windowStates()
{
    static const std::vector<WindowState> states = makeStates();
    return states;
}

void addStateRows()
{
    QTest::addColumn<int>("position");
    for (size_t position = 0; position < windowStates().size(); ++position)
        QTest::newRow(qPrintable(windowStates()[position].name)) << int(position);
}

StatefulWindow::StatefulWindow(const WindowState& state)
{
    fixture.rewrite.defaults.set("settingsSection", rawValue(state.section));
    if (state.before)
        state.before(fixture);
    driver = std::make_unique<WindowDriver>(fixture);
    driver->open();
    driver->settle();
    if (state.after)
        state.after(fixture, *driver);
    driver->settle();
}

} // namespace quillmarsh::test
