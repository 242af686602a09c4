#include "platform/linux/XPanelWindow.h"

#include "platform/linux/ScreenStruts.h"
#include "platform/linux/XConnection.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/xfixes.h>

#include <array>

namespace quillmarsh {

namespace {

bool isOnX11()
{
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

XPanelWindow::XPanelWindow(std::shared_ptr<XConnection> connection) : connection_(std::move(connection))
{
    if (connection_ && connection_->extensions().xfixesEvent != 0)
        watchCompositor();
}

void XPanelWindow::watchCompositor()
{
    // Without a compositor a translucent window shows black where it should be clear (measured).
    const xcb_atom_t manager =
        connection_->atom("_NET_WM_CM_S" + QByteArray::number(connection_->screenNumber()));
    constexpr uint32_t changes = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    xcb_xfixes_select_selection_input(connection_->get(), connection_->root(), manager, changes);
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection_->get(), xcb_get_selection_owner(connection_->get(), manager));
    compositing_ = owner && owner->owner != XCB_NONE;
    connect(connection_.get(), &XConnection::received, this,
            [this, manager](const xcb_generic_event_t& event) {
                if (eventType(event) != connection_->extensions().xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
                    return;
                const auto& change = eventAs<xcb_xfixes_selection_notify_event_t>(event);
                if (change.selection != manager)
                    return;
                const bool compositing = change.owner != XCB_NONE;
                if (std::exchange(compositing_, compositing) != compositing)
                    emit compositingChanged();
            });
}

void XPanelWindow::configure(QWindow& window)
{
    // Of these, "does not accept focus" and "bypass" also keep the toolkit from asking for the focus on a
    // click.
    window.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                    Qt::WindowDoesNotAcceptFocus | Qt::BypassWindowManagerHint);
    window.setProperty("_q_showWithoutActivating", true);
}

void XPanelWindow::orderFrontRegardless(QWindow& window)
{
    if (!connection_ || !isOnX11()) {
        window.show();
        return;
    }
    if (!window.handle()) {
        window.create();
        describe(window);
    }
    keepPictureWhileResizing(window);
    window.show();
    // Another override-redirect window may have come up since.
    constexpr uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_->get(), static_cast<xcb_window_t>(window.winId()),
                         XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection_->get());
}

// Some window managers list every managed window whose state does not say otherwise, whatever its type. The
// toolkit adds its own states to these when it shows the window.
void XPanelWindow::leaveOutOfTaskBars(QWindow& window)
{
    if (!connection_ || !isOnX11())
        return;
    window.create();
    const std::array<xcb_atom_t, 2> states{connection_->atom("_NET_WM_STATE_SKIP_TASKBAR"),
                                           connection_->atom("_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        connection_->atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(), states.data());
    connection_->synchronize(); // the toolkit reads them through a connection of its own
}

void XPanelWindow::describe(QWindow& window)
{
    const auto id = static_cast<xcb_window_t>(window.winId());
    // Compositors give a window of this type neither a dock's shadow nor a dialog's dimming.
    const xcb_atom_t type = connection_->atom("_NET_WM_WINDOW_TYPE_NOTIFICATION");
    xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, id,
                        connection_->atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 1, &type);
    // What lies in these is the window's own shadow; nobody else should draw one around it.
    const auto margin =
        static_cast<uint32_t>(qRound(window.property("shadowMargin").toReal() * window.devicePixelRatio()));
    const std::array<uint32_t, 4> extents{margin, margin, margin, margin};
    xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, id,
                        connection_->atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, 32, extents.size(),
                        extents.data());
}

// Between a resize and the next picture the server shows the old one: about the bottom centre, which stands
// still, on a clear ground, or without a compositor on white. Its defaults show it in the wrong place for a
// frame.
void XPanelWindow::keepPictureWhileResizing(QWindow& window)
{
    const std::array<uint32_t, 2> values{compositing_ ? 0x00000000U : 0xFFFFFFFFU, XCB_GRAVITY_SOUTH};
    xcb_change_window_attributes(connection_->get(), static_cast<xcb_window_t>(window.winId()),
                                 XCB_CW_BACK_PIXEL | XCB_CW_BIT_GRAVITY, values.data());
    xcb_flush(connection_->get());
}

QPoint XPanelWindow::mouseLocation() const
{
    return QCursor::pos(); // asks the server, so it is right while another application has the pointer
}

QRect XPanelWindow::visibleFrame(const QScreen& screen) const
{
    // The toolkit knows the bars of a single screen; of several it takes the whole screens.
    if (!connection_ || !isOnX11() || QGuiApplication::screens().size() == 1)
        return screen.availableGeometry();
    // A screen's place is in the server's pixels, its size is scaled.
    const QRect frame = screen.geometry();
    const qreal scale = screen.devicePixelRatio();
    const QRect clear = clearOfBars(*connection_, {frame.topLeft(), (QSizeF(frame.size()) * scale).toSize()});
    const QPointF offset = QPointF(clear.topLeft() - frame.topLeft()) / scale;
    return {frame.topLeft() + offset.toPoint(), (QSizeF(clear.size()) / scale).toSize()};
}

} // namespace quillmarsh
