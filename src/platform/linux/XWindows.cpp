#include "platform/linux/XWindows.h"

#include <QSysInfo>

#include <algorithm>

namespace quillmarsh {

namespace {

constexpr uint32_t longestText = 1024; // in units of four bytes; names are short

QString asText(const QByteArray& bytes)
{
    // Some end with a zero, most do not.
    return QString::fromUtf8(bytes.split('\0').constFirst());
}

WindowClass asClass(const QByteArray& bytes)
{
    const auto parts = bytes.split('\0');
    return {QString::fromLatin1(parts.value(0)), QString::fromLatin1(parts.value(1))};
}

} // namespace

xcb_window_t XWindows::active() const
{
    const auto windows = numbers(connection_.root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW);
    // Openbox goes on naming a window whose program ended abruptly (measured).
    if (!windows.empty() && windows.front() != XCB_NONE && exists(windows.front()))
        return windows.front();
    return aroundFocus();
}

xcb_window_t XWindows::aroundFocus() const
{
    xcb_connection_t* const connection = connection_.get();
    const auto focus = replyOf<xcb_get_input_focus_reply>(connection, xcb_get_input_focus(connection));
    if (!focus || focus->focus <= XCB_INPUT_FOCUS_POINTER_ROOT || focus->focus == connection_.root())
        return XCB_NONE;
    const xcb_atom_t managed = connection_.atom("WM_STATE");
    xcb_window_t window = focus->focus;
    while (!hasProperty(window, managed)) {
        const auto tree = replyOf<xcb_query_tree_reply>(connection, xcb_query_tree(connection, window));
        if (!tree)
            return XCB_NONE;
        const bool isOutermost = tree->parent == connection_.root() || tree->parent == XCB_NONE;
        if (isOutermost && hasProperty(connection_.root(), connection_.atom("_NET_SUPPORTING_WM_CHECK")))
            return XCB_NONE; // the window manager keeps the focus while nothing is in front
        if (isOutermost)
            return window; // no window manager: the outermost window is the application's
        window = tree->parent;
    }
    return window;
}

bool XWindows::hasProperty(xcb_window_t window, xcb_atom_t property) const
{
    return exists(xcb_get_property(connection_.get(), 0, window, property, XCB_ATOM_ANY, 0, 0));
}

bool XWindows::exists(xcb_get_property_cookie_t question) const
{
    const auto reply = replyOf<xcb_get_property_reply>(connection_.get(), question);
    return reply && reply->type != XCB_ATOM_NONE;
}

xcb_get_property_cookie_t XWindows::ask(xcb_window_t window, xcb_atom_t property) const
{
    return xcb_get_property(connection_.get(), 0, window, property, XCB_ATOM_ANY, 0, longestText);
}

QByteArray XWindows::answerTo(xcb_get_property_cookie_t question) const
{
    const auto reply = replyOf<xcb_get_property_reply>(connection_.get(), question);
    if (!reply || reply->format != 8)
        return {};
    return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

QString XWindows::text(xcb_window_t window, const QByteArray& property) const
{
    return asText(answerTo(ask(window, connection_.atom(property))));
}

WindowIdentity XWindows::identityOf(xcb_window_t window) const
{
    const auto windowClass = ask(window, XCB_ATOM_WM_CLASS);
    const auto applicationId = ask(window, connection_.atom("_GTK_APPLICATION_ID"));
    const auto desktopFile = ask(window, connection_.atom("_KDE_NET_WM_DESKTOP_FILE"));
    const auto title = ask(window, connection_.atom("_NET_WM_NAME"));
    const auto process = askProcess(window);
    // Every Motif shell has it, and no window of another toolkit that was looked at.
    const auto motif = xcb_get_property(connection_.get(), 0, window, connection_.atom("_MOTIF_WM_MESSAGES"),
                                        XCB_ATOM_ANY, 0, 0);
    WindowIdentity identity{asClass(answerTo(windowClass)),
                            asText(answerTo(applicationId)),
                            asText(answerTo(desktopFile)),
                            asText(answerTo(title)),
                            answerTo(process),
                            exists(motif)};
    if (identity.process == 0)
        identity.process = claimedProcess(window);
    return identity;
}

std::vector<uint32_t> XWindows::numbers(xcb_window_t window, const QByteArray& property,
                                        xcb_atom_t type) const
{
    xcb_connection_t* const connection = connection_.get();
    const auto reply = replyOf<xcb_get_property_reply>(
        connection,
        xcb_get_property(connection, 0, window, connection_.atom(property), type, 0, longestText));
    if (!reply || reply->format != 32)
        return {};
    const auto* const first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

qint64 XWindows::claimedProcess(xcb_window_t window) const
{
    // The property is the program's own word and wrong inside a process namespace; the server knows better.
    if (text(window, "WM_CLIENT_MACHINE") != QSysInfo::machineHostName())
        return 0;
    const auto claimed = numbers(window, "_NET_WM_PID", XCB_ATOM_CARDINAL);
    return claimed.empty() ? 0 : claimed.front();
}

xcb_res_query_client_ids_cookie_t XWindows::askProcess(xcb_window_t window) const
{
    if (!connection_.extensions().resources)
        return {};
    const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids(connection_.get(), 1, &wanted);
}

qint64 XWindows::answerTo(xcb_res_query_client_ids_cookie_t question) const
{
    if (question.sequence == 0) // not asked
        return 0;
    const auto reply = replyOf<xcb_res_query_client_ids_reply>(connection_.get(), question);
    if (!reply)
        return 0;
    auto id = xcb_res_query_client_ids_ids_iterator(reply.get());
    for (; id.rem > 0; xcb_res_client_id_value_next(&id)) {
        const bool isProcess = (id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
        if (isProcess && xcb_res_client_id_value_value_length(id.data) > 0)
            return *xcb_res_client_id_value_value(id.data);
    }
    return 0;
}

uint32_t XWindows::clientOf(xcb_window_t window) const
{
    return window & ~xcb_get_setup(connection_.get())->resource_id_mask;
}

bool XWindows::isTk(xcb_window_t window) const
{
    // Every Tk program enters its name and a window of its own, in hexadecimal, in this list on the root
    // window.
    const auto entries = answerTo(ask(connection_.root(), connection_.atom("InterpRegistry"))).split('\0');
    return std::any_of(entries.begin(), entries.end(), [&](const QByteArray& entry) {
        const xcb_window_t entered = entry.split(' ').constFirst().toUInt(nullptr, 16);
        // An entry outlives a program that was killed, and the server gives its numbers to another.
        return entered != XCB_NONE && clientOf(entered) == clientOf(window) &&
               !text(entered, "TK_APPLICATION").isEmpty();
    });
}

bool XWindows::exists(xcb_window_t window) const
{
    xcb_connection_t* const connection = connection_.get();
    return replyOf<xcb_get_window_attributes_reply>(connection,
                                                    xcb_get_window_attributes(connection, window)) != nullptr;
}

} // namespace quillmarsh
