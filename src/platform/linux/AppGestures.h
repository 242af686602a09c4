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

} // namespace quillmarsh
