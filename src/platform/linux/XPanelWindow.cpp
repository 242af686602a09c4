#include "platform/linux/XPanelWindow.h"

#include "platform/linux/XConnection.h"

#include <QCursor>
#include <QGuiApplication>
#include <QWindow>

#include <xcb/xfixes.h>

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
    if (connection_ && isOnX11() && !window.handle()) {
        window.create();
        // Compositors give a window of this type neither a dock's shadow nor a dialog's dimming.
        const xcb_atom_t type = connection_->atom("_NET_WM_WINDOW_TYPE_NOTIFICATION");
        xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE,
                            static_cast<xcb_window_t>(window.winId()),
                            connection_->atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 1, &type);
        xcb_flush(connection_->get());
    }
    window.show();
    if (!connection_ || !isOnX11())
        return;
    // Another override-redirect window may have come up since.
    constexpr uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_->get(), static_cast<xcb_window_t>(window.winId()),
                         XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection_->get());
}

QPoint XPanelWindow::mouseLocation() const
{
    return QCursor::pos(); // asks the server, so it is right while another application has the pointer
}

} // namespace quillmarsh
