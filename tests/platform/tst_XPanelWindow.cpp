#include "platform/XTestSession.h"
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
        panels.configure(panel);
        panel.setGeometry(100, 100, 200, 80);
        panels.orderFrontRegardless(panel);
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        xcb_connection_t* const connection = target.connection().get();
        xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, 0, target.connection().root(), 150, 130, 0);
        xcb_test_fake_input(connection, XCB_BUTTON_PRESS, 1, 0, XCB_NONE, 0, 0, 0);
        xcb_test_fake_input(connection, XCB_BUTTON_RELEASE, 1, 0, XCB_NONE, 0, 0, 0);
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
        panels.configure(panel);
        panel.setGeometry(100, 100, 200, 80);
        panels.orderFrontRegardless(panel);
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        xcb_test_fake_input(connection_->get(), XCB_MOTION_NOTIFY, 0, 0, connection_->root(), 150, 130, 0);
        xcb_test_fake_input(connection_->get(), XCB_BUTTON_PRESS, 1, 0, XCB_NONE, 0, 0, 0);
        xcb_test_fake_input(connection_->get(), XCB_BUTTON_RELEASE, 1, 0, XCB_NONE, 0, 0, 0);
        connection_->synchronize();
        QTRY_COMPARE(panel.clicks, 1);
        QCOMPARE(fullScreen.clicks, 0);
        QCOMPARE(QGuiApplication::focusWindow(), &fullScreen);
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
        QVERIFY(XAccessibility(worker).isProcessTrusted());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No X server")));
        QVERIFY(!XAccessibility(nullptr).isProcessTrusted());
        const QByteArray type = qgetenv("XDG_SESSION_TYPE");
        qputenv("XDG_SESSION_TYPE", "wayland");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Wayland session")));
        QVERIFY(!XAccessibility(worker).isProcessTrusted());
        qputenv("XDG_SESSION_TYPE", type);
    }
};

QTEST_MAIN(tst_XPanelWindow)
#include "tst_XPanelWindow.moc"
