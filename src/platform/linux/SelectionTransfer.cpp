#include "platform/linux/SelectionTransfer.h"

#include "base/Log.h"
#include "platform/linux/SelectionCounter.h"
#include "platform/linux/XConnection.h"

#include <algorithm>

namespace quillmarsh {

using Kind = SelectionAnswer::Kind;

SelectionTransfer::SelectionTransfer(XConnection& connection, SelectionCounter& counter,
                                     SelectionQuestion question)
    : connection_(connection), counter_(counter), question_(std::move(question))
{
    property_ = connection_.atom("QUILLMARSH_SELECTION");
    limit_.setSingleShot(true);
    connect(&limit_, &QTimer::timeout, this,
            [this] { giveUp(Kind::Late, "its owner did not answer in time"); });
    connect(&connection_, &XConnection::received, this, &SelectionTransfer::handle);
    connect(&counter_, &SelectionCounter::ownerChanged, this, [this](quint32 owner) {
        const bool isAsked = question_.selection == "CLIPBOARD" && window_ != XCB_NONE && !ended_;
        if (owner != XCB_NONE && isAsked)
            begin(); // the newest owner counts
    });
}

SelectionTransfer::~SelectionTransfer()
{
    abandonWindow();
}

void SelectionTransfer::start()
{
    limit_.start(question_.limit);
    begin();
}

void SelectionTransfer::abandonWindow()
{
    if (window_ == XCB_NONE)
        return;
    xcb_destroy_window(connection_.get(), window_);
    window_ = XCB_NONE;
    incremental_.reset();
    xcb_flush(connection_.get());
}

void SelectionTransfer::begin()
{
    abandonWindow();
    window_ = connection_.createHelperWindow(XCB_EVENT_MASK_PROPERTY_CHANGE);
    candidates_.clear();
    for (const QByteArray& target : question_.targets)
        candidates_.push_back(connection_.atom(target));
    tryNext();
}

void SelectionTransfer::tryNext()
{
    if (candidates_.empty()) {
        giveUp(Kind::None, nullptr);
        return;
    }
    const xcb_atom_t target = candidates_.front();
    candidates_.erase(candidates_.begin());
    convert(target);
}

void SelectionTransfer::convert(xcb_atom_t target)
{
    asked_ = target;
    const bool isClipboard = question_.selection == "CLIPBOARD";
    xcb_convert_selection(connection_.get(), window_, connection_.atom(question_.selection), target,
                          property_, isClipboard ? counter_.lastClaim() : XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
}

void SelectionTransfer::handle(const xcb_generic_event_t& event)
{
    if (ended_)
        return;
    if (eventType(event) == XCB_SELECTION_NOTIFY) {
        const auto& notify = eventAs<xcb_selection_notify_event_t>(event);
        if (notify.requestor == window_ && notify.target == asked_)
            handleNotify(notify);
    } else if (eventType(event) == XCB_PROPERTY_NOTIFY && incremental_) {
        const auto& change = eventAs<xcb_property_notify_event_t>(event);
        if (change.window == window_ && change.atom == property_ && change.state == XCB_PROPERTY_NEW_VALUE)
            handleChunk();
    }
}

XcbPtr<xcb_get_property_reply_t> SelectionTransfer::takeProperty()
{
    const auto units = static_cast<uint32_t>(question_.longest / 4 + 1); // of four bytes
    return replyOf<xcb_get_property_reply>(
        connection_.get(),
        xcb_get_property(connection_.get(), 1, window_, property_, XCB_ATOM_ANY, 0, units));
}

void SelectionTransfer::handleNotify(const xcb_selection_notify_event_t& notify)
{
    if (notify.property == XCB_ATOM_NONE) {
        tryNext(); // refused
        return;
    }
    const auto value = takeProperty();
    if (!value || value->bytes_after > 0) {
        giveUp(Kind::None, "it is too large");
        return;
    }
    const auto* const data = static_cast<const char*>(xcb_get_property_value(value.get()));
    if (value->type == connection_.atom("INCR")) {
        incremental_.emplace(); // taking the property was the sign to begin
        incrementalType_ = XCB_ATOM_NONE;
    } else if (asked_ == connection_.atom("TARGETS")) {
        const auto* const atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(value.get()));
        chooseFrom(value->format == 32 ? std::vector<xcb_atom_t>(atoms, atoms + value->value_len)
                                       : std::vector<xcb_atom_t>());
    } else if (value->format == 8) {
        end({Kind::Value, QByteArray(data, static_cast<qsizetype>(value->value_len)),
             connection_.atomName(value->type)});
    } else {
        tryNext();
    }
}

void SelectionTransfer::chooseFrom(const std::vector<xcb_atom_t>& targets)
{
    for (const char* name : {"text/plain;charset=utf-8", "STRING", "TEXT", "text/plain"}) {
        const xcb_atom_t target = connection_.atom(name);
        if (std::find(targets.begin(), targets.end(), target) != targets.end())
            candidates_.push_back(target);
    }
    tryNext();
}

void SelectionTransfer::handleChunk()
{
    const auto value = takeProperty();
    if (!value || value->type == XCB_ATOM_NONE)
        return;
    if (value->value_len == 0) {
        end({Kind::Value, *incremental_, connection_.atomName(incrementalType_)});
        return;
    }
    incrementalType_ = value->type;
    incremental_->append(static_cast<const char*>(xcb_get_property_value(value.get())),
                         xcb_get_property_value_length(value.get()));
    if (incremental_->size() > question_.longest)
        giveUp(Kind::None, "it is too large");
}

void SelectionTransfer::end(const SelectionAnswer& answer)
{
    if (std::exchange(ended_, true))
        return;
    limit_.stop();
    abandonWindow(); // not at destruction, which may come after that of the connection
    emit finished(answer);
}

void SelectionTransfer::giveUp(Kind kind, const char* reason)
{
    if (reason && !ended_)
        qCInfo(lcQuillmarsh, "The selection %s was not read: %s", question_.selection.constData(), reason);
    end({kind, {}, {}});
}

} // namespace quillmarsh
