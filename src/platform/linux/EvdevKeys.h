#pragma once

#include <QtGlobal>

#include <optional>
#include <span>

namespace quillmarsh {

/// The one table between virtual key codes (positions of an ANSI keyboard, ModifierFlags.h) and the kernel's
/// key codes. Both name positions, so no layout is involved.
namespace EvdevKeys {

/// X servers number a kernel key eight higher: codes 0 to 7 do not exist in the core protocol.
inline constexpr quint16 xKeycodeOffset = 8;

struct Pair
{
    quint16 virtualKey;
    quint16 evdevCode;
};

/// Every key that has both codes.
[[nodiscard]] std::span<const Pair> table();
/// The X keycode of a virtual key; none when a PC keyboard has no such key.
[[nodiscard]] std::optional<quint8> xKeycode(quint16 virtualKey);
/// The virtual key of an X keycode (1 to 255, what Qt calls the native scan code).
[[nodiscard]] std::optional<quint16> virtualKey(quint32 xKeycode);

} // namespace EvdevKeys

} // namespace quillmarsh
