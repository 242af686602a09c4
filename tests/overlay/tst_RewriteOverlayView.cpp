#include "overlay/QuickRewritePanel.h"
#include "overlay/RewriteOverlayController.h"
#include "overlay/ThinkingOrb.h"
#include "support/FakePlatform.h"

#include <QAccessible>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

using namespace quillmarsh;

namespace {

const QColor desk(0xc9, 0xd3, 0xdc);

/// A controller that shows the real panel on Qt's offscreen platform.
struct Stage
{
    test::FakePanelWindow panelWindow;
    test::FakeDesktopAppearance appearance;
    QuickRewritePanel* panel = nullptr;
    std::unique_ptr<RewriteOverlayController> controller;
    int cancels = 0;
    int actions = 0;

    Stage()
    {
        panelWindow.mouse = {-5000, -5000};
        RewriteOverlayOptions options;
        options.panels = [this](RewriteOverlayState& state) {
            auto made = std::make_unique<QuickRewritePanel>(state, panelWindow, appearance);
            panel = made.get();
            return made;
        };
        controller = std::make_unique<RewriteOverlayController>(panelWindow, appearance, std::move(options));
    }

    RewriteOverlayController& operator()() { return *controller; }
    QQuickView& window() { return panel->window(); }
    void show(const QString& title = QStringLiteral("Make formal"))
    {
        controller->show({}, title, false, [this] { ++cancels; });
        QVERIFY(QTest::qWaitForWindowExposed(&window()));
    }
    void succeed(const QString& title = QStringLiteral("Text rewritten"))
    {
        controller->finish(title, QStringLiteral("Editor"), false);
        settle();
    }
    void fail(const QString& title, const QString& detail, std::optional<QString> action = {})
    {
        controller->finish(title, detail, true, action, [this] { ++actions; });
        settle();
    }
    /// Waits until the panel has its size and the layouts have changed places, for longer than either lasts.
    void settle()
    {
        QTest::qWait(450);
        QTRY_VERIFY(isAtRest()); // a busy machine may have left out the last step so far
    }
    bool isAtRest()
    {
        const QQuickItem* surface = window().rootObject()->childItems().constLast();
        const auto isInPlace = [](const QQuickItem* layout) {
            return layout->opacity() == (layout->isEnabled() ? 1 : 0);
        };
        return window().size() == controller->state().windowSize().toSize() &&
               std::ranges::all_of(surface->childItems(), isInPlace);
    }
    /// A picture of the panel on a grey desk: the offscreen platform keeps no transparency.
    QImage grab(const QString& name)
    {
        const QColor own = window().color();
        if (panelWindow.isCompositing())
            window().setColor(desk);
        const QImage image = window().grabWindow();
        window().setColor(own);
        QDir().mkpath(QStringLiteral(PICTURES));
        image.save(QStringLiteral(PICTURES "/%1@%2x.png").arg(name).arg(window().devicePixelRatio()));
        return image;
    }
    void enter()
    {
        QEnterEvent event({40, 30}, {40, 30}, {40, 30});
        QCoreApplication::sendEvent(&window(), &event);
    }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QCoreApplication::sendEvent(&window(), &event);
    }
    void click(QPoint position) { QTest::mouseClick(&window(), Qt::LeftButton, {}, position); }
    /// The first visible item of a class, or with a text.
    QQuickItem* find(const std::function<bool(QQuickItem&)>& matches)
    {
        return find(*window().rootObject(), matches);
    }
    static QQuickItem* find(QQuickItem& root, const std::function<bool(QQuickItem&)>& matches)
    {
        if (!root.isVisible())
            return nullptr;
        if (matches(root))
            return &root;
        for (QQuickItem* child : root.childItems()) {
            if (QQuickItem* found = find(*child, matches))
                return found;
        }
        return nullptr;
    }
    QQuickItem* text(const QString& content)
    {
        return find([&](QQuickItem& item) {
            return item.property("truncated").isValid() && item.property("text").toString() == content;
        });
    }
    QQuickItem* control(const QString& label)
    {
        return find([&](QQuickItem& item) { return item.property("label").toString() == label; });
    }
    QPoint centreOf(QQuickItem* item)
    {
        return item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
    }
    ThinkingOrb* orb() { return window().rootObject()->findChild<ThinkingOrb*>(); }
};

/// What an orb paints, in its own pixels.
QImage paintedBy(ThinkingOrb& orb, qreal ratio)
{
    QImage image((orb.size() * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    orb.paint(&painter);
    return image;
}

/// The picture that belongs to a moment of the animation, of the size of `like`.
QImage orbAt(double time, const QImage& like)
{
    QImage image(like.size(), QImage::Format_ARGB32_Premultiplied);
    paintComposingOrb(image, time);
    return image;
}

int difference(const QImage& a, const QImage& b)
{
    int sum = 0;
    for (qsizetype i = 0; i < a.sizeInBytes(); ++i)
        sum += std::abs(a.constBits()[i] - b.constBits()[i]);
    return sum;
}

QString longWord()
{
    return QString(400, QLatin1Char('m'));
}

} // namespace

class tst_RewriteOverlayView final : public QObject
{
    Q_OBJECT

private slots:
    // The offscreen platform has neither opacity nor masks, and says so; everything else fails the test.
    void init()
    {
        QTest::failOnWarning(
            QRegularExpression(QStringLiteral("^(?!This plugin does not support setting window).*")));
    }

    void theWindowIsAPanelWithItsTitle()
    {
        Stage stage;
        stage().prepare();
        QCOMPARE(stage.window().title(), QStringLiteral("Quillmarsh panel"));
        QCOMPARE(stage.panelWindow.configured.size(), std::size_t(1));
        QVERIFY(!stage.window().isVisible());
        QVERIFY(!stage.orb()->isAnimating());
        QCOMPARE(stage.window().status(), QQuickView::Ready);
    }

    void working()
    {
        Stage stage;
        stage.show();
        QCOMPARE(stage.window().size(), QSize(80, 60));
        QTest::qWait(400);
        const QImage image = stage.grab(QStringLiteral("working"));
        QCOMPARE(stage.window().color(), QColor(Qt::transparent));
        QCOMPARE(image.pixelColor(0, 0), desk);
        QVERIFY(stage.orb()->isAnimating());
        const QImage later = stage.window().grabWindow();
        QTRY_VERIFY(stage.window().grabWindow() != later);
    }

    void workingShowsTheTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("truncated");
        QTest::newRow("short") << QStringLiteral("Formal") << false;
        QTest::newRow("default") << QStringLiteral("Autocorrect") << false;
        QTest::newRow("long") << QStringLiteral("Rewrite it as a sonnet") << true;
    }

    void workingShowsTheTitle()
    {
        QFETCH(QString, title);
        Stage stage;
        stage.show(title);
        QTest::qWait(400);
        stage.grab(QStringLiteral("working-") + QString::fromLatin1(QTest::currentDataTag()));
        const QQuickItem* shown = stage.text(title);
        QVERIFY(shown);
        QTEST(shown->property("truncated").toBool(), "truncated");
        const QRectF frame = shown->mapRectToScene(QRectF(0, 0, shown->width(), shown->height()));
        QVERIFY(QRectF(16, 12, 48, 36).contains(frame)); // clear of the surface's rounded ends
        QVERIFY(frame.top() >= stage.orb()->mapToScene({0, stage.orb()->height()}).y() - 2);
    }

    void theWholePillCancels()
    {
        Stage stage;
        stage.show();
        QVERIFY(stage.control(QStringLiteral("Cancel rewrite · press your shortcut again")));
        stage.click({40, 30});
        QCOMPARE(stage.cancels, 1);
        stage.click({3, 3});
        QCOMPARE(stage.cancels, 1);
    }

    void hoveringShowsThatAClickCancels()
    {
        Stage stage;
        stage.show();
        QTest::mouseMove(&stage.window(), {40, 30});
        QTest::qWait(250);
        QTRY_VERIFY(stage.orb()->opacity() < 0.5);
        stage.grab(QStringLiteral("working-hovered"));
    }

    void success()
    {
        Stage stage;
        stage.show();
        stage.succeed();
        QCOMPARE(stage.window().size(), stage().state().windowSize().toSize());
        QVERIFY(!stage.orb()->isAnimating());
        stage.grab(QStringLiteral("success"));
        QQuickItem* text = stage.text(QStringLiteral("Text rewritten"));
        QVERIFY(text);
        QVERIFY(!text->property("truncated").toBool());
        stage.click({60, 28});
        QVERIFY(!stage().state().isVisible());
    }

    void success_fits_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("truncated");
        QTest::newRow("short") << QStringLiteral("Done") << false;
        QTest::newRow("copied") << QStringLiteral("Copied to clipboard") << false;
        QTest::newRow("rtl") << QStringLiteral("הטקסט נכתב מחדש") << false;
        QTest::newRow("long-word") << longWord() << true;
        QTest::newRow("markup") << QStringLiteral("<b>bold</b> & <i>plain</i>") << false;
    }
    void success_fits()
    {
        QFETCH(QString, title);
        QFETCH(bool, truncated);
        Stage stage;
        stage.show();
        stage.succeed(title);
        stage.grab(QStringLiteral("success-%1").arg(QString::fromUtf8(QTest::currentDataTag())));
        QQuickItem* text = stage.text(title);
        QVERIFY(text);
        QCOMPARE(text->property("truncated").toBool(), truncated);
    }

    void error_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<bool>("button");
        const auto row = [](const char* name, const QString& title, const QString& detail, bool button) {
            QTest::newRow(name) << title << detail << button;
        };
        row("short", QStringLiteral("Select some text first"),
            QStringLiteral("Then press your shortcut again."), false);
        row("long", QStringLiteral("Couldn’t rewrite"),
            QStringLiteral(
                "The service is overloaded at the moment. Rate limits apply to your organisation; the "
                "next request is accepted in 20 seconds. See the status page for what happens."),
            false);
        row("button", QStringLiteral("Connect your AI"),
            QStringLiteral("Connect ChatGPT or add your own API key."), true);
        row("button-long", QStringLiteral("Allow Accessibility"),
            QStringLiteral("Enable Quillmarsh in System Settings → Privacy & Security → Accessibility."),
            true);
        row("rtl", QStringLiteral("לא ניתן לשכתב"),
            QStringLiteral("השירות אינו זמין כרגע. נסה שוב מאוחר יותר, או בדוק את החיבור שלך לרשת."), true);
        row("long-word", longWord(), longWord(), true);
        row("markup", QStringLiteral("<h1>Title</h1>"),
            QStringLiteral("<script>x</script> <img src='a'> &amp;"), false);
        row("lines", QStringLiteral("Two\nlines"), QStringLiteral("One\nTwo\nThree\nFour\nFive"), true);
        row("empty", QStringLiteral("Couldn’t rewrite"), QString(), false);
    }
    void error()
    {
        QFETCH(QString, title);
        QFETCH(QString, detail);
        QFETCH(bool, button);
        Stage stage;
        stage.show();
        stage.fail(title, detail, button ? std::optional(QStringLiteral("Settings")) : std::nullopt);
        QCOMPARE(stage.window().size(), QSize(344, button ? 128 : 104));
        stage.grab(QStringLiteral("error-%1").arg(QString::fromUtf8(QTest::currentDataTag())));
        const QRectF surface(12, 12, 320, button ? 104 : 80);
        QQuickItem* settings = stage.control(QStringLiteral("Settings"));
        QCOMPARE(settings != nullptr, button);
        for (QQuickItem* item : {stage.text(title), stage.text(detail), settings}) {
            if (item)
                QVERIFY(surface.contains(item->mapRectToScene(item->boundingRect())));
        }
        if (button && stage.text(detail))
            QVERIFY(!stage.text(detail)
                         ->mapRectToScene(stage.text(detail)->boundingRect())
                         .intersects(settings->mapRectToScene(settings->boundingRect())));
    }

    void aLongDetailIsScrolledThroughUnderThePointer()
    {
        Stage stage;
        stage.show();
        const QString detail =
            QStringLiteral("A sentence of a length that fills most of a line. ").repeated(12);
        stage.fail(QStringLiteral("Couldn’t rewrite"), detail);
        QQuickItem* text = stage.text(detail);
        QVERIFY(text->property("truncated").toBool());
        const QPointF atRest = text->mapToScene({0, 0});
        stage.enter();
        QVERIFY(!text->property("truncated").toBool());
        QWheelEvent wheel(QPointF(150, 60), QPointF(150, 60), {0, -40}, {0, -120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&stage.window(), &wheel);
        QTRY_VERIFY(text->mapToScene({0, 0}).y() < atRest.y() - 5);
        QTest::qWait(300);
        stage.grab(QStringLiteral("error-scrolled"));
        stage.leave();
        QVERIFY(text->property("truncated").toBool());
        QCOMPARE(text->mapToScene({0, 0}), atRest);
    }

    void reducedTransparencyIsSolid()
    {
        Stage stage;
        stage.show();
        stage.fail(QStringLiteral("Couldn’t rewrite"), {});
        const QPoint free = QPoint(250, 80) * stage.window().devicePixelRatio();
        QVERIFY(stage.grab(QStringLiteral("error-empty")).pixelColor(free) != QColor(Qt::white));
        stage.appearance.setReduceTransparency(true);
        QCOMPARE(stage.grab(QStringLiteral("error-solid")).pixelColor(free), QColor(Qt::white));
    }

    void theCardsControls()
    {
        Stage stage;
        stage.show();
        stage.fail(QStringLiteral("Connect your AI"), QStringLiteral("Add a key."),
                   QStringLiteral("Settings"));
        stage.click({100, 30});
        QVERIFY(stage().state().isVisible());
        stage.click(stage.centreOf(stage.control(QStringLiteral("Settings"))));
        QCOMPARE(stage.actions, 1);
        QQuickItem* dismiss = stage.control(QStringLiteral("Dismiss"));
        QVERIFY(dismiss);
        stage.appearance.setReduceMotion(true);
        stage.click(stage.centreOf(dismiss));
        QVERIFY(!stage().state().isVisible());
        QVERIFY(!stage.window().isVisible());
        QCOMPARE(stage.cancels, 0);
    }

    void enteringAndLeavingTheWindowIsTold()
    {
        Stage stage;
        stage.show();
        stage.enter();
        QVERIFY(stage().isHovered());
        stage.leave();
        QVERIFY(!stage().isHovered());
    }

    void aPointerThatLeftBeforeTheWindowCameHoldsNothing()
    {
        Stage stage;
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        stage.panelWindow.mouse = {free.center().x(), free.bottom() - 40};
        stage().show({}, QStringLiteral("Fix"), false, {});
        QVERIFY(stage().isHovered());
        stage.panelWindow.mouse = {-5000, -5000};
        QVERIFY(QTest::qWaitForWindowExposed(&stage.window()));
        QVERIFY(!stage().isHovered());
    }

    void nothingMovesWhileHidden()
    {
        Stage stage;
        stage.show();
        QTRY_VERIFY(stage.orb()->isAnimating());
        stage().hide(false);
        QVERIFY(!stage.orb()->isAnimating());
        QVERIFY(!stage.window().isVisible());
        stage.show();
        QTRY_VERIFY(stage.orb()->isAnimating());
        stage.fail({}, {});
        QVERIFY(!stage.orb()->isAnimating());
    }

    void reducedMotionShowsAStillOrb()
    {
        Stage stage;
        stage.appearance.setReduceMotion(true);
        stage.show();
        QVERIFY(!stage.orb()->isAnimating());
        const QImage image = stage.grab(QStringLiteral("working-still"));
        QTest::qWait(100);
        QCOMPARE(stage.grab(QStringLiteral("working-still")), image);
        stage.appearance.setReduceMotion(false);
        QVERIFY(stage.orb()->isAnimating());
    }

    void theStillOrbIsThatOfAFixedTime()
    {
        Stage stage;
        stage.appearance.setReduceMotion(true);
        stage.show();
        const QImage still = paintedBy(*stage.orb(), stage.window().effectiveDevicePixelRatio());
        QCOMPARE(difference(still, orbAt(0.6, still)), 0);
        QVERIFY(difference(still, orbAt(0.61, still)) > 0);
    }

    void theOrbRunsFasterThanTheClock()
    {
        constexpr double speed = 2.34;
        const auto seconds = [](const QElapsedTimer& timer) { return double(timer.nsecsElapsed()) / 1e9; };
        QElapsedTimer beforeItAppeared;
        QElapsedTimer afterItAppeared;
        ThinkingOrb orb;
        orb.setSize({64, 64});
        beforeItAppeared.start();
        orb.setShown(true);
        afterItAppeared.start();
        QTRY_VERIFY(afterItAppeared.hasExpired(150));
        const double earliest = seconds(afterItAppeared) * speed;
        const QImage picture = paintedBy(orb, 1);
        const double latest = seconds(beforeItAppeared) * speed;
        constexpr double step = 0.005;
        std::pair<int, double> nearest{std::numeric_limits<int>::max(), 0};
        for (double time = 0; time < 2 * latest; time += step)
            nearest = std::min(nearest, {difference(picture, orbAt(time, picture)), time});
        QVERIFY2(nearest.second > earliest - step && nearest.second < latest + step,
                 qPrintable(QStringLiteral("%1 instead of %2").arg(nearest.second).arg(earliest)));
    }

    void onlyAnOutcomeFadesIn()
    {
        const QString cancel = QStringLiteral("Cancel rewrite · press your shortcut again");
        const QString done = QStringLiteral("Text rewritten");
        Stage stage;
        stage.show();
        stage().finish(done, {}, false);
        QVERIFY(!stage.text(done));
        QVERIFY(stage.control(cancel) && stage.text(QStringLiteral("Make formal")));
        QTRY_VERIFY(stage.text(done) && stage.control(QStringLiteral("Dismiss"))->opacity() == 1);
        QTRY_VERIFY(!stage.control(cancel));
        stage().show({}, QStringLiteral("Make formal"), true, {});
        QVERIFY(!stage.control(QStringLiteral("Dismiss")));
        QVERIFY(stage.control(cancel));
        QCOMPARE(stage.control(cancel)->opacity(), 1.0);
    }

    void anOutcomeIsSeenOnlyWhereTheSurfaceHasRoom()
    {
        Stage stage;
        stage.show();
        stage().finish(QStringLiteral("Text rewritten"), {}, false);
        const qreal whole = stage().state().windowSize().width();
        const auto layouts = stage.window().rootObject()->findChildren<QQuickItem*>();
        const auto pill = std::ranges::find_if(layouts, [](const QQuickItem* item) {
            return item->property("help") == QStringLiteral("Dismiss confirmation");
        });
        QVERIFY(pill != layouts.end());
        qreal cut = 0;
        connect(&stage.window(), &QQuickWindow::afterAnimating, &stage.window(), [&] {
            if ((*pill)->opacity() > 0)
                cut = std::max(cut, (whole - stage.window().width()) / 2);
        });
        QTRY_COMPARE((*pill)->opacity(), 1.0);
        QVERIFY2(cut <= 11, qPrintable(QString::number(cut))); // what lies beside the badge
    }

    void reducedMotionChangesThePhaseAtOnce()
    {
        Stage stage;
        stage.appearance.setReduceMotion(true);
        stage.show();
        stage().finish(QStringLiteral("Text rewritten"), {}, false);
        QCOMPARE(stage.window().size(), stage().state().windowSize().toSize());
        QVERIFY(stage.text(QStringLiteral("Text rewritten")));
        QCOMPARE(stage.control(QStringLiteral("Dismiss"))->opacity(), 1.0);
        QVERIFY(!stage.control(QStringLiteral("Cancel rewrite · press your shortcut again")));
    }

    void increasedContrastDrawsAStrongerOutline()
    {
        Stage stage;
        stage.show();
        stage.fail(QStringLiteral("Couldn’t rewrite"), QStringLiteral("No answer."),
                   QStringLiteral("Settings"));
        const QImage plain = stage.window().grabWindow();
        stage.appearance.setIncreaseContrast(true);
        const QImage contrast = stage.grab(QStringLiteral("error-contrast"));
        const int middle = contrast.height() / 2;
        const int edge = qRound(12 * stage.window().devicePixelRatio());
        QVERIFY(contrast.pixelColor(edge, middle).lightness() <
                plain.pixelColor(edge, middle).lightness() - 40);
    }

    void withoutACompositorTheWindowIsCutToItsSurface()
    {
        Stage stage;
        stage.panelWindow.setCompositing(false);
        stage.show();
        const QRegion mask = stage.window().mask();
        QCOMPARE(mask.boundingRect(), QRect(12, 12, 56, 36));
        QVERIFY(!mask.contains(QPoint(13, 13)));
        QVERIFY(mask.contains(QPoint(40, 12)));
        const QImage image = stage.grab(QStringLiteral("working-uncomposited"));
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixelColor(x, y).alpha(), 255);
        }
        // A pointer in the margin is in the panel's frame, but no leave event will ever come from there.
        stage().hide(false);
        stage.panelWindow.mouse = stage.window().position() + QPoint(2, 2);
        stage.show();
        QTRY_VERIFY(!stage().isHovered());
        stage.panelWindow.mouse = stage.window().position() + QPoint(40, 30);
        stage.show();
        QVERIFY(stage().isHovered());
        stage.panelWindow.setCompositing(true);
        QVERIFY(stage.window().mask().isEmpty());
    }

    void withoutACompositorThereIsNoFade()
    {
        Stage stage;
        stage.panelWindow.setCompositing(false);
        stage().show({}, QStringLiteral("Fix"), true, {});
        QCOMPARE(stage.window().opacity(), 1.0);
        stage().hide(true);
        QTRY_VERIFY_WITH_TIMEOUT(!stage.window().isVisible(), 60);
        QCOMPARE(stage.window().opacity(), 1.0);
    }

    void aPresentationThatBeginsInTheFadeKeepsTheWindow()
    {
        Stage stage;
        stage.show();
        stage().hide(true);
        QTRY_VERIFY(stage.window().opacity() < 0.9);
        stage.show();
        QTest::qWait(200);
        QVERIFY(stage.window().isVisible());
        QTRY_COMPARE(stage.window().opacity(), 1.0);
    }

    void aTransitionBeginsWhereThePanelIs()
    {
        Stage stage;
        stage.show();
        stage.fail({}, {});
        std::vector<int> heights;
        connect(&stage.window(), &QWindow::heightChanged, &stage.window(),
                [&heights](int height) { heights.push_back(height); });
        for (int round = 0; round < 5 && heights.size() <= 3; ++round) { // a busy machine leaves out steps
            stage.show();
            heights.clear();
            stage.fail({}, {});
        }
        QVERIFY(heights.size() > 3);
        QVERIFY(std::is_sorted(heights.begin(), heights.end()));
        QCOMPARE(heights.back(), 104);
    }

    void withoutACompositorAResizeIsOneStep()
    {
        Stage stage;
        stage.panelWindow.setCompositing(false);
        stage.show();
        stage().finish({}, {}, true);
        QCOMPARE(stage.window().size(), QSize(344, 104));
        QCOMPARE(stage.window().mask().boundingRect(), QRect(12, 12, 320, 80));
    }

    void theWindowFollowsItsAnchorInWholePixels()
    {
        Stage stage;
        stage.show();
        stage.fail({}, {});
        const QRect frame = stage.window().geometry();
        QCOMPARE(frame.y() + frame.height(), qRound(stage().anchor().y()));
        QVERIFY(std::abs(frame.x() + frame.width() / 2.0 - stage().anchor().x()) <= 0.5);
    }

    void everyControlHasItsAccessibleName()
    {
        Stage stage;
        stage.show(QStringLiteral("Make formal"));
        QAccessibleInterface* cancel = QAccessible::queryAccessibleInterface(
            stage.control(QStringLiteral("Cancel rewrite · press your shortcut again")));
        QVERIFY(cancel);
        QCOMPARE(cancel->text(QAccessible::Name),
                 QStringLiteral("Cancel rewrite · press your shortcut again"));
        QCOMPARE(cancel->text(QAccessible::Description),
                 QStringLiteral("Make formal · Click to cancel, or press your shortcut again"));
        QCOMPARE(cancel->role(), QAccessible::Button);
        stage.succeed();
        QAccessibleInterface* confirmation =
            QAccessible::queryAccessibleInterface(stage.control(QStringLiteral("Dismiss")));
        QVERIFY(confirmation);
        QCOMPARE(confirmation->text(QAccessible::Name), QStringLiteral("Dismiss"));
        QCOMPARE(confirmation->text(QAccessible::Description), QStringLiteral("Dismiss confirmation"));
        const QString detail = QString(50, QLatin1Char('x')).append(longWord());
        stage.fail(QStringLiteral("Couldn’t rewrite"), detail);
        QAccessibleInterface* alert = QAccessible::queryAccessibleInterface(stage.text(detail));
        QVERIFY(alert);
        QCOMPARE(alert->role(), QAccessible::AlertMessage);
        QCOMPARE(alert->text(QAccessible::Name), detail);
    }
};

int main(int argc, char** argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    tst_RewriteOverlayView test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_RewriteOverlayView.moc"
