#pragma once

#include "platform/linux/XWindows.h"

#include <vector>

namespace quillmarsh {

enum class Gesture { Copy, Paste };

/// One way to press a gesture: a key, found by what it yields, with exactly the given ModifierFlags.
struct KeyStroke
{
    uint32_t symbol = 0; ///< X key symbol
    quint64 flags = 0;

    bool operator==(const KeyStroke&) const = default;
};

/// What an application of this window class understands by a gesture, best first; the next one is meant for a
/// keyboard without the key of the one before. Empty when nothing is safe.
[[nodiscard]] std::vector<KeyStroke> strokesFor(Gesture gesture, const WindowClass& windowClass);

/// Whether an application of this window class may act on pasting `utf8` as on typing it: a terminal hands a
/// line break to a shell without bracketed paste, which runs the line, and any other control character to the
/// program in it as the key of that name.
[[nodiscard]] bool wouldExecute(const QByteArray& utf8, const WindowClass& windowClass);

} // namespace quillmarsh
