#include "rewrite/RewriteFixture.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::RewriteFixture;

/// Permission, registration and the applications in front.
class tst_RewriteServiceState final : public QObject
{
    Q_OBJECT

private slots:
    void init() { fixture_ = std::make_unique<RewriteFixture>(); }

    void withoutSetupNothingHappens()
    {
        auto hotkeys =
            std::make_unique<HotkeyService>(*fixture_->platform.eventTaps, *fixture_->platform.accessibility);
        const RewriteService preview(false, fixture_->environment(), std::move(hotkeys));
        QVERIFY(!preview.hasAccessibility());
        QCOMPARE(fixture_->platform.accessibility->checks, 0);
        QVERIFY(!preview.lastExternalApplication());
    }

    void shortcutsAreRegisteredFromTheSettings()
    {
        fixture_->makeService();
        QVERIFY(service().hasAccessibility());
        QVERIFY(service().hotkeyRegistered());
        QVERIFY(!service().lastError());
        QCOMPARE(tap().interest, std::vector<KeyCombination>({{15, 0x120000}}));
    }

    void permissionComesAndGoes()
    {
        fixture_->platform.accessibility->trusted = false;
        fixture_->makeService();
        QVERIFY(!service().hotkeyRegistered());
        QVERIFY(!service().lastError());
        fixture_->platform.accessibility->trusted = true;
        QTRY_VERIFY_WITH_TIMEOUT(service().hotkeyRegistered(), 4000); // the monitor looks every two seconds
        fixture_->platform.accessibility->trusted = false;
        fixture_->platform.workspace->bringToFront(fixture_->browser);
        QVERIFY(!service().hotkeyRegistered());
        QVERIFY(tap().invalidated);
        QCOMPARE(service().lastError(),
                 std::optional(QStringLiteral("Enable Accessibility in Permissions to use shortcuts.")));
        fixture_->platform.accessibility->trusted = true;
        fixture_->platform.workspace->bringToFront(fixture_->editor);
        QVERIFY(service().hotkeyRegistered());
        QVERIFY(!service().lastError());
    }

    void anUnchangedPermissionEmitsNothing()
    {
        fixture_->makeService();
        QSignalSpy changed(&service(), &RewriteService::hasAccessibilityChanged);
        const size_t taps = fixture_->platform.eventTaps->taps.size();
        service().checkAndSetupAccessibility(false);
        service().checkAndSetupAccessibility(true);
        QVERIFY(changed.isEmpty());
        QCOMPARE(fixture_->platform.eventTaps->taps.size(), taps);
    }

    void aFailedRegistrationIsRetriedOnRequest()
    {
        fixture_->platform.eventTaps->refuses = true;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("FAILED to create")));
        fixture_->makeService();
        QVERIFY(!service().hotkeyRegistered());
        QCOMPARE(
            service().lastError(),
            std::optional(QStringLiteral("Failed to register shortcuts. Check Accessibility permission.")));
        fixture_->platform.eventTaps->refuses = false;
        service().checkAndSetupAccessibility(false);
        QVERIFY(!service().hotkeyRegistered());
        service().requestAccessibility();
        QVERIFY(service().hotkeyRegistered());
        QVERIFY(!service().lastError());
    }

    void withoutThePermissionNothingIsRegistered()
    {
        fixture_->platform.accessibility->trusted = false;
        fixture_->makeService();
        service().registerHotkeys();
        QVERIFY(service().hotkeyService().registrations().empty());
        QVERIFY(!service().lastError());
    }

    void registrationsKeepTheOrderOfTheActions()
    {
        fixture_->settings.addShortcut({QUuid::createUuid(), "Twin", "x", "plus", 15, 0x120000});
        fixture_->settings.addShortcut({QUuid::createUuid(), "Low", "x", "plus", 3, 0x140000});
        fixture_->makeService();
        std::vector<KeyCombination> order;
        for (const Registration& registration : service().hotkeyService().registrations())
            order.push_back({registration.keyCode, registration.modifiers});
        QCOMPARE(order, std::vector<KeyCombination>({{15, 0x120000}, {15, 0x120000}, {3, 0x140000}}));
        QCOMPARE(fixture_->platform.eventTaps->press(15, 0x120000), TapVerdict::Swallow);
        QTRY_COMPARE(fixture_->shownTitle(), QStringLiteral("Autocorrect"));
        QTRY_VERIFY(!service().isProcessing());
    }

    void whoComesBackToThisApplicationWithThePermissionHasTheShortcuts()
    {
        fixture_->platform.accessibility->trusted = false;
        fixture_->makeService();
        fixture_->platform.accessibility->trusted = true;
        RunningApplication self;
        self.processIdentifier = QCoreApplication::applicationPid();
        fixture_->platform.workspace->bringToFront(self);
        QVERIFY(service().hotkeyRegistered());
    }

    void requestingAccess()
    {
        fixture_->platform.accessibility->trusted = false;
        fixture_->makeService();
        service().requestAccessibility();
        QVERIFY(service().isWaitingForAccessibility());
        QCOMPARE(fixture_->platform.accessibility->requests, 1);
        QCOMPARE(fixture_->platform.accessibility->settingsOpened, 1);
        fixture_->platform.accessibility->trusted = true;
        service().checkAndSetupAccessibility(false);
        QVERIFY(!service().isWaitingForAccessibility());
        service().requestAccessibility();
        QCOMPARE(fixture_->platform.accessibility->requests, 1);
        QCOMPARE(fixture_->platform.accessibility->settingsOpened, 2);
    }

    void theUserIsPromptedBeforeThePlaceOpens()
    {
        fixture_->platform.accessibility->trusted = false;
        QStringList asked;
        RewriteEnvironment environment = fixture_->environment();
        environment.accessibilityRequest = [&asked] { asked << QStringLiteral("prompt"); };
        environment.openAccessibilitySettings = [&asked] { asked << QStringLiteral("settings"); };
        RewriteService service(true, environment,
                               std::make_unique<HotkeyService>(*fixture_->platform.eventTaps,
                                                               *fixture_->platform.accessibility));
        service.requestAccessibility();
        QCOMPARE(asked, QStringList({"prompt", "settings"}));
    }

    void withoutShortcutsTheTapStops()
    {
        fixture_->makeService();
        fixture_->settings.setInstructionShortcuts({});
        service().registerHotkeys();
        QVERIFY(!service().hotkeyRegistered());
        QVERIFY(!service().lastError());
        QVERIFY(tap().invalidated);
    }

    void withoutShortcutsNothingHasFailed()
    {
        fixture_->platform.eventTaps->refuses = true;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("FAILED to create")));
        fixture_->makeService();
        QVERIFY(service().lastError());
        fixture_->settings.setInstructionShortcuts({});
        service().registerHotkeys();
        QVERIFY(!service().lastError());
    }

    void aShortcutRunsTheActionItWasRegisteredFor()
    {
        fixture_->makeService();
        const auto shortcut = service().hotkeyService().registrations().front().handler;
        fixture_->settings.setInstructionShortcuts({});
        service().registerHotkeys();
        shortcut();
        QCOMPARE(fixture_->shownTitle(), QStringLiteral("Autocorrect"));
        QTRY_VERIFY(!service().isProcessing());
        QVERIFY(fixture_->script->instructions.value(0).startsWith("Fix grammar"));
    }

    void aKeyCodeOutOfRangeIsIgnored()
    {
        fixture_->settings.addShortcut({QUuid::createUuid(), "Wide", "x", "plus", 70'000, 0x120000});
        fixture_->settings.addShortcut({QUuid::createUuid(), "Negative", "x", "plus", -1, 0x120000});
        fixture_->settings.addShortcut({QUuid::createUuid(), "Half", "x", "plus", 3, std::nullopt});
        const QRegularExpression ignoring(QStringLiteral("Ignoring a writing action's shortcut"));
        QTest::ignoreMessage(QtWarningMsg, ignoring);
        QTest::ignoreMessage(QtWarningMsg, ignoring);
        fixture_->makeService();
        QCOMPARE(tap().interest, std::vector<KeyCombination>({{15, 0x120000}}));
    }

    void aShortcutWithoutAModifierIsIgnored()
    {
        fixture_->settings.addShortcut({QUuid::createUuid(), "Bare", "x", "plus", 16, 0});
        fixture_->settings.addShortcut({QUuid::createUuid(), "Caps", "x", "plus", 17, 0x10000});
        const QRegularExpression ignoring(
            QStringLiteral("Ignoring a writing action's shortcut: it has no modifier"));
        QTest::ignoreMessage(QtWarningMsg, ignoring);
        QTest::ignoreMessage(QtWarningMsg, ignoring);
        fixture_->makeService();
        QCOMPARE(tap().interest, std::vector<KeyCombination>({{15, 0x120000}}));
    }

    void aTakenShortcutIsReported()
    {
        fixture_->settings.addShortcut({QUuid::createUuid(), "Other", "x", "plus", 16, 0x120000});
        fixture_->platform.eventTaps->refusedCombinations = {{15, 0x120000}};
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Another program owns")));
        fixture_->makeService();
        QVERIFY(service().hotkeyRegistered());
        QCOMPARE(service().refusedShortcuts(), std::vector<KeyCombination>({{15, 0x120000}}));
    }

    void shortcutsThatAreAllTakenAreHadOnceTheyAreFree()
    {
        fixture_->platform.eventTaps->refusedCombinations = {{15, 0x120000}};
        QTest::ignoreMessage(QtWarningMsg, "Every shortcut belongs to another program");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Another program owns")));
        fixture_->makeService();
        QVERIFY(!service().hotkeyRegistered());
        QCOMPARE(service().lastError(),
                 std::optional(QStringLiteral("Other programs already use your shortcuts. Choose different "
                                              "ones in Writing actions.")));
        QCOMPARE(service().refusedShortcuts().size(), 1U);
        QSignalSpy registered(&service(), &RewriteService::shortcutsRegistered);
        tap().refused.clear();
        QTRY_VERIFY_WITH_TIMEOUT(service().hotkeyRegistered(), 4000); // the monitor looks every two seconds
        QVERIFY(!service().lastError());
        QVERIFY(service().refusedShortcuts().empty());
        QCOMPARE(registered.size(), 1);
    }

    void aShortcutLostWhileItRunsIsReported()
    {
        fixture_->makeService();
        QSignalSpy registered(&service(), &RewriteService::shortcutsRegistered);
        tap().refused = {{15, 0x120000}};
        QTest::ignoreMessage(QtCriticalMsg, "Event tap was disabled by timeout, re-enabling");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Another program owns")));
        KeyEvent event;
        event.type = KeyEvent::Type::TapDisabledByUserInput;
        fixture_->platform.eventTaps->deliver(event);
        QTRY_VERIFY_WITH_TIMEOUT(!service().hotkeyRegistered(), 4000);
        QCOMPARE(registered.size(), 1);
        QCOMPARE(service().refusedShortcuts().size(), 1U);
        QVERIFY(service().lastError());
    }

    void theLastExternalApplicationIsNeverThisOne()
    {
        fixture_->makeService();
        QCOMPARE(service().lastExternalApplication()->processIdentifier, fixture_->editor.processIdentifier);
        RunningApplication self;
        self.processIdentifier = QCoreApplication::applicationPid();
        fixture_->platform.workspace->bringToFront(self);
        QCOMPARE(service().lastExternalApplication()->processIdentifier, fixture_->editor.processIdentifier);
        fixture_->platform.workspace->bringToFront(fixture_->browser);
        QCOMPARE(service().lastExternalApplication()->processIdentifier, fixture_->browser.processIdentifier);
    }

    void thisApplicationInFrontAtTheStartIsNoOther()
    {
        fixture_->platform.workspace->frontmost->processIdentifier = QCoreApplication::applicationPid();
        fixture_->makeService();
        QVERIFY(!service().lastExternalApplication());
    }

    void withoutSettingsNothingIsRegistered()
    {
        auto hotkeys =
            std::make_unique<HotkeyService>(*fixture_->platform.eventTaps, *fixture_->platform.accessibility);
        RewriteService bare(true, fixture_->environment(), std::move(hotkeys));
        QVERIFY(bare.hasAccessibility());
        QVERIFY(!bare.hotkeyRegistered());
        test::runTask(bare.performRewrite(std::nullopt, QStringLiteral("x")));
        QCOMPARE(fixture_->shownTitle(), QStringLiteral("Connect your AI"));
    }

    void destructionStopsTheTap()
    {
        fixture_->makeService();
        const auto record = fixture_->platform.eventTaps->taps.back();
        fixture_->service.reset();
        QVERIFY(record->invalidated);
    }

private:
    RewriteService& service() { return *fixture_->service; }
    test::FakeTapRecord& tap() { return *fixture_->platform.eventTaps->taps.back(); }

    std::unique_ptr<RewriteFixture> fixture_;
};

QTEST_MAIN(tst_RewriteServiceState)
#include "tst_RewriteServiceState.moc"
