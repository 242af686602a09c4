#include "overlay/QuickRewritePanel.h"
#include "overlay/RewriteOverlayController.h"
#include "overlay/ThinkingOrb.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XPanelWindow.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"

#include <QAbstractEventDispatcher>
#include <QCursor>
#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QQuickItem>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

using namespace quillmarsh;

namespace {

const QColor deskColor(0xc9, 0xd3, 0xdc);

/// The desktop behind the panel, which is also the application that has the focus.
class Desk final : public QRasterWindow
{
private:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect({}, size()), deskColor); }
};

/// A compositing manager that runs for as long as this lives.
class Compositor final
{
public:
    Compositor()
    {
        process_.setStandardErrorFile(QProcess::nullDevice());
        process_.setStandardOutputFile(QProcess::nullDevice());
        process_.start(QStringLiteral("picom"),
                       {QStringLiteral("--backend"), QStringLiteral("xrender"), QStringLiteral("--config"),
                        QStringLiteral("/dev/null"), QStringLiteral("--no-vsync")});
    }
    ~Compositor()
    {
        process_.terminate();
        process_.waitForFinished();
    }

private:
    QProcess process_;
};

/// The mouse button of a real user.
void clickAtPointer()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const auto fake = [&](uint8_t type) {
        xcb_test_fake_input(connection, type, XCB_BUTTON_INDEX_1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    };
    fake(XCB_BUTTON_PRESS);
    fake(XCB_BUTTON_RELEASE);
    free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_disconnect(connection);
}

QPixmap picture(const QRect& area)
{
    return QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
}

int blackPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y).lightness() < 20 ? 1 : 0;
    }
    return count;
}

} // namespace

class tst_RewriteOverlayPanelX11 final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        test::failOnWarnings();
        QCursor::setPos(5, 5);
        panelWindow_ = std::make_unique<XPanelWindow>(XConnection::open());
        RewriteOverlayOptions options;
        options.panels = [this](RewriteOverlayState& state) {
            auto made = std::make_unique<QuickRewritePanel>(state, *panelWindow_, appearance_);
            panel_ = made.get();
            return made;
        };
        controller_ = std::make_unique<RewriteOverlayController>(*panelWindow_, appearance_, options);
        desk_ = std::make_unique<Desk>();
        desk_->setFlags(Qt::FramelessWindowHint);
        desk_->setGeometry(QGuiApplication::primaryScreen()->geometry());
        QVERIFY(activateDesk());
    }

    void cleanup()
    {
        controller_.reset();
        panelWindow_.reset();
        desk_.reset();
    }

    void withoutACompositorThereIsNothingBlackAroundIt()
    {
        QVERIFY(!panelWindow_->isCompositing());
        show();
        QTRY_COMPARE(corner(), deskColor);
        QTest::qWait(200);
        save("working-plain");
        QCOMPARE(blackPixels(image()), 0);
        fail();
        QTRY_COMPARE(panel_->window().size(), QSize(344, 128));
        QTRY_COMPARE(corner(), deskColor);
        QTRY_COMPARE(pixel({12, 64}), QColor(0xdc, 0xe0, 0xe7));
        QTRY_COMPARE(pixel({200, 16}), QColor(Qt::white));
        QTest::qWait(300);
        save("error-plain");
        QCOMPARE(blackPixels(image().copy(0, 0, 344, 24)), 0);
    }

    void aCompositorThatComesAndGoesIsFollowed()
    {
        show();
        QVERIFY(!panel_->window().mask().isEmpty());
        {
            const Compositor compositor;
            QTRY_VERIFY_WITH_TIMEOUT(panelWindow_->isCompositing(), 30'000);
            QVERIFY(panel_->window().mask().isEmpty());
            QTRY_COMPARE(corner(), deskColor);
            QTRY_VERIFY(isShaded(pixel({40, 51})));
            QTest::qWait(200);
            save("working-composited");
            QCOMPARE(blackPixels(image()), 0);
            succeed();
            QTest::qWait(300);
            save("success-composited");
            show();
            fail();
            QTest::qWait(300);
            save("error-composited");
            controller_->hide(true);
            QTRY_VERIFY(!panel_->window().isVisible());
        }
        QTRY_VERIFY(!panelWindow_->isCompositing());
        show();
        QVERIFY(!panel_->window().mask().isEmpty());
        QTRY_COMPARE(corner(), deskColor);
        QTRY_COMPARE(pixel({40, 51}), deskColor);
    }

    void aCompositorIsToldOfTheShadowInTheMargin()
    {
        show();
        QTRY_VERIFY(panel_->window().isVisible());
        const auto window = static_cast<xcb_window_t>(panel_->window().winId());
        const auto connection = XConnection::open();
        const auto reply = replyOf<xcb_get_property_reply>(
            connection->get(),
            xcb_get_property(connection->get(), 0, window, connection->atom("_GTK_FRAME_EXTENTS"),
                             XCB_ATOM_CARDINAL, 0, 4));
        QVERIFY(reply && reply->value_len == 4);
        const auto* extents = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
        QCOMPARE((std::vector<uint32_t>(extents, extents + 4)), (std::vector<uint32_t>{12, 12, 12, 12}));
    }

    void theFocusStaysWhereItIs()
    {
        show();
        QTRY_VERIFY(panel_->window().isExposed());
        QCursor::setPos(centre());
        QTRY_VERIFY(controller_->isHovered());
        clickAtPointer();
        QTRY_COMPARE(cancels_, 1);
        fail();
        QTest::qWait(300);
        QCOMPARE(QGuiApplication::focusWindow(), desk_.get());
        QVERIFY(desk_->isActive());
    }

    void aRestingPointerHoldsASuccessUntilItLeaves()
    {
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        QCursor::setPos(free.center().x(), free.bottom() - 40);
        show();
        QVERIFY(controller_->isHovered());
        succeed();
        QTest::qWait(1600);
        QVERIFY(controller_->state().isVisible());
        QVERIFY(controller_->isHovered());
        QCursor::setPos(5, 5);
        QTRY_VERIFY(!controller_->isHovered());
        QTRY_VERIFY_WITH_TIMEOUT(!controller_->state().isVisible(), 10'000);
        QTRY_VERIFY(!panel_->window().isVisible());
    }

    void hoveringIsToldAgainAfterThePanelWasHiddenUnderThePointer()
    {
        show();
        QTRY_VERIFY(panel_->window().isExposed());
        QCursor::setPos(centre());
        QTRY_VERIFY(controller_->isHovered());
        controller_->hide(false);
        QCursor::setPos(5, 5);
        QTest::qWait(50);
        show();
        QVERIFY(!controller_->isHovered());
        QTRY_VERIFY(panel_->window().isExposed());
        QTest::qWait(50);
        QVERIFY(!controller_->isHovered());
        QCursor::setPos(centre());
        QTRY_VERIFY(controller_->isHovered());
        QCursor::setPos(5, 5);
        QTRY_VERIFY(!controller_->isHovered());
    }

    void aPointerInTheMarginOfAMaskedWindowHoldsNothing()
    {
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        QCursor::setPos(free.center().x(), free.bottom() - 14 - 3);
        show();
        QTRY_VERIFY(!controller_->isHovered());
        succeed();
        QTRY_VERIFY_WITH_TIMEOUT(!controller_->state().isVisible(), 10'000);
    }

    void nothingWakesTheProcessWhileItIsHidden()
    {
        show();
        QTRY_VERIFY_WITH_TIMEOUT(wakeUpsInASecond() > 20, 10'000);
        controller_->hide(false);
        QVERIFY2(comesToRest(), "an animation or a timer goes on");
        show();
        fail();
        QVERIFY2(comesToRest(), "an animation goes on beside a resting card");
    }

private:
    /// What goes on never lets a second be quiet.
    static bool comesToRest()
    {
        bool rests = false;
        for (int second = 0; second < 5 && !rests; ++second)
            rests = wakeUpsInASecond() <= 3;
        return rests;
    }
    /// How often the event loop comes round, the end of the second included.
    static int wakeUpsInASecond()
    {
        int count = 0;
        QEventLoop loop;
        const auto counting = connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake,
                                      [&count] { ++count; });
        QTimer::singleShot(1000, &loop, &QEventLoop::quit);
        loop.exec();
        disconnect(counting);
        return count;
    }
    /// A window manager that has just started may never give the focus to a window that it met at its start.
    bool activateDesk()
    {
        for (int attempt = 0; attempt < 10; ++attempt) {
            desk_->show();
            desk_->requestActivate();
            if (QTest::qWaitForWindowActive(desk_.get(), 1000))
                return true;
            desk_->hide();
        }
        return false;
    }
    void show()
    {
        controller_->show({}, QStringLiteral("Make formal"), false, [this] { ++cancels_; });
    }
    void succeed() { controller_->finish(QStringLiteral("Text rewritten"), QStringLiteral("Editor"), false); }
    void fail()
    {
        controller_->finish(QStringLiteral("Connect your AI"),
                            QStringLiteral("Connect ChatGPT or add your own API key."), true,
                            QStringLiteral("Settings"), [] {});
    }
    QImage image() { return picture(panel_->window().geometry()).toImage(); }
    QColor pixel(QPoint position)
    {
        return picture(QRect(panel_->window().position() + position, QSize(1, 1))).toImage().pixelColor(0, 0);
    }
    /// Inside the rounding of the surface, where a careless panel is black.
    QColor corner() { return pixel({13, 13}); }
    static bool isShaded(QColor color)
    {
        return color.lightness() < deskColor.lightness() - 4 && color.lightness() > 120;
    }
    QPoint centre() { return panel_->window().geometry().center(); }
    void save(const char* name)
    {
        QDir().mkpath(QStringLiteral(PICTURES));
        const QRect around = panel_->window().geometry().adjusted(-20, -20, 20, 20);
        picture(around).save(QStringLiteral(PICTURES "/x11-%1.png").arg(QLatin1String(name)));
    }

    std::unique_ptr<XPanelWindow> panelWindow_;
    test::FakeDesktopAppearance appearance_;
    QuickRewritePanel* panel_ = nullptr;
    std::unique_ptr<RewriteOverlayController> controller_;
    std::unique_ptr<Desk> desk_;
    int cancels_ = 0;
};

int main(int argc, char** argv)
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    tst_RewriteOverlayPanelX11 test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_RewriteOverlayPanelX11.moc"
