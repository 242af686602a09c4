#include "overlay/ManualClock.h"
#include "overlay/RewriteOverlayController.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"
#include "support/FakeRewritePanel.h"
#include "support/Shortest.h"

#include <QElapsedTimer>
#include <QTest>

using namespace quillmarsh;
using namespace std::chrono_literals;
using Phase = RewriteOverlayState::Phase;

namespace {

RunningApplication editor()
{
    RunningApplication application;
    application.processIdentifier = 42;
    application.localizedName = QStringLiteral("Editor");
    return application;
}

/// A controller with everything around it replaced: one screen of 1920 × 1080 with a bar of 40 at its bottom.
struct Stage
{
    test::FakePanelWindow panelWindow;
    test::FakeDesktopAppearance appearance;
    test::FakePanelRecord panel;
    test::ManualClock clock;
    std::vector<OverlayScreen> screens{{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}}};
    int cancels = 0;
    std::unique_ptr<RewriteOverlayController> controller = make();

    std::unique_ptr<RewriteOverlayController> make()
    {
        panelWindow.mouse = {5, 5};
        RewriteOverlayOptions options;
        options.panels = test::fakeRewritePanels(panel);
        options.screens = [this] { return screens; };
        options.sleep = [this](std::chrono::nanoseconds duration, std::stop_token stop) {
            return clock.sleep(duration, std::move(stop));
        };
        return std::make_unique<RewriteOverlayController>(panelWindow, appearance, std::move(options));
    }

    RewriteOverlayController& operator()() { return *controller; }
    const RewriteOverlayState& state() { return controller->state(); }
    void show(bool animated = false)
    {
        controller->show(editor(), QStringLiteral("Fix"), animated, [this] { ++cancels; });
    }
    void succeed() { controller->finish(QStringLiteral("Text rewritten"), QStringLiteral("Editor"), false); }
    void fail() { controller->finish(QStringLiteral("Couldn’t rewrite"), QStringLiteral("No answer"), true); }
    const PanelTransition& lastTransition() { return panel.transitions.back(); }
    void completeLast() { panel.completions.back()(); }
};

QList<QPointF> spline(QPointF first, QPointF second)
{
    return {first, second, {1, 1}};
}

const QList<QPointF> fastOut = spline({0.23, 1.0}, {0.32, 1.0});
const QList<QPointF> easeInOut = spline({0.77, 0.0}, {0.175, 1.0});

} // namespace

class tst_RewriteOverlayController final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void showStartsAWorkingPresentation()
    {
        Stage stage;
        QVERIFY(stage().presentationID().isNull());
        stage.show();
        QCOMPARE(stage.state().phase(), Phase::Working);
        QCOMPARE(stage.state().title(), QStringLiteral("Fix"));
        QCOMPARE(stage.state().detail(), QStringLiteral("Editor"));
        QVERIFY(stage.state().isVisible());
        QVERIFY(!stage.state().actionTitle());
        QVERIFY(!stage.state().animatesPhaseChanges());
        QVERIFY(!stage().presentationID().isNull());
        QVERIFY(!stage().dismissalDelay());
        stage().state().dismiss();
        QCOMPARE(stage.cancels, 1);
        QVERIFY(stage.panel.visible);
        QCOMPARE(stage.clock.waits.size(), std::size_t(0));
    }

    void withoutANameTheDetailIsSelectedText()
    {
        Stage stage;
        stage().show({}, QStringLiteral("Fix"), false, {});
        QCOMPARE(stage.state().detail(), QStringLiteral("Selected text"));
        stage.show();
        stage().show(RunningApplication(), QStringLiteral("Fix"), false, {});
        QCOMPARE(stage.state().detail(), QStringLiteral("Selected text"));
    }

    void thePanelIsCreatedOnceAndLazily()
    {
        Stage stage;
        QCOMPARE(stage.panel.created, 0);
        stage.show();
        stage().hide(false);
        stage.show();
        QCOMPARE(stage.panel.created, 1);
        QCOMPARE(stage.panel.fronted, 2);
    }

    void preparingCreatesItHidden()
    {
        Stage stage;
        stage().prepare();
        stage().prepare();
        QCOMPARE(stage.panel.created, 1);
        QVERIFY(!stage.panel.visible);
        stage.show();
        QCOMPARE(stage.panel.created, 1);
    }

    void everyShowHasItsOwnIdentity()
    {
        Stage stage;
        stage.show();
        const QUuid first = stage().presentationID();
        stage.succeed();
        QCOMPARE(stage().presentationID(), first);
        stage().hide(true);
        QCOMPARE(stage().presentationID(), first);
        stage.show();
        QVERIFY(stage().presentationID() != first);
    }

    // Geometry

    void standsAboveTheBottomOfTheFreeArea()
    {
        Stage stage;
        stage.show();
        QCOMPARE(stage().anchor(), QPointF(960, 1026));
        QCOMPARE(stage.panel.frame, QRectF(920, 966, 80, 60));
    }

    void anOddWidthIsNotRounded()
    {
        Stage stage;
        stage.screens = {{{0, 0, 1367, 768}, {0, 30, 1367, 738}}};
        stage.show();
        QCOMPARE(stage().anchor(), QPointF(683.5, 754));
        QCOMPARE(stage.panel.frame, QRectF(643.5, 694, 80, 60));
    }

    void appearsOnTheScreenUnderThePointer_data()
    {
        QTest::addColumn<QPoint>("mouse");
        QTest::addColumn<QPointF>("anchor");
        QTest::newRow("main") << QPoint(10, 10) << QPointF(960, 1026);
        QTest::newRow("left of it, at negative coordinates") << QPoint(-1, -100) << QPointF(-640, 786);
        QTest::newRow("the far corner of the left one") << QPoint(-1280, -200) << QPointF(-640, 786);
        QTest::newRow("the first pixel of the main one") << QPoint(0, 0) << QPointF(960, 1026);
        QTest::newRow("nowhere") << QPoint(5000, 5000) << QPointF(960, 1026);
        QTest::newRow("just right of the main one") << QPoint(1920, 10) << QPointF(960, 1026);
    }
    void appearsOnTheScreenUnderThePointer()
    {
        QFETCH(QPoint, mouse);
        QFETCH(QPointF, anchor);
        Stage stage;
        stage.screens.push_back({{-1280, -200, 1280, 1024}, {-1280, -200, 1280, 1000}});
        stage.panelWindow.mouse = mouse;
        stage.show();
        QCOMPARE(stage().anchor(), anchor);
        QCOMPARE(stage.panel.frame.bottom(), anchor.y());
        QCOMPARE(stage.panel.frame.center().x(), anchor.x());
    }

    void withoutAScreenItStandsOnAnImaginedOne()
    {
        Stage stage;
        stage.screens.clear();
        stage.show();
        QCOMPARE(stage().anchor(), QPointF(720, 886));
    }

    void theOutcomeGrowsAboutTheBottomCentre()
    {
        Stage stage;
        stage.screens.push_back({{1920, 0, 1280, 1024}, {1920, 0, 1280, 1000}});
        stage.show();
        stage.panelWindow.mouse = {2500, 5}; // on the other screen, which has no say any more
        stage.fail();
        QCOMPARE(stage.panel.frame, QRectF(788, 922, 344, 104));
        stage().finish(QStringLiteral("Connect your AI"), {}, true, QStringLiteral("Settings"), [] {});
        QCOMPARE(stage.panel.frame, QRectF(788, 898, 344, 128));
        stage().finish(QString(200, QLatin1Char('W')), {}, false);
        QCOMPARE(stage.panel.frame, QRectF(828, 970, 264, 56));
    }

    // Motion

    void anUnanimatedShowIsThereAtOnce()
    {
        Stage stage;
        stage.show(false);
        QCOMPARE(stage.panel.placements.size(), std::size_t(1));
        QCOMPARE(stage.lastTransition().duration, 0ms);
        QCOMPARE(stage.panel.opacity, 1.0);
    }

    void anAnimatedShowFadesIn()
    {
        Stage stage;
        stage.show(true);
        const PanelTransition transition = stage.lastTransition();
        QCOMPARE(transition.duration, 180ms);
        QCOMPARE(transition.curve.toCubicSpline(), fastOut);
        QCOMPARE(transition.frame, std::optional(QRectF(920, 966, 80, 60)));
        QCOMPARE(transition.opacity, std::optional(1.0));
        QCOMPARE(stage.panel.placements.size(), std::size_t(1));
        QCOMPARE(stage.panel.opacities, std::vector<qreal>{0.0});
    }

    void aVisiblePanelSlides()
    {
        Stage stage;
        stage.show(true);
        stage.fail();
        stage.panel.placements.clear();
        stage.screens[0] = {{0, 0, 800, 600}, {0, 0, 800, 600}};
        stage.show(true);
        QCOMPARE(stage.panel.placements.size(), std::size_t(0));
        QCOMPARE(stage.lastTransition().duration, 180ms);
        QCOMPARE(*stage.lastTransition().frame, QRectF(360, 526, 80, 60));
        QCOMPARE(stage.state().phase(), Phase::Working);
        QVERIFY(!stage.state().animatesPhaseChanges());
    }

    void theOutcomeMovesTheFrameAlone()
    {
        Stage stage;
        stage.show();
        stage.succeed();
        const PanelTransition transition = stage.lastTransition();
        QCOMPARE(transition.duration, 180ms);
        QCOMPARE(transition.curve.toCubicSpline(), easeInOut);
        QVERIFY(transition.frame && !transition.opacity);
    }

    void hidingFadesAndThenOrdersOut()
    {
        Stage stage;
        stage.show();
        stage().hide(true);
        const PanelTransition transition = stage.lastTransition();
        QCOMPARE(transition.duration, 120ms);
        QCOMPARE(transition.curve.toCubicSpline(), fastOut);
        QVERIFY(!transition.frame && transition.opacity == 0.0);
        QVERIFY(!stage.state().isVisible());
        QVERIFY(stage.panel.visible);
        stage.completeLast();
        QVERIFY(!stage.panel.visible);
    }

    void hidingUnanimatedIsImmediate()
    {
        Stage stage;
        stage.show();
        const std::size_t before = stage.panel.transitions.size();
        stage().hide(false);
        QVERIFY(!stage.panel.visible);
        QCOMPARE(stage.panel.opacity, 0.0);
        QCOMPARE(stage.panel.transitions.size(), before);
    }

    void reducedMotionLeavesNoAnimation()
    {
        Stage stage;
        stage.appearance.setReduceMotion(true);
        stage.show(true);
        QCOMPARE(stage.lastTransition().duration, 0ms);
        QCOMPARE(stage.panel.opacity, 1.0);
        stage.succeed();
        QCOMPARE(stage.lastTransition().duration, 0ms);
        const std::size_t before = stage.panel.transitions.size();
        stage().hide(true);
        QVERIFY(!stage.panel.visible);
        QCOMPARE(stage.panel.transitions.size(), before);
    }

    void reducedMotionMayBeSwitchedBetweenTwoSteps()
    {
        Stage stage;
        stage.show(true);
        stage.appearance.setReduceMotion(true);
        stage.fail();
        QCOMPARE(stage.lastTransition().duration, 0ms);
    }

    // Identity

    void aShowDuringTheFadeKeepsThePanel()
    {
        Stage stage;
        stage.show();
        stage().hide(true);
        const auto faded = stage.panel.completions.back();
        stage.show(true);
        faded();
        QVERIFY(stage.panel.visible);
        QCOMPARE(stage.panel.orderedOut, 0);
        QCOMPARE(stage.panel.opacity, 1.0);
    }

    void anErrorsTimerDoesNotCloseTheNextPresentation()
    {
        Stage stage;
        stage.show();
        stage.fail();
        QCOMPARE(stage.clock.waits.size(), std::size_t(1));
        stage.show();
        QVERIFY(stage.clock.waits[0].stop.stop_requested());
        QVERIFY(!stage().dismissalDelay());
        stage.clock.elapse(0);
        QVERIFY(stage.state().isVisible());
        QVERIFY(stage.panel.visible);
    }

    // Outcomes

    void finishTellsThatItsChangeOfPhaseIsToBeAnimated()
    {
        Stage stage;
        stage.show();
        std::vector<bool> animated;
        connect(&stage().state(), &RewriteOverlayState::phaseChanged,
                [&] { animated.push_back(stage.state().animatesPhaseChanges()); });
        stage.succeed();
        stage.show();
        QCOMPARE(animated, (std::vector<bool>{true, false}));
    }

    void successStaysFor1300Milliseconds()
    {
        Stage stage;
        stage.show();
        stage.succeed();
        QCOMPARE(stage.state().phase(), Phase::Success);
        QCOMPARE(stage.state().title(), QStringLiteral("Text rewritten"));
        QCOMPARE(stage.state().detail(), QStringLiteral("Editor"));
        QCOMPARE(stage().dismissalDelay(), std::optional<quint64>(1'300'000'000));
        QCOMPARE(stage.clock.waits.back().duration, 1'300'000'000ns);
        stage.clock.elapseLast();
        QVERIFY(!stage.state().isVisible());
        QVERIFY(!stage().dismissalDelay());
        QCOMPARE(stage.lastTransition().duration, 120ms);
        stage.completeLast();
        QVERIFY(!stage.panel.visible);
    }

    void anErrorStaysFor8Seconds()
    {
        Stage stage;
        stage.show();
        int actions = 0;
        stage().finish(QStringLiteral("Connect your AI"), QStringLiteral("Add a key."), true,
                       QStringLiteral("Settings"), [&] { ++actions; });
        QCOMPARE(stage.state().phase(), Phase::Error);
        QCOMPARE(stage.state().actionTitle(), std::optional(QStringLiteral("Settings")));
        QCOMPARE(stage().dismissalDelay(), std::optional<quint64>(8'000'000'000));
        QCOMPARE(stage.clock.waits.back().duration, 8s);
        stage().state().action();
        QCOMPARE(actions, 1);
    }

    void theDismissControlHidesAnOutcome()
    {
        Stage stage;
        stage.show();
        stage.fail();
        stage().state().dismiss();
        QCOMPARE(stage.cancels, 0);
        QVERIFY(!stage.state().isVisible());
        QVERIFY(!stage().dismissalDelay());
        QCOMPARE(stage.clock.running(), std::size_t(0));
    }

    void aNewPresentationForgetsTheOldAction()
    {
        Stage stage;
        stage.show();
        int actions = 0;
        stage().finish({}, {}, true, QStringLiteral("Settings"), [&] { ++actions; });
        stage.show();
        QVERIFY(!stage.state().actionTitle());
        stage().state().action();
        QCOMPARE(actions, 0);
    }

    void anOutcomeWithoutAPresentationNeedsNoPanel()
    {
        Stage stage;
        stage().hide(true);
        stage.succeed();
        QCOMPARE(stage.panel.created, 0);
        stage.clock.elapseLast();
        QVERIFY(!stage.state().isVisible());
    }

    // Hovering

    void aPointerThatRestsThereHoldsAQuickSuccess()
    {
        Stage stage;
        stage.panelWindow.mouse = {960, 1000};
        stage.show();
        QVERIFY(stage().isHovered());
        stage.succeed();
        QCOMPARE(stage().dismissalDelay(), std::optional<quint64>(1'300'000'000));
        QCOMPARE(stage.clock.waits.size(), std::size_t(0));
        stage().state().hoverChanged(false);
        QCOMPARE(stage.clock.waits.size(), std::size_t(1));
        QCOMPARE(stage.clock.waits.back().duration, 1'300'000'000ns);
        stage.clock.elapseLast();
        QVERIFY(!stage.state().isVisible());
    }

    void thePanelsEdges_data()
    {
        QTest::addColumn<QPoint>("mouse");
        QTest::addColumn<bool>("inside");
        QTest::newRow("top left") << QPoint(920, 966) << true;
        QTest::newRow("bottom right") << QPoint(999, 1025) << true;
        QTest::newRow("right of it") << QPoint(1000, 1000) << false;
        QTest::newRow("below it") << QPoint(960, 1026) << false;
        QTest::newRow("left of it") << QPoint(919, 1000) << false;
        QTest::newRow("above it") << QPoint(960, 965) << false;
    }
    void thePanelsEdges()
    {
        QFETCH(QPoint, mouse);
        QFETCH(bool, inside);
        Stage stage;
        stage.panelWindow.mouse = mouse;
        stage.show();
        QCOMPARE(stage().isHovered(), inside);
    }

    void leavingStartsTheWholeDelayAgain()
    {
        Stage stage;
        stage.show();
        stage.fail();
        stage().state().hoverChanged(true);
        QVERIFY(stage().isHovered());
        QCOMPARE(stage.clock.running(), std::size_t(0));
        stage.clock.elapse(0);
        QVERIFY(stage.state().isVisible());
        stage().state().hoverChanged(false);
        QCOMPARE(stage.clock.running(), std::size_t(1));
        QCOMPARE(stage.clock.waits.back().duration, 8s);
    }

    void hoveringWhileWorkingStartsNoTimer()
    {
        Stage stage;
        stage.show();
        stage().state().hoverChanged(true);
        stage().state().hoverChanged(false);
        QCOMPARE(stage.clock.waits.size(), std::size_t(0));
    }

    void hoveringAfterHidingStartsNoTimer()
    {
        Stage stage;
        stage.show();
        stage.succeed();
        stage().hide(true);
        stage().state().hoverChanged(false);
        QCOMPARE(stage.clock.running(), std::size_t(0));
    }

    void eachShowAsksThePointerAgain()
    {
        Stage stage;
        stage.panelWindow.mouse = {960, 1000};
        stage.show();
        stage.panelWindow.mouse = {5, 5};
        stage.show();
        QVERIFY(!stage().isHovered());
    }

    // Preview

    void thePreviewPlaysAWholeRewrite()
    {
        Stage stage;
        stage().preview();
        QCOMPARE(stage.state().phase(), Phase::Working);
        QCOMPARE(stage.state().title(), QStringLiteral("Rewriting"));
        QCOMPARE(stage.state().detail(), QStringLiteral("Selected text"));
        QCOMPARE(stage.lastTransition().duration, 180ms);
        QVERIFY(!stage().dismissalDelay());
        QCOMPARE(stage.clock.waits.back().duration, 3s);
        stage.clock.elapseLast();
        QCOMPARE(stage.state().phase(), Phase::Success);
        QCOMPARE(stage.state().title(), QStringLiteral("Text rewritten"));
        QCOMPARE(stage.state().detail(), QString());
        QVERIFY(!stage.state().actionTitle());
        QCOMPARE(stage().dismissalDelay(), std::optional<quint64>(1'300'000'000));
        stage.clock.elapseLast();
        QVERIFY(!stage.state().isVisible());
    }

    void aCancelledPreviewNeverFinishes()
    {
        Stage stage;
        stage().preview();
        stage().state().dismiss();
        QVERIFY(!stage.state().isVisible());
        stage.clock.elapseLast();
        QCOMPARE(stage.state().phase(), Phase::Working);
        QVERIFY(!stage.state().isVisible());
    }

    void aRewriteEndsThePreview()
    {
        Stage stage;
        stage().preview();
        stage.show();
        stage.clock.elapseLast();
        QCOMPARE(stage.state().phase(), Phase::Working);
        QCOMPARE(stage.state().title(), QStringLiteral("Fix"));
    }

    // Life

    void nothingHoldsTheController()
    {
        Stage stage;
        stage.show();
        stage.fail();
        stage().hide(true);
        const auto faded = stage.panel.completions.back();
        stage.show();
        stage.succeed();
        const QPointer<RewriteOverlayController> alive(stage.controller.get());
        stage.controller.reset();
        QVERIFY(!alive);
        QCOMPARE(stage.clock.running(), std::size_t(0));
        faded();
        for (std::size_t i = 0; i < stage.clock.waits.size(); ++i)
            stage.clock.elapse(i);
    }

    void theRealClockHidesASuccessAfter1300Milliseconds()
    {
        test::FakePanelWindow panelWindow;
        test::FakeDesktopAppearance appearance;
        test::FakePanelRecord panel;
        RewriteOverlayOptions options;
        options.panels = test::fakeRewritePanels(panel);
        RewriteOverlayController controller(panelWindow, appearance, options);
        panelWindow.mouse = {-5000, -5000};
        VERIFY_TAKES_AT_MOST(1600, [&] {
            controller.show({}, QStringLiteral("Fix"), false, {});
            QElapsedTimer timer;
            timer.start();
            controller.finish(QStringLiteral("Text rewritten"), {}, false);
            QTRY_VERIFY_WITH_TIMEOUT(!controller.state().isVisible(), 5000);
            QVERIFY(timer.elapsed() >= 1300);
        });
    }
};

QTEST_MAIN(tst_RewriteOverlayController)
#include "tst_RewriteOverlayController.moc"
