#include "rewrite/HotkeyService.h"
#include "support/FakePlatform.h"

#include <QRegularExpression>
#include <QTest>

using namespace quillmarsh;

namespace {

constexpr quint64 shiftCommand = 0x120000;
constexpr quint64 capsLock = 0x10000;

/// Makes taps that count what each question about them would cost a trip to another thread for.
struct CountingTaps final : EventTapSource
{
    struct Tap final : EventTap
    {
        explicit Tap(CountingTaps& counts) : counts_(counts) {}

        void setInterest(std::vector<KeyCombination>) override { ++counts_.interests; }
        [[nodiscard]] std::vector<KeyCombination> refused() const override
        {
            ++counts_.asked;
            return counts_.refused;
        }
        void setEnabled(bool) override {}
        void invalidate() override {}

    private:
        CountingTaps& counts_;
    };

    [[nodiscard]] std::unique_ptr<EventTap> create(EventTap::Callback) override
    {
        return std::make_unique<Tap>(*this);
    }

    std::vector<KeyCombination> refused;
    int asked = 0;
    int interests = 0;
};

} // namespace

class tst_HotkeyService final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        accessibility_ = std::make_unique<test::FakeAccessibility>();
        taps_ = std::make_unique<test::FakeEventTapSource>();
        service_ = std::make_unique<HotkeyService>(*taps_, *accessibility_);
        fired_.clear();
    }

    void aMatchIsSwallowedAndItsHandlerQueued()
    {
        start({registration(15, shiftCommand, "first")});
        QCOMPARE(service_->handleEvent(press(15, shiftCommand | capsLock)), TapVerdict::Swallow);
        QVERIFY(fired_.isEmpty());
        QTRY_COMPARE(fired_, QStringList("first"));
    }

    void whatDoesNotMatchPasses()
    {
        start({registration(15, shiftCommand, "first")});
        QCOMPARE(service_->handleEvent(press(15, 0x1A0000)), TapVerdict::Pass); // Shift-Option-Command
        QCOMPARE(service_->handleEvent(press(15, 0x100000)), TapVerdict::Pass);
        QCOMPARE(service_->handleEvent(press(14, shiftCommand)), TapVerdict::Pass);
        QCoreApplication::processEvents();
        QVERIFY(fired_.isEmpty());
    }

    void aHeldShortcutFiresOnce()
    {
        start({registration(15, shiftCommand, "first")});
        KeyEvent event = press(15, shiftCommand);
        std::ignore = service_->handleEvent(event);
        event.isAutorepeat = true;
        for (int repeat = 0; repeat < 5; ++repeat)
            QCOMPARE(service_->handleEvent(event), TapVerdict::Swallow);
        QCoreApplication::processEvents();
        QCOMPARE(fired_, QStringList("first"));
    }

    void theFirstOfTwoEqualRegistrationsRuns()
    {
        start({registration(15, shiftCommand, "first"), registration(15, shiftCommand, "second")});
        std::ignore = service_->handleEvent(press(15, shiftCommand));
        QCoreApplication::processEvents();
        QCOMPARE(fired_, QStringList("first"));
        QCOMPARE(taps_->taps.back()->interest.size(), 1u);
    }

    void startTwiceMakesOneTap()
    {
        start({registration(15, shiftCommand, "first")});
        QVERIFY(service_->start());
        QCOMPARE(taps_->taps.size(), 1u);
        QVERIFY(taps_->taps.back()->enabled);
    }

    void startFails_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<bool>("refuses");
        QTest::newRow("not trusted") << false << false;
        QTest::newRow("no tap") << true << true;
    }

    void startFails()
    {
        QFETCH(bool, trusted);
        QFETCH(bool, refuses);
        accessibility_->trusted = trusted;
        taps_->refuses = refuses;
        if (refuses)
            QTest::ignoreMessage(QtWarningMsg, "FAILED to create CGEvent tap. Accessibility=1");
        QVERIFY(!service_->start());
        service_->stop();
    }

    void theLogTellsWhatTheTapDoes()
    {
        service_->setRegistrations(
            {registration(15, shiftCommand, "first"), registration(16, shiftCommand, "other")});
        QTest::ignoreMessage(QtInfoMsg, "AXIsProcessTrusted = 1");
        QTest::ignoreMessage(QtInfoMsg, "Event tap started with 2 registration(s)");
        QVERIFY(service_->start());
        QTest::ignoreMessage(QtInfoMsg, "Hotkey matched! keyCode=15");
        std::ignore = service_->handleEvent(press(15, shiftCommand));
        QTest::ignoreMessage(QtInfoMsg, "Event tap stopped");
        service_->stop();
    }

    void withoutTrustNothingIsLogged()
    {
        static int lines = 0;
        accessibility_->trusted = false;
        const auto previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++lines; });
        const bool started = service_->start();
        qInstallMessageHandler(previous);
        QVERIFY(!started);
        QCOMPARE(lines, 0);
    }

    void startFailsOnlyWhenEveryShortcutIsTaken()
    {
        taps_->refusedCombinations = {{15, shiftCommand}};
        service_->setRegistrations(
            {registration(15, shiftCommand, "a"), registration(16, shiftCommand, "b")});
        QVERIFY(service_->start());
        QCOMPARE(service_->refused().size(), 1u);
        service_->stop();
        service_->setRegistrations(
            {registration(15, shiftCommand, "a"), registration(15, shiftCommand, "b")});
        QTest::ignoreMessage(QtWarningMsg, "Every shortcut belongs to another program");
        QVERIFY(!service_->start());
        QCOMPARE(service_->refused(), std::vector<KeyCombination>({{15, shiftCommand}}));
    }

    void refusalsAreAskedForOnlyWhenSomeWereFound()
    {
        CountingTaps taps;
        HotkeyService service(taps, *accessibility_);
        service.setRegistrations({registration(15, shiftCommand, "a"), registration(16, shiftCommand, "b")});
        QVERIFY(service.start());
        const int asked = taps.asked;
        service.retryRefused();
        QVERIFY(service.refused().empty());
        QCOMPARE(taps.asked, asked);
        taps.refused = {{15, shiftCommand}};
        service.setRegistrations(service.registrations());
        QCOMPARE(service.refused(), taps.refused);
        const int interests = taps.interests;
        service.retryRefused();
        QCOMPARE(taps.interests, interests + 1);
        taps.refused.clear();
        service.retryRefused();
        QVERIFY(service.refused().empty());
        service.retryRefused();
        QCOMPARE(taps.interests, interests + 2);
    }

    void aTapThatIsTurnedOnAgainKnowsWhatItLost()
    {
        start({registration(15, shiftCommand, "first")});
        taps_->taps.back()->refused = {{15, shiftCommand}};
        QTest::ignoreMessage(QtCriticalMsg, "Event tap was disabled by timeout, re-enabling");
        KeyEvent event;
        event.type = KeyEvent::Type::TapDisabledByUserInput;
        std::ignore = service_->handleEvent(event);
        QCOMPARE(service_->refused().size(), 1U);
        QVERIFY(!service_->start());
        taps_->taps.back()->refused.clear();
        service_->retryRefused();
        QVERIFY(service_->start());
        QCOMPARE(taps_->taps.size(), 1U);
    }

    void stopGivesTheTapBack()
    {
        start({registration(15, shiftCommand, "first")});
        const auto record = taps_->taps.back();
        service_->stop();
        QVERIFY(record->invalidated);
        QVERIFY(!record->enabled);
        service_->stop();
        QVERIFY(service_->start());
        const auto second = taps_->taps.back();
        service_.reset();
        QVERIFY(second->invalidated);
    }

    void newRegistrationsTakeEffectWhileRunning()
    {
        start({registration(15, shiftCommand, "first")});
        service_->setRegistrations({registration(16, shiftCommand, "other")});
        QCOMPARE(taps_->taps.size(), 1u);
        QCOMPARE(taps_->press(15, shiftCommand), TapVerdict::Pass);
        QCOMPARE(taps_->press(16, shiftCommand), TapVerdict::Swallow);
        QTRY_COMPARE(fired_, QStringList("other"));
    }

    void theDemoGetsControlR()
    {
        start({registration(15, 0x40000, "control"), registration(15, shiftCommand, "first")});
        service_->setDemoFocused(true);
        QCOMPARE(service_->handleEvent(press(15, 0x40000 | capsLock)), TapVerdict::Pass);
        QCOMPARE(taps_->press(15, 0x40000), TapVerdict::Pass);
        QCOMPARE(taps_->press(15, shiftCommand), TapVerdict::Swallow);
        service_->setDemoFocused(false);
        QCOMPARE(taps_->press(15, 0x40000), TapVerdict::Swallow);
    }

    void aDisabledTapIsTurnedOnAgain_data()
    {
        QTest::addColumn<quint32>("type");
        QTest::newRow("timeout") << 0xFFFFFFFEu;
        QTest::newRow("user input") << 0xFFFFFFFFu;
    }

    void aDisabledTapIsTurnedOnAgain()
    {
        QFETCH(quint32, type);
        start({registration(15, shiftCommand, "first")});
        taps_->taps.back()->enabled = false;
        KeyEvent event;
        event.type = static_cast<KeyEvent::Type>(type);
        QTest::ignoreMessage(QtCriticalMsg, "Event tap was disabled by timeout, re-enabling");
        QCOMPARE(service_->handleEvent(event), TapVerdict::Pass);
        QVERIFY(taps_->taps.back()->enabled);
        taps_->taps.back()->enabled = false;
        accessibility_->trusted = false;
        QTest::ignoreMessage(QtCriticalMsg, "Event tap was disabled by timeout, re-enabling");
        std::ignore = service_->handleEvent(event);
        QVERIFY(!taps_->taps.back()->enabled);
        accessibility_->trusted = true;
        QVERIFY(service_->start());
        QVERIFY(taps_->taps.back()->enabled);
    }

private:
    static KeyEvent press(quint16 keyCode, quint64 flags)
    {
        return {KeyEvent::Type::KeyDown, keyCode, flags, false};
    }

    Registration registration(quint16 keyCode, quint64 modifiers, const QString& name)
    {
        return {keyCode, modifiers, [this, name] { fired_ << name; }};
    }

    void start(std::vector<Registration> registrations)
    {
        service_->setRegistrations(std::move(registrations));
        QVERIFY(service_->start());
    }

    std::unique_ptr<test::FakeAccessibility> accessibility_;
    std::unique_ptr<test::FakeEventTapSource> taps_;
    std::unique_ptr<HotkeyService> service_;
    QStringList fired_;
};

QTEST_GUILESS_MAIN(tst_HotkeyService)
#include "tst_HotkeyService.moc"
