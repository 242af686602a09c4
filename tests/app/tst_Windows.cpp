#include "app/Services.h"
#include "app/Windows.h"
#include "base/NotificationCenter.h"
#include "chatgpt/CodexOAuthService.h"
#include "overlay/RewriteOverlayController.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"
#include "ui/settings/SettingsViewModels.h"
#include "update/UpdateService.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;

namespace {

/// The application as it is composed, on a platform of fakes.
struct Stage
{
    Stage()
    {
        services.defaults.set(QStringLiteral("hasSeenModernOnboarding"), true);
        services.create([this] { ++quits; });
    }

    [[nodiscard]] static QQuickView* settingsWindow()
    {
        for (QWindow* window : QGuiApplication::topLevelWindows()) {
            if (window->title() == QLatin1String("Quillmarsh") && window->isVisible())
                return qobject_cast<QQuickView*>(window);
        }
        return nullptr;
    }

    /// What the open settings window shows; none while it is closed.
    [[nodiscard]] static std::optional<SettingsSection> shownSection()
    {
        const QQuickView* window = settingsWindow();
        if (!window || !window->rootObject())
            return std::nullopt;
        return models(*window)->sections()->section();
    }

    [[nodiscard]] static SettingsViewModels* models(const QQuickView& window)
    {
        return window.rootObject()->property("models").value<SettingsViewModels*>();
    }

    QTemporaryDir folder;
    test::FakePlatform fakes;
    Services services{std::move(fakes.platform), folder.filePath(QStringLiteral("defaults.ini"))};
    int quits = 0;
};

CodexTokens account(const char* clientID, const char* email)
{
    CodexTokens tokens;
    tokens.clientID = QLatin1String(clientID);
    tokens.accessToken = QStringLiteral("access");
    tokens.email = QLatin1String(email);
    return tokens;
}

} // namespace

/// The start of the services and what opens the settings window, through the real classes.
class tst_Windows final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

    void theServicesStartOnce();
    void theConnectedAccountsEmailIsRemembered();
    void aFailuresButtonOpensItsSection_data();
    void aFailuresButtonOpensItsSection();
    void aFailuresButtonTurnsAnOpenWindowToItsSection();
    void theDemoTakesControlRWhileItHasTheKeyboard();
};

void tst_Windows::theServicesStartOnce()
{
    Stage stage;
    QSignalSpy checks(stage.services.updateService.get(), &UpdateService::isCheckingChanged);
    stage.services.startIfNeeded();
    const auto& taps = stage.fakes.eventTaps->taps;
    QCOMPARE(taps.size(), 1U);
    QVERIFY(taps.front()->enabled);
    QVERIFY(stage.services.rewriteService->hotkeyRegistered());
    QVERIFY(stage.services.updateService->isChecking());
    QTRY_COMPARE(checks.count(), 2);

    Windows first(stage.services);
    stage.services.startIfNeeded();
    Windows second(stage.services);
    stage.services.startIfNeeded();
    QCOMPARE(taps.size(), 1U);
    QVERIFY(!taps.front()->invalidated);
    QCOMPARE(checks.count(), 2);
}

void tst_Windows::theConnectedAccountsEmailIsRemembered()
{
    Stage stage;
    CodexOAuthService& accounts = CodexOAuthService::shared();
    const auto email = [&stage] { return stage.services.defaults.string("openai-chatgpt-email"); };
    test::runTask(accounts.save(account("one", "one@example.com")));
    QCOMPARE(email(), std::nullopt); // none is active yet
    accounts.selectProfile(QStringLiteral("one"));
    QCOMPARE(email(), QStringLiteral("one@example.com"));
    test::runTask(accounts.save(account("one", "new@example.com")));
    QCOMPARE(email(), QStringLiteral("new@example.com"));
    test::runTask(accounts.save(account("two", "two@example.com")));
    QCOMPARE(email(), QStringLiteral("new@example.com"));
    accounts.selectProfile(QStringLiteral("two"));
    QCOMPARE(email(), QStringLiteral("two@example.com"));
    QCOMPARE(stage.services.appSettings->chatgptEmail(), email());
    accounts.selectProfile(QString());
    QCOMPARE(email(), QString());
}

void tst_Windows::aFailuresButtonOpensItsSection_data()
{
    QTest::addColumn<bool>("isTrusted");
    QTest::addColumn<int>("section");
    QTest::newRow("no key for the provider") << true << static_cast<int>(SettingsSection::connections);
    QTest::newRow("no permission") << false << static_cast<int>(SettingsSection::permissions);
}

void tst_Windows::aFailuresButtonOpensItsSection()
{
    QFETCH(bool, isTrusted);
    Stage stage;
    stage.services.startIfNeeded();
    Windows windows(stage.services);
    stage.services.appSettings->select(AIConnectionChoice::claude);
    stage.fakes.accessibility->trusted = isTrusted;
    stage.fakes.workspace->frontmost = RunningApplication{4711, QStringLiteral("Editor"), {}, 1, 1};
    test::runTask(stage.services.rewriteService->performRewrite(std::nullopt, QStringLiteral("Formal")));
    RewriteOverlayState& panel = stage.services.overlay->state();
    QCOMPARE(panel.phase(), RewriteOverlayState::Phase::Error);
    QCOMPARE(panel.actionTitle(), QStringLiteral("Settings"));
    QVERIFY(!Stage::settingsWindow());

    panel.action();
    QVERIFY(Stage::settingsWindow());
    QVERIFY(QTest::qWaitForWindowActive(Stage::settingsWindow()));
    QTEST(static_cast<int>(*Stage::shownSection()), "section");
    QVERIFY(!panel.isVisible());
}

void tst_Windows::aFailuresButtonTurnsAnOpenWindowToItsSection()
{
    Stage stage;
    stage.services.startIfNeeded();
    Windows windows(stage.services);
    windows.openSettings();
    QCOMPARE(Stage::shownSection(), SettingsSection::general);
    const QPointer<QQuickView> window = Stage::settingsWindow();
    QQuickView other; // over it
    other.show();
    other.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&other));

    stage.services.appSettings->select(AIConnectionChoice::claude);
    stage.fakes.workspace->frontmost = RunningApplication{4711, QStringLiteral("Editor"), {}, 1, 1};
    test::runTask(stage.services.rewriteService->performRewrite(std::nullopt, QStringLiteral("Formal")));
    stage.services.overlay->state().action();
    QCOMPARE(Stage::settingsWindow(), window);
    QTRY_VERIFY(window->isActive());
    QCOMPARE(Stage::shownSection(), SettingsSection::connections);
}

void tst_Windows::theDemoTakesControlRWhileItHasTheKeyboard()
{
    Stage stage;
    constexpr KeyCombination controlR{VirtualKey::r, ModifierFlags::control};
    stage.services.appSettings->setInstructionShortcuts(
        {{QUuid::createUuid(), "Mine", "x", "plus", controlR.keyCode, controlR.modifiers}});
    stage.services.startIfNeeded();
    const auto isTaken = [&stage] { return !stage.fakes.eventTaps->taps.back()->interest.empty(); };
    QVERIFY(isTaken());
    Windows windows(stage.services);
    windows.openSettings();
    QVERIFY(QTest::qWaitForWindowActive(Stage::settingsWindow()));
    Stage::models(*Stage::settingsWindow())->sections()->select(SettingsSection::guide);
    QQuickItem* demo = nullptr;
    QTRY_VERIFY((demo = Stage::settingsWindow()->rootObject()->findChild<QQuickItem*>("demoText")));
    demo->forceActiveFocus();
    QTRY_VERIFY(!isTaken());

    QQuickView other;
    other.show();
    other.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTRY_VERIFY(isTaken());
}

QTEST_MAIN(tst_Windows)
#include "tst_Windows.moc"
