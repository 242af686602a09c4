#include "platform/linux/SelectionOwner.h"

#include "base/Log.h"
#include "platform/linux/IncrementalSender.h"
#include "platform/linux/XConnection.h"

#include <QString>

#include <algorithm>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

/// Server times are milliseconds in 32 bits; they wrap every 49.7 days. A text may be on the clipboard for
/// weeks, while what was sent before it came there is on its way for seconds.
bool isJustBefore(xcb_timestamp_t time, xcb_timestamp_t reference)
{
    constexpr xcb_timestamp_t longestWay = std::chrono::milliseconds(1h).count();
    const xcb_timestamp_t age = reference - time;
    return age > 0 && age <= longestWay;
}

// Another program may claim the clipboard between our reading of the time and our claim.
constexpr int claimAttempts = 3;
constexpr auto managerLimit = 500ms;

std::optional<QByteArray> asLatin1(const QByteArray& utf8)
{
    const QString text = QString::fromUtf8(utf8);
    const bool fits =
        std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() < 0x100; });
    if (!fits)
        return std::nullopt; // a paste with question marks in it would be the wrong text
    return text.toLatin1();
}

} // namespace

SelectionOwner::SelectionOwner(XConnection& connection)
    : connection_(connection), window_(connection.createHelperWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
      incremental_(std::make_unique<IncrementalSender>(connection)), guard_(connection)
{
    persistLimit_.setSingleShot(true);
    connect(&persistLimit_, &QTimer::timeout, this, &SelectionOwner::finishPersisting);
    connect(&connection_, &XConnection::received, this, &SelectionOwner::handle);
}

SelectionOwner::~SelectionOwner()
{
    finishPersisting();
    xcb_destroy_window(connection_.get(), window_);
    xcb_flush(connection_.get());
}

bool SelectionOwner::own(QByteArray utf8)
{
    connection_.synchronize();
    if (utf8 == text_ && guard_.isTakenByUser())
        return false;
    text_ = std::move(utf8);
    latin1_ = asLatin1(text_);
    guard_.textPlaced();
    const bool owned = claim();
    placed_ = claimed_;
    return owned;
}

bool SelectionOwner::claim()
{
    xcb_connection_t* const connection = connection_.get();
    const xcb_atom_t clipboard = connection_.atom("CLIPBOARD");
    for (int attempt = 0; attempt < claimAttempts; ++attempt) {
        // A claim with an old time is ignored without a word (measured), hence a fresh one and the question.
        const xcb_timestamp_t now = serverTime();
        xcb_set_selection_owner(connection, window_, clipboard, now);
        const auto owner = replyOf<xcb_get_selection_owner_reply>(
            connection, xcb_get_selection_owner(connection, clipboard));
        owning_ = owner && owner->owner == window_;
        if (owning_) {
            claimed_ = now;
            connection_.synchronize(); // so that the change counter knows of it
            return true;
        }
    }
    qCWarning(lcQuillmarsh, "Another program keeps the clipboard");
    return false;
}

xcb_timestamp_t SelectionOwner::serverTime()
{
    xcb_change_property(connection_.get(), XCB_PROP_MODE_APPEND, window_, connection_.atom("QUILLMARSH_TIME"),
                        XCB_ATOM_STRING, 8, 0, nullptr);
    connection_.synchronize(); // the notice that carries the time comes before the answer
    return serverTime_;
}

std::optional<QByteArray> SelectionOwner::ownText() const
{
    if (!owning_)
        return std::nullopt;
    return text_;
}

bool SelectionOwner::secureForPaste(xcb_window_t target)
{
    connection_.synchronize();
    if (!guard_.isPlaced())
        return true;
    if (!owning_ && (!guard_.isDue() || guard_.isTakenByUser()))
        return false;
    guard_.pasteBegins(target);
    return owning_ || claim();
}

void SelectionOwner::reclaim()
{
    connection_.synchronize();
    if (!owning_ && guard_.mayReclaim())
        std::ignore = claim();
}

void SelectionOwner::handle(const xcb_generic_event_t& event)
{
    switch (eventType(event)) {
    case XCB_SELECTION_REQUEST:
        handleRequest(eventAs<xcb_selection_request_event_t>(event));
        break;
    case XCB_SELECTION_CLEAR:
        handleClear(eventAs<xcb_selection_clear_event_t>(event));
        break;
    case XCB_SELECTION_NOTIFY:
        if (eventAs<xcb_selection_notify_event_t>(event).requestor == window_)
            finishPersisting();
        break;
    case XCB_PROPERTY_NOTIFY:
        if (eventAs<xcb_property_notify_event_t>(event).window == window_)
            serverTime_ = eventAs<xcb_property_notify_event_t>(event).time;
        break;
    default:
        if (eventType(event) == connection_.extensions().xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
            handleNewOwner(eventAs<xcb_xfixes_selection_notify_event_t>(event));
        break;
    }
}

void SelectionOwner::handleNewOwner(const xcb_xfixes_selection_notify_event_t& change)
{
    if (change.selection != connection_.atom("CLIPBOARD") || change.owner == window_)
        return;
    guard_.clipboardTaken(change.owner);
    // Not here: this may be the middle of a claim of our own.
    QMetaObject::invokeMethod(this, &SelectionOwner::reclaim, Qt::QueuedConnection);
}

void SelectionOwner::handleClear(const xcb_selection_clear_event_t& clear)
{
    // One that is older than our claim tells of an owner before it.
    if (clear.owner == window_ && !isJustBefore(clear.time, claimed_))
        owning_ = false;
}

void SelectionOwner::handleRequest(const xcb_selection_request_event_t& request)
{
    if (request.owner != window_)
        return;
    // Old clients name no property and mean the one that has the target's name (ICCCM 2.2).
    const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
    // An application asks with the time of its paste key, which is before our claim when we took the text
    // back.
    const bool current = owning_ && request.selection == connection_.atom("CLIPBOARD") &&
                         (request.time == XCB_CURRENT_TIME || !isJustBefore(request.time, placed_));
    const bool served = current && convert(request.requestor, request.target, property);
    answer(request, served ? property : xcb_atom_t{XCB_ATOM_NONE});
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request, xcb_atom_t property)
{
    // Every event is 32 bytes on the wire; the structure is shorter.
    union {
        xcb_selection_notify_event_t notify;
        char wire[32];
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = request.time;
    event.notify.requestor = request.requestor;
    event.notify.selection = request.selection;
    event.notify.target = request.target;
    event.notify.property = property;
    xcb_send_event(connection_.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.wire);
    xcb_flush(connection_.get());
}

std::vector<xcb_atom_t> SelectionOwner::targets() const
{
    std::vector<xcb_atom_t> atoms;
    for (const char* name : {"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "UTF8_STRING",
                             "text/plain;charset=utf-8", "text/plain", "TEXT"})
        atoms.push_back(connection_.atom(name));
    if (latin1_)
        atoms.push_back(XCB_ATOM_STRING);
    return atoms;
}

bool SelectionOwner::convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property)
{
    if (target == connection_.atom("TARGETS"))
        put(requestor, property, XCB_ATOM_ATOM, targets());
    else if (target == connection_.atom("TIMESTAMP"))
        put(requestor, property, XCB_ATOM_INTEGER, {claimed_});
    else if (target == connection_.atom("SAVE_TARGETS"))
        put(requestor, property, connection_.atom("NULL"), {});
    else if (target == connection_.atom("MULTIPLE"))
        return convertMultiple(requestor, property);
    else
        return convertText(requestor, target, property);
    return true;
}

bool SelectionOwner::convertMultiple(xcb_window_t requestor, xcb_atom_t property)
{
    constexpr uint32_t mostAtoms = 256;
    xcb_connection_t* const connection = connection_.get();
    const auto pairs = replyOf<xcb_get_property_reply>(
        connection, xcb_get_property(connection, 0, requestor, property, XCB_ATOM_ANY, 0, mostAtoms));
    if (!pairs || pairs->format != 32 || pairs->value_len % 2 != 0)
        return false;
    const auto* const first = static_cast<const uint32_t*>(xcb_get_property_value(pairs.get()));
    std::vector<uint32_t> atoms(first, first + pairs->value_len);
    for (size_t index = 0; index < atoms.size(); index += 2) {
        const bool nested = atoms[index] == connection_.atom("MULTIPLE") || atoms[index + 1] == XCB_ATOM_NONE;
        if (nested || !convert(requestor, atoms[index], atoms[index + 1]))
            atoms[index + 1] = XCB_ATOM_NONE;
    }
    put(requestor, property, connection_.atom("ATOM_PAIR"), atoms);
    return true;
}

bool SelectionOwner::convertText(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property)
{
    const xcb_atom_t utf8 = connection_.atom("UTF8_STRING");
    if (target == utf8 || target == connection_.atom("TEXT"))
        send(requestor, property, utf8, text_);
    else if (target == connection_.atom("text/plain;charset=utf-8") ||
             target == connection_.atom("text/plain"))
        send(requestor, property, target, text_);
    else if (target == XCB_ATOM_STRING && latin1_)
        send(requestor, property, target, *latin1_);
    else
        return false;
    guard_.textRequested(requestor);
    return true;
}

void SelectionOwner::put(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                         const std::vector<uint32_t>& values)
{
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, requestor, property, type, 32,
                        static_cast<uint32_t>(values.size()), values.data());
}

void SelectionOwner::send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                          const QByteArray& bytes)
{
    if (bytes.size() > IncrementalSender::threshold) {
        incremental_->begin(requestor, property, type, bytes);
        return;
    }
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, requestor, property, type, 8,
                        static_cast<uint32_t>(bytes.size()), bytes.constData());
}

void SelectionOwner::persist(std::function<void()> done)
{
    finishPersisting();
    connection_.synchronize();
    xcb_connection_t* const connection = connection_.get();
    const xcb_atom_t manager = connection_.atom("CLIPBOARD_MANAGER");
    const auto owner =
        replyOf<xcb_get_selection_owner_reply>(connection, xcb_get_selection_owner(connection, manager));
    if (!owning_ || !owner || owner->owner == XCB_NONE) {
        done();
        return;
    }
    persisted_ = std::move(done);
    persistLimit_.start(managerLimit);
    const xcb_atom_t property = connection_.atom("QUILLMARSH_SAVE_TARGETS");
    put(window_, property, XCB_ATOM_ATOM,
        {connection_.atom("UTF8_STRING"), connection_.atom("text/plain;charset=utf-8")});
    xcb_convert_selection(connection, window_, manager, connection_.atom("SAVE_TARGETS"), property, claimed_);
    xcb_flush(connection);
}

void SelectionOwner::finishPersisting()
{
    persistLimit_.stop();
    if (const auto done = std::exchange(persisted_, nullptr))
        done();
}

} // namespace quillmarsh
