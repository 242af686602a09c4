#pragma once

#include "platform/linux/Xcb.h"

#include <set>
#include <vector>

namespace quillmarsh {

/// The device that keys injected through XTEST come from; 0 when there is none.
[[nodiscard]] uint16_t findXTestKeyboard(xcb_connection_t* connection);

/// Those of the keys that the user's keyboards hold down themselves, whatever has been lifted by XTEST for
/// the applications.
[[nodiscard]] std::set<xcb_keycode_t> keysHeldByUser(xcb_connection_t* connection);

/// Asks for XI_RawKeyRelease of every keyboard, or for nothing. These tell which device a key belongs to, and
/// arrive while another program grabs the keyboard.
void selectRawKeyReleases(xcb_connection_t* connection, xcb_window_t root, bool on);
/// The same for XI_RawKeyPress and XI_RawButtonPress, independently; an event may come once for the device
/// and once for its master.
void selectRawPresses(xcb_connection_t* connection, xcb_window_t root, bool on);

/// Whether a program holds one of the key's combinations (`modifiers` with each of `lockVariants`) by a grab
/// of XInput 2. Those and core grabs never refuse each other, the newest silently wins (measured); so a grab
/// of the same kind is tried and given back at once.
[[nodiscard]] bool isGrabbedThroughInput2(xcb_connection_t* connection, xcb_window_t root,
                                          xcb_keycode_t keycode, uint16_t modifiers,
                                          const std::vector<uint16_t>& lockVariants);

} // namespace quillmarsh
