#include "platform/linux/PrimaryWatch.h"

#include "platform/linux/XConnection.h"
#include "platform/linux/XWindows.h"

#include <xcb/xfixes.h>

#include <algorithm>

namespace quillmarsh {

PrimaryWatch::PrimaryWatch(XConnection& connection) : connection_(connection)
{
    connect(&connection_, &XConnection::received, this, &PrimaryWatch::handle);
}

PrimaryWatch::~PrimaryWatch()
{
    end();
}

void PrimaryWatch::begin(xcb_window_t window)
{
    end();
    unselects_ = false;
    lost_ = false;
    client_ = XWindows(connection_).clientOf(window);
    window_ = connection_.createHelperWindow(XCB_EVENT_MASK_NO_EVENT);
    watch(XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection_.get(), xcb_get_selection_owner(connection_.get(), XCB_ATOM_PRIMARY));
    if (owner && XWindows(connection_).clientOf(owner->owner) == client_)
        askForTargets();
    else
        end();
}

void PrimaryWatch::end()
{
    if (window_ == XCB_NONE)
        return;
    xcb_destroy_window(connection_.get(), window_);
    window_ = XCB_NONE;
    xcb_flush(connection_.get());
}

void PrimaryWatch::watch(uint32_t changes)
{
    xcb_xfixes_select_selection_input(connection_.get(), window_, XCB_ATOM_PRIMARY, changes);
}

void PrimaryWatch::askForTargets()
{
    // It gets this before the key that copies, so before any manager can hear of the copy.
    xcb_convert_selection(connection_.get(), window_, XCB_ATOM_PRIMARY, connection_.atom("TARGETS"),
                          connection_.atom("QUILLMARSH_SELECTION"), XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
}

void PrimaryWatch::handle(const xcb_generic_event_t& event)
{
    if (window_ == XCB_NONE)
        return;
    if (eventType(event) == XCB_SELECTION_NOTIFY) {
        const auto& notify = eventAs<xcb_selection_notify_event_t>(event);
        if (notify.requestor == window_)
            handleTargets(notify);
    } else if (eventType(event) == connection_.extensions().xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY) {
        const auto& change = eventAs<xcb_xfixes_selection_notify_event_t>(event);
        if (change.window == window_)
            handleOwner(change.owner);
    }
}

void PrimaryWatch::handleOwner(xcb_window_t owner)
{
    if (XWindows(connection_).clientOf(owner) == client_)
        return;
    lost_ = true;
    watch(0); // each change wakes this process
}

void PrimaryWatch::handleTargets(const xcb_selection_notify_event_t& notify)
{
    constexpr uint32_t most = 1024;
    const auto targets = replyOf<xcb_get_property_reply>(
        connection_.get(),
        xcb_get_property(connection_.get(), 1, window_, connection_.atom("QUILLMARSH_SELECTION"),
                         XCB_ATOM_ATOM, 0, most));
    unselects_ = notify.property != XCB_ATOM_NONE && targets && areOfUnselecting(*targets);
    if (!unselects_)
        end();
}

bool PrimaryWatch::areOfUnselecting(const xcb_get_property_reply_t& targets) const
{
    const auto* const first = static_cast<const xcb_atom_t*>(xcb_get_property_value(&targets));
    const auto* const last = first + (targets.format == 32 ? targets.value_len : 0);
    const auto offers = [&](const char* name) {
        return std::find(first, last, connection_.atom(name)) != last;
    };
    // Measured: of GTK's own text formats this is the one that Qt, Chromium, LibreOffice and Scintilla leave
    // out. Firefox has them all, with formats of its own, and keeps what is selected.
    return offers("COMPOUND_TEXT") && !offers("text/x-moz-url-priv") && !offers("text/_moz_htmlcontext");
}

} // namespace quillmarsh
