#include "platform/linux/XConnection.h"

#include "base/Log.h"
#include "platform/linux/XcbXkb.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>

#include <xcb/res.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace quillmarsh {

namespace {

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number)
{
    auto iterator = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; iterator.rem > 1 && number > 0; --number)
        xcb_screen_next(&iterator);
    return iterator.data;
}

const xcb_query_extension_reply_t* present(xcb_connection_t* connection, xcb_extension_t* extension)
{
    const auto* const data = xcb_get_extension_data(connection, extension);
    return data && data->present ? data : nullptr;
}

/// What waits to be sent goes out before there is nothing to take: sending also reads events, which the
/// socket would stay silent about.
xcb_generic_event_t* takeNext(xcb_connection_t* connection, xcb_generic_event_t* (*next)(xcb_connection_t*))
{
    if (auto* const event = next(connection))
        return event;
    xcb_flush(connection);
    return xcb_poll_for_queued_event(connection);
}

} // namespace

std::unique_ptr<XConnection> XConnection::open()
{
    int screenNumber = 0;
    xcb_connection_t* const connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        return nullptr;
    }
    return std::unique_ptr<XConnection>(new XConnection(connection, screenNumber));
}

XConnection::XConnection(xcb_connection_t* connection, int screenNumber)
    : connection_(connection), screen_(screenOf(connection, screenNumber)), screenNumber_(screenNumber)
{
    findExtensions();
    listen();
}

XConnection::~XConnection()
{
    delete notifier_;
    xcb_disconnect(connection_);
}

void XConnection::findExtensions()
{
    for (auto* extension : {&xcb_test_id, &xcb_xfixes_id, &xcb_xkb_id, &xcb_input_id, &xcb_res_id})
        xcb_prefetch_extension_data(connection_, extension);
    extensions_.xtest = present(connection_, &xcb_test_id) != nullptr;
    if (const auto* const xfixes = present(connection_, &xcb_xfixes_id)) {
        // The server refuses requests of an extension whose version was never negotiated.
        if (replyOf<xcb_xfixes_query_version_reply>(connection_, xcb_xfixes_query_version(connection_, 5, 0)))
            extensions_.xfixesEvent = xfixes->first_event;
    }
    if (const auto* const xkb = present(connection_, &xcb_xkb_id)) {
        const auto use =
            replyOf<xcb_xkb_use_extension_reply>(connection_, xcb_xkb_use_extension(connection_, 1, 0));
        extensions_.xkb = use && use->supported;
        extensions_.xkbEvent = xkb->first_event;
    }
    if (const auto* const input = present(connection_, &xcb_input_id)) {
        const auto version = replyOf<xcb_input_xi_query_version_reply>(
            connection_, xcb_input_xi_query_version(connection_, 2, 2));
        if (version && version->major_version >= 2)
            extensions_.inputOpcode = input->major_opcode;
    }
    if (present(connection_, &xcb_res_id)) {
        const auto version =
            replyOf<xcb_res_query_version_reply>(connection_, xcb_res_query_version(connection_, 1, 2));
        extensions_.resources = version && (version->server_major > 1 || version->server_minor >= 2);
    }
}

void XConnection::listen()
{
    notifier_ = new QSocketNotifier(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    connect(notifier_, &QSocketNotifier::activated, this, [this] { dispatchAll(&xcb_poll_for_event); });
    // A wait for a reply also reads events; the socket stays silent about those.
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &XConnection::dispatch);
}

void XConnection::dispatchAll(xcb_generic_event_t* (*next)(xcb_connection_t*))
{
    while (const XcbPtr<xcb_generic_event_t> event{takeNext(connection_, next)}) {
        if (event->response_type != 0)
            emit received(*event);
    }
    if (!isAlive() && notifier_->isEnabled()) {
        notifier_->setEnabled(false);
        qCWarning(lcQuillmarsh, "The connection to the X server is lost");
        emit lost();
    }
}

void XConnection::dispatch()
{
    dispatchAll(&xcb_poll_for_queued_event);
}

void XConnection::synchronize()
{
    const auto reply = replyOf<xcb_get_input_focus_reply>(connection_, xcb_get_input_focus(connection_));
    dispatch();
}

xcb_atom_t XConnection::atom(const QByteArray& name) const
{
    const auto known = atoms_.constFind(name);
    if (known != atoms_.constEnd())
        return *known;
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.constData());
    const auto reply = replyOf<xcb_intern_atom_reply>(connection_, cookie);
    if (!reply)
        return XCB_ATOM_NONE;
    atoms_.insert(name, reply->atom);
    return reply->atom;
}

QByteArray XConnection::atomName(xcb_atom_t atom) const
{
    if (atom == XCB_ATOM_NONE)
        return {};
    const QByteArray known = atoms_.key(atom);
    if (!known.isEmpty())
        return known;
    const auto reply = replyOf<xcb_get_atom_name_reply>(connection_, xcb_get_atom_name(connection_, atom));
    if (!reply)
        return {};
    return QByteArray(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
}

xcb_window_t XConnection::createHelperWindow(uint32_t eventMask) const
{
    const xcb_window_t window = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root(), -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &eventMask);
    return window;
}

} // namespace quillmarsh
