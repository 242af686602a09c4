#include "platform/ClipboardPeer.h"

#include "platform/XTestSession.h"

#include <QTest>
#include <QTimer>

#include <algorithm>

namespace quillmarsh::test {

ClipboardPeer::ClipboardPeer(Manners manners)
    : connection_(XConnection::open()), manners_(manners),
      window_(connection_->createHelperWindow(XCB_EVENT_MASK_PROPERTY_CHANGE))
{
    connect(connection_.get(), &XConnection::received, this, &ClipboardPeer::handle);
    connection_->synchronize();
}

void ClipboardPeer::own(const QByteArray& value, const QByteArray& target)
{
    own(std::map<QByteArray, QByteArray>{{target, value}});
}

void ClipboardPeer::own(std::map<QByteArray, QByteArray> values)
{
    values_ = std::move(values);
    ownSelection("CLIPBOARD");
}

void ClipboardPeer::select(const QByteArray& text)
{
    select(std::map<QByteArray, QByteArray>{{"UTF8_STRING", text}});
}

void ClipboardPeer::select(std::map<QByteArray, QByteArray> values)
{
    values_ = std::move(values);
    ownSelection("PRIMARY");
}

void ClipboardPeer::comeToFront(const QByteArray& windowClass)
{
    openInFront(*connection_, windowClass, windowClass);
}

void ClipboardPeer::ownSelection(const QByteArray& selection)
{
    xcb_set_selection_owner(connection_->get(), window_, connection_->atom(selection), XCB_CURRENT_TIME);
    connection_->synchronize();
}

bool ClipboardPeer::isOwner() const
{
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection_->get(), xcb_get_selection_owner(connection_->get(), connection_->atom("CLIPBOARD")));
    return owner && owner->owner == window_;
}

void ClipboardPeer::die()
{
    connection_.reset();
}

void ClipboardPeer::handle(const xcb_generic_event_t& event)
{
    if (eventType(event) == XCB_SELECTION_REQUEST) {
        handleRequest(eventAs<xcb_selection_request_event_t>(event));
    } else if (eventType(event) == XCB_SELECTION_NOTIFY) {
        handleNotify(eventAs<xcb_selection_notify_event_t>(event));
    } else if (eventType(event) == XCB_PROPERTY_NOTIFY) {
        const auto& change = eventAs<xcb_property_notify_event_t>(event);
        const bool taken = change.state == XCB_PROPERTY_DELETE;
        if (outgoing_ && taken && change.window == outgoing_->requestor && change.atom == outgoing_->property)
            sendPiece();
        else if (incoming_ && incoming_->incremental && !taken && change.window == requestor_)
            handleIncoming();
    }
}

void ClipboardPeer::handleRequest(const xcb_selection_request_event_t& request)
{
    asked << connection_->atomName(request.target);
    if (manners_ == Manners::Silent || asked.constLast() == silentAbout)
        return;
    if (manners_ == Manners::Dying) {
        QTimer::singleShot(0, this, &ClipboardPeer::die);
        return;
    }
    if (request.target == connection_->atom("SAVE_TARGETS") && onSaveTargets) {
        answer(request, true);
        onSaveTargets();
        return;
    }
    QTimer::singleShot(delay, this, [this, request] { serve(request); });
}

void ClipboardPeer::serve(const xcb_selection_request_event_t& request)
{
    if (!connection_)
        return;
    const QByteArray target = connection_->atomName(request.target);
    if (target == "TARGETS" && manners_ != Manners::Refusing) {
        std::vector<uint32_t> atoms{connection_->atom("TARGETS")};
        for (const auto& [name, value] : values_)
            atoms.push_back(connection_->atom(name));
        xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            XCB_ATOM_ATOM, 32, static_cast<uint32_t>(atoms.size()), atoms.data());
        answer(request, true);
        return;
    }
    const auto value = values_.find(target);
    if (value == values_.end() || manners_ == Manners::Refusing) {
        answer(request, false);
        return;
    }
    if (manners_ == Manners::Incremental || manners_ == Manners::Stalling) {
        const auto size = static_cast<uint32_t>(value->second.size());
        constexpr uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection_->get(), request.requestor, XCB_CW_EVENT_MASK, &events);
        xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            connection_->atom("INCR"), 32, 1, &size);
        if (manners_ == Manners::Incremental)
            outgoing_ = Outgoing{request.requestor, request.property, request.target, value->second};
    } else {
        xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            request.target, 8, static_cast<uint32_t>(value->second.size()),
                            value->second.constData());
    }
    answer(request, true);
}

void ClipboardPeer::answer(const xcb_selection_request_event_t& request, bool served)
{
    union {
        xcb_selection_notify_event_t notify;
        char wire[32];
    } reply{};
    reply.notify.response_type = XCB_SELECTION_NOTIFY;
    reply.notify.time = request.time;
    reply.notify.requestor = request.requestor;
    reply.notify.selection = request.selection;
    reply.notify.target = request.target;
    reply.notify.property = served ? request.property : xcb_atom_t{XCB_ATOM_NONE};
    xcb_send_event(connection_->get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, reply.wire);
    xcb_flush(connection_->get());
    lastAnswer = std::chrono::steady_clock::now();
}

void ClipboardPeer::sendPiece()
{
    const qsizetype size = std::min(pieceSize, outgoing_->rest.size());
    xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, outgoing_->requestor, outgoing_->property,
                        outgoing_->type, 8, static_cast<uint32_t>(size), outgoing_->rest.constData());
    outgoing_->rest.remove(0, size);
    xcb_flush(connection_->get());
    if (size == 0)
        outgoing_.reset();
}

std::optional<ClipboardPeer::Answer> ClipboardPeer::request(const QByteArray& target, xcb_timestamp_t time,
                                                            const QByteArray& multiplePairs)
{
    incoming_.reset();
    done_ = false;
    requestor_ = connection_->createHelperWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
    const xcb_atom_t property = connection_->atom("PEER");
    if (!multiplePairs.isEmpty())
        xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, requestor_, property,
                            connection_->atom("ATOM_PAIR"), 32,
                            static_cast<uint32_t>(multiplePairs.size() / 4), multiplePairs.constData());
    xcb_convert_selection(connection_->get(), requestor_, connection_->atom("CLIPBOARD"),
                          connection_->atom(target), property, time);
    xcb_flush(connection_->get());
    const bool answered = QTest::qWaitFor([this] { return done_; });
    return answered ? incoming_ : std::nullopt;
}

void ClipboardPeer::requestAndAbandon(const QByteArray& target)
{
    requestor_ = XCB_NONE;
    const xcb_window_t window = connection_->createHelperWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
    xcb_convert_selection(connection_->get(), window, connection_->atom("CLIPBOARD"),
                          connection_->atom(target), connection_->atom("PEER"), XCB_CURRENT_TIME);
    xcb_flush(connection_->get());
}

void ClipboardPeer::handleNotify(const xcb_selection_notify_event_t& notify)
{
    if (notify.requestor != requestor_)
        return;
    if (notify.property == XCB_ATOM_NONE) {
        done_ = true;
        return;
    }
    incoming_.emplace();
    handleIncoming();
}

void ClipboardPeer::handleIncoming()
{
    const auto value = replyOf<xcb_get_property_reply>(
        connection_->get(), xcb_get_property(connection_->get(), 1, requestor_, connection_->atom("PEER"),
                                             XCB_ATOM_ANY, 0, 64 * 1024 * 1024));
    if (!value || (value->type == XCB_ATOM_NONE))
        return;
    const QByteArray type = connection_->atomName(value->type);
    if (type == "INCR") {
        incoming_->incremental = true;
        return;
    }
    incoming_->type = type;
    const int length = xcb_get_property_value_length(value.get());
    incoming_->bytes.append(static_cast<const char*>(xcb_get_property_value(value.get())), length);
    done_ = !incoming_->incremental || length == 0;
}

QByteArrayList ClipboardPeer::targets()
{
    QByteArrayList names;
    const auto answer = request("TARGETS");
    if (!answer)
        return names;
    for (qsizetype offset = 0; offset + 4 <= answer->bytes.size(); offset += 4) {
        xcb_atom_t atom = 0;
        memcpy(&atom, answer->bytes.constData() + offset, sizeof atom);
        names << connection_->atomName(atom);
    }
    return names;
}

} // namespace quillmarsh::test
