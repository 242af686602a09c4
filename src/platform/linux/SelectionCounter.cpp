#include "platform/linux/SelectionCounter.h"

#include "platform/linux/XConnection.h"
#include "platform/linux/XWindows.h"

#include <xcb/xfixes.h>

#include <utility>

namespace quillmarsh {

SelectionCounter::SelectionCounter(XConnection& connection, qint64 count)
    : connection_(connection), count_(count)
{
    connect(&connection_, &XConnection::received, this, &SelectionCounter::handle);
    if (connection_.extensions().xfixesEvent == 0)
        return;
    constexpr uint32_t changes = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                 XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    xcb_xfixes_select_selection_input(connection_.get(), connection_.root(), connection_.atom("CLIPBOARD"),
                                      changes);
}

qint64 SelectionCounter::count()
{
    connection_.synchronize();
    return count_;
}

void SelectionCounter::handle(const xcb_generic_event_t& event)
{
    const uint8_t first = connection_.extensions().xfixesEvent;
    if (first == 0 || eventType(event) != first + XCB_XFIXES_SELECTION_NOTIFY)
        return;
    const auto& change = eventAs<xcb_xfixes_selection_notify_event_t>(event);
    // A clear, or the end of the owner, is no new content; a clipboard manager may claim it a little later.
    const bool isClaim =
        change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER && change.owner != XCB_NONE;
    if (isClaim)
        handleClaim(change.selection, change.owner);
    if (change.selection != connection_.atom("CLIPBOARD"))
        return;
    if (isClaim)
        lastClaim_ = change.timestamp;
    emit ownerChanged(change.owner);
}

void SelectionCounter::handleClaim(xcb_atom_t selection, xcb_window_t owner)
{
    if (selection == connection_.atom("CLIPBOARD")) {
        // A clipboard manager may take over the doubtful text, which is no proof of it.
        ++(doubtful_ != XCB_NONE ? unproven_ : count_);
    } else if (XWindows(connection_).clientOf(owner) == doubtful_) {
        count_ += unproven_;
        countEveryClaim();
    }
}

void SelectionCounter::countEveryClaim()
{
    if (std::exchange(doubtful_, XCB_NONE) != XCB_NONE)
        watchPrimary(0);
}

void SelectionCounter::countSelectionsOnly(xcb_window_t window)
{
    doubtful_ = XWindows(connection_).clientOf(window);
    unproven_ = 0;
    watchPrimary(XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
}

void SelectionCounter::watchPrimary(uint32_t changes)
{
    if (connection_.extensions().xfixesEvent != 0)
        xcb_xfixes_select_selection_input(connection_.get(), connection_.root(), XCB_ATOM_PRIMARY, changes);
}

} // namespace quillmarsh
