#pragma once

#include <QtGlobal>

namespace quillmarsh {

/// Modifier bits of a shortcut, in the event-flag word that the product stores and compares. On a PC keyboard
/// Command is the Super key and Option is Alt. Only the four bits of `shortcutMask` ever count.
namespace ModifierFlags {
inline constexpr quint64 shift = 0x20000;
inline constexpr quint64 control = 0x40000;
inline constexpr quint64 option = 0x80000;
inline constexpr quint64 command = 0x100000;
inline constexpr quint64 shortcutMask = 0x1E0000;
} // namespace ModifierFlags

/// Virtual key codes are positions of an ANSI keyboard, the same on every desktop.
namespace VirtualKey {
inline constexpr quint16 c = 8;
inline constexpr quint16 v = 9;
inline constexpr quint16 r = 15;
inline constexpr quint16 escape = 53;
} // namespace VirtualKey

} // namespace quillmarsh
