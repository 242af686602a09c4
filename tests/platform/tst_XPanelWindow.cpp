#include "platform/XTestSession.h"
#include "platform/linux/ScreenStruts.h"
#include "platform/linux/TrayHost.h"
#include "platform/linux/XAccessibility.h"
#include "platform/linux/XPanelWindow.h"
#include "platform/linux/XWindows.h"
#include "platform/linux/XWorker.h"
#include "support/CoroutineTest.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QRasterWindow>
#include <QRegularExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

#include <xcb/xtest.h>

#include <algorithm>

using namespace quillmarsh;
using namespace quillmarsh::test;

class Panel final : public QRasterWindow
{
    Q_OBJECT

public:
    int clicks = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++clicks; }
};

class tst_XPanelWindow final : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<XConnection> connection_ = XConnection::open();

    static void claim(TargetWindow& owner, const QByteArray& selection, xcb_window_t window)
    {
        xcb_set_selection_owner(owner.connection().get(), window, owner.connection().atom(selection),
                                XCB_CURRENT_TIME);
        owner.catchUp();
    }

    static void show(Panel& panel, XPanelWindow& panels)
    {
        panels.configure(panel);
        panel.setGeometry(100, 100, 200, 80);
        panels.orderFrontRegardless(panel);
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
    }

    void click(int16_t x, int16_t y) const
    {
        xcb_connection_t* const server = connection_->get();
        xcb_test_fake_input(server, XCB_MOTION_NOTIFY, 0, 0, connection_->root(), x, y, 0);
        xcb_test_fake_input(server, XCB_BUTTON_PRESS, 1, 0, XCB_NONE, 0, 0, 0);
        xcb_test_fake_input(server, XCB_BUTTON_RELEASE, 1, 0, XCB_NONE, 0, 0, 0);
        connection_->synchronize();
    }

    static xcb_window_t focus(TargetWindow& target)
    {
        xcb_connection_t* const connection = target.connection().get();
        return replyOf<xcb_get_input_focus_reply>(connection, xcb_get_input_focus(connection))->focus;
    }

private slots:
    void aPanelNeverTakesTheFocus()
    {
        TargetWindow target;
        QTRY_COMPARE(XWindows(*connection_).active(), target.window());
        const xcb_window_t focused = focus(target);
        XPanelWindow panels(connection_);
        Panel panel;
        show(panel, panels);
        click(150, 130);
        target.catchUp();
        QTRY_COMPARE(panel.clicks, 1);
        QCOMPARE(panels.mouseLocation(), QPoint(150, 130));
        panels.orderFrontRegardless(panel);
        QTest::qWait(100);
        QCOMPARE(focus(target), focused);
        QCOMPARE(XWindows(*connection_).active(), target.window());
        QCOMPARE(target.focusLosses, 0);
        const auto types =
            XWindows(*connection_)
                .numbers(static_cast<xcb_window_t>(panel.winId()), "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM);
        QCOMPARE(types, std::vector<uint32_t>{connection_->atom("_NET_WM_WINDOW_TYPE_NOTIFICATION")});
    }

    void thePanelLiesAboveAFullScreenWindow()
    {
        Panel fullScreen;
        fullScreen.showFullScreen();
        QVERIFY(QTest::qWaitForWindowActive(&fullScreen));
        XPanelWindow panels(connection_);
        Panel panel;
        show(panel, panels);
        click(150, 130);
        QTRY_COMPARE(panel.clicks, 1);
        QCOMPARE(fullScreen.clicks, 0);
        QCOMPARE(QGuiApplication::focusWindow(), &fullScreen);
    }

    void taskBarsAreToldToLeaveAMenuOut()
    {
        XPanelWindow panels(connection_);
        Panel menu;
        menu.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        panels.leaveOutOfTaskBars(menu);
        menu.show();
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        const auto states =
            XWindows(*connection_)
                .numbers(static_cast<xcb_window_t>(menu.winId()), "_NET_WM_STATE", XCB_ATOM_ATOM);
        for (const char* state :
             {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"})
            QVERIFY2(std::ranges::count(states, connection_->atom(state)) == 1, state);
    }

    void theCompositorIsWatched()
    {
        XPanelWindow panels(connection_);
        QSignalSpy changed(&panels, &PanelWindow::compositingChanged);
        QVERIFY(!panels.isCompositing());
        {
            TargetWindow compositor;
            claim(compositor, "_NET_WM_CM_S0", compositor.window());
            QTRY_COMPARE(changed.size(), 1);
            QVERIFY(panels.isCompositing());
            QVERIFY(XPanelWindow(connection_).isCompositing());
        }
        QTRY_COMPARE(changed.size(), 2);
        QVERIFY(!panels.isCompositing());
    }

    // Two screens beside each other, the right one less high: 1000 × 800 and 600 × 500 in a root of 1600 ×
    // 800.
    void aBarTakesItsEdgeOfItsScreen_data()
    {
        using Strut = std::array<uint32_t, 12>;
        const QRect left(0, 0, 1000, 800);
        const QRect right(1000, 0, 600, 500);
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<Strut>("strut");
        QTest::addColumn<QRect>("clear");
        QTest::newRow("none") << left << Strut{} << left;
        const Strut bottom{0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 0, 999};
        QTest::newRow("bottom, its screen") << left << bottom << QRect(0, 0, 1000, 752);
        QTest::newRow("bottom, the other") << right << bottom << right;
        const Strut low{0, 0, 0, 330, 0, 0, 0, 0, 0, 0, 1000, 1599};
        QTest::newRow("bottom of the lower screen") << right << low << QRect(1000, 0, 600, 470);
        const Strut top{0, 0, 30, 0, 0, 0, 0, 0, 0, 1599, 0, 0};
        QTest::newRow("top of both, left") << left << top << QRect(0, 30, 1000, 770);
        QTest::newRow("top of both, right") << right << top << QRect(1000, 30, 600, 470);
        const Strut middle{1040, 0, 0, 0, 0, 499, 0, 0, 0, 0, 0, 0};
        QTest::newRow("left edge of the right screen") << right << middle << QRect(1040, 0, 560, 500);
        QTest::newRow("which is not the left one's") << left << middle << left;
        const Strut rightEdge{0, 60, 0, 0, 0, 0, 0, 799, 0, 0, 0, 0};
        QTest::newRow("right edge") << right << rightEdge << QRect(1000, 0, 540, 500);
        const Strut absurd{0, 0, 0, 0xFFFFFFFF, 0, 0, 0, 0, 0, 0, 0, 0xFFFFFFFF};
        QTest::newRow("absurd") << left << absurd << left;
    }

    void aBarTakesItsEdgeOfItsScreen()
    {
        using Strut = std::array<uint32_t, 12>;
        QFETCH(QRect, screen);
        QFETCH(Strut, strut);
        QTEST(clearOfStrut(screen, {1600, 800}, strut), "clear");
    }

    void barsOfOtherProgramsAreFound()
    {
        TargetWindow bar;
        const auto isListed = [&] { // the window manager lists windows after it has activated them
            const auto listed =
                XWindows(*connection_).numbers(connection_->root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
            return std::ranges::count(listed, bar.window()) == 1;
        };
        QTRY_VERIFY(isListed());
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const auto reserve = [&bar, &screen](const QByteArray& property, uint32_t count) {
            const auto right = static_cast<uint32_t>(screen.right());
            const std::array<uint32_t, 12> strut{0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, right};
            XConnection& connection = bar.connection();
            xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, bar.window(),
                                connection.atom(property), XCB_ATOM_CARDINAL, 32, count, strut.data());
            bar.catchUp();
        };
        QCOMPARE(clearOfBars(*connection_, screen), screen);
        reserve("_NET_WM_STRUT", 4);
        QCOMPARE(clearOfBars(*connection_, screen), screen.adjusted(0, 0, 0, -40));
        reserve("_NET_WM_STRUT_PARTIAL", 12);
        QCOMPARE(clearOfBars(*connection_, screen), screen.adjusted(0, 0, 0, -40));
    }

    void anEmbeddingTrayIsFound()
    {
        TargetWindow tray;
        claim(tray, "_NET_SYSTEM_TRAY_S0", tray.window());
        TrayHost host(connection_);
        QVERIFY(runTask(host.waitUntilAvailable()));
    }

    void theSessionDecidesAboutTrust()
    {
        const auto worker = XWorker::start();
        QVERIFY(XAccessibility(worker, connection_).isProcessTrusted());
        const QRegularExpression noServer(QStringLiteral("No X server"));
        QTest::ignoreMessage(QtWarningMsg, noServer);
        QVERIFY(!XAccessibility(nullptr, connection_).isProcessTrusted());
        QTest::ignoreMessage(QtWarningMsg, noServer);
        QVERIFY(!XAccessibility(worker, nullptr).isProcessTrusted());
        const QByteArray type = qgetenv("XDG_SESSION_TYPE");
        qputenv("XDG_SESSION_TYPE", "wayland");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Wayland session")));
        QVERIFY(!XAccessibility(worker, connection_).isProcessTrusted());
        qputenv("XDG_SESSION_TYPE", type);
    }
};

QTEST_MAIN(tst_XPanelWindow)
#include "tst_XPanelWindow.moc"
