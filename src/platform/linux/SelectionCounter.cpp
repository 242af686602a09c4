#include "platform/linux/SelectionCounter.h"

#include "platform/linux/XConnection.h"

#include <xcb/xfixes.h>

namespace quillmarsh {

SelectionCounter::SelectionCounter(XConnection& connection) : connection_(connection)
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
    if (change.selection != connection_.atom("CLIPBOARD"))
        return;
    // A clear, or the end of the owner, is no new content; a clipboard manager may claim it a little later.
    if (change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER && change.owner != XCB_NONE) {
        ++count_;
        lastClaim_ = change.timestamp;
    }
    emit ownerChanged(change.owner);
}

} // namespace quillmarsh
