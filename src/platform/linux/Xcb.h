#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace quillmarsh {

struct FreeDeleter
{
    void operator()(void* memory) const { std::free(memory); }
};

/// A reply, an error or an event: memory of the C library that somebody has to free.
template <typename T>
using XcbPtr = std::unique_ptr<T, FreeDeleter>;

/// Waits for the reply of a request; null when the server answered with an error or is gone.
/// `auto tree = replyOf<xcb_query_tree_reply>(connection, xcb_query_tree(connection, window));`
template <auto ReplyFunction, typename Cookie>
[[nodiscard]] auto replyOf(xcb_connection_t* connection, Cookie cookie)
{
    xcb_generic_error_t* error = nullptr;
    auto* const reply = ReplyFunction(connection, cookie, &error);
    std::free(error);
    return XcbPtr<std::remove_pointer_t<decltype(reply)>>(reply);
}

/// Waits until the server carried out a checked request; false when it answered with an error.
[[nodiscard]] inline bool succeeded(xcb_connection_t* connection, xcb_void_cookie_t cookie)
{
    return !XcbPtr<xcb_generic_error_t>(xcb_request_check(connection, cookie));
}

/// The number of an event without the bit that marks it as sent by another client.
[[nodiscard]] inline uint8_t eventType(const xcb_generic_event_t& event)
{
    return event.response_type & 0x7F;
}

/// Events and their structures share their first 32 bytes by the protocol's definition.
template <typename Event>
[[nodiscard]] const Event& eventAs(const xcb_generic_event_t& event)
{
    return *static_cast<const Event*>(static_cast<const void*>(&event));
}

} // namespace quillmarsh
