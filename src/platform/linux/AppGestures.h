#pragma once

#include "platform/linux/XWindows.h"

#include <optional>
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

/// What an application understands by Copy and Paste.
enum class Habit {
    Ordinary,    ///< Control-C and Control-V
    Mixed,       ///< Control-Insert and Control-V: a terminal is part of it, where Control-C interrupts
    InsertKeys,  ///< Control-Insert and Shift-Insert: Control-C is typed over the selection
    Terminal,    ///< Control-Shift-C and -V: Control-C alone interrupts the program in it
    AltTerminal, ///< Control-Alt-C and -V, for the same reason
    CopyInsert,  ///< Control-Insert, as Control-C is a prefix key; nothing pastes over the selection
    Unsupported, ///< no key copies to the clipboard, or the key goes to another machine
};

/// The habit of an application that is known by its window class; none for any other.
[[nodiscard]] std::optional<Habit> knownHabit(const WindowClass& windowClass);

/// How to press a gesture, best first; the next one is meant for a keyboard without the key of the one
/// before. Empty when nothing is safe.
[[nodiscard]] std::vector<KeyStroke> strokesFor(Gesture gesture, Habit habit);

/// Whether all of it is a terminal, which pastes at its prompt whatever is selected.
[[nodiscard]] bool isTerminal(Habit habit);

/// Whether an application may act on pasting `utf8` as on typing it: a terminal hands a line break to a shell
/// without bracketed paste, which runs the line, and any other control character to the program in it as the
/// key of that name.
[[nodiscard]] bool wouldExecute(const QByteArray& utf8, Habit habit);

} // namespace quillmarsh
