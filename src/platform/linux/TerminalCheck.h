#pragma once

#include "platform/linux/AppGestures.h"

namespace quillmarsh {

/// The habit of the application whose window is `target`. One that the table of window classes does not know
/// is a terminal when its desktop entry says so, or its process has a pseudo-terminal: holds the master's
/// end, or, where that cannot be seen, has a child that leads a session on one. What a terminal understands
/// by Copy is then unknown, and Control-C, also with Shift, may interrupt the program in it: nothing is safe.
/// A program of another kind with a pseudo-terminal is an editor with a terminal in it. The entry is the one
/// the window names, one with the name of its class, or one that claims its class. A window of another
/// machine, or of a terminal whose process is hidden from this one, is known by its class only.
[[nodiscard]] Habit habitOf(const WindowIdentity& target);

/// Whether the process `id` has a pseudo-terminal; false when nothing can be learned of it.
[[nodiscard]] bool hasPseudoTerminal(qint64 id);

} // namespace quillmarsh
