#include "platform/linux/IncrementalSender.h"

#include "platform/linux/XConnection.h"

#include <algorithm>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

constexpr auto longestRest = 5s; // what toolkits grant a requestor too

} // namespace

IncrementalSender::IncrementalSender(XConnection& connection) : connection_(connection)
{
    connect(&connection_, &XConnection::received, this, &IncrementalSender::handle);
}

void IncrementalSender::begin(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                              const QByteArray& bytes)
{
    const Key key{requestor, property};
    auto transfer = std::make_unique<Transfer>();
    transfer->type = type;
    transfer->bytes = bytes;
    transfer->idle.setSingleShot(true);
    connect(&transfer->idle, &QTimer::timeout, this, [this, key] { drop(key); });
    transfer->idle.start(longestRest);
    transfers_[key] = std::move(transfer);
    // A requestor that is gone makes these fail; the idle limit then clears up.
    constexpr uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    const auto size = static_cast<uint32_t>(bytes.size());
    xcb_change_window_attributes(connection_.get(), requestor, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, requestor, property,
                        connection_.atom("INCR"), 32, 1, &size);
}

void IncrementalSender::handle(const xcb_generic_event_t& event)
{
    if (eventType(event) != XCB_PROPERTY_NOTIFY)
        return;
    const auto& change = eventAs<xcb_property_notify_event_t>(event);
    const auto found = transfers_.find({change.window, change.atom});
    if (change.state == XCB_PROPERTY_DELETE && found != transfers_.end())
        sendNext(found->first, *found->second);
}

void IncrementalSender::sendNext(const Key& key, Transfer& transfer)
{
    if (transfer.atEnd) {
        drop(key);
        return;
    }
    const qsizetype piece = std::min(threshold, transfer.bytes.size() - transfer.sent);
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, key.first, key.second, transfer.type, 8,
                        static_cast<uint32_t>(piece), transfer.bytes.constData() + transfer.sent);
    transfer.sent += piece;
    transfer.atEnd = piece == 0;
    transfer.idle.start(longestRest);
    xcb_flush(connection_.get());
}

void IncrementalSender::drop(Key key)
{
    transfers_.erase(key);
    const bool stillNeeded = std::any_of(transfers_.begin(), transfers_.end(), [&key](const auto& other) {
        return other.first.first == key.first;
    });
    if (stillNeeded)
        return;
    constexpr uint32_t nothing = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection_.get(), key.first, XCB_CW_EVENT_MASK, &nothing);
    xcb_flush(connection_.get());
}

} // namespace quillmarsh
