#pragma once

#include "base/Task.h"

#include <QtGlobal>

#include <chrono>
#include <optional>

namespace quillmarsh {

/// Synthesises key presses into the focused application.
class KeyPoster
{
public:
    virtual ~KeyPoster() = default;

    /// Announces a post some ten milliseconds ahead, so that its keys go out quickly. Presses nothing.
    virtual void prepare() = 0;
    /// Presses and releases one virtual key with exactly `flags` (ModifierFlags), whatever modifiers the user
    /// still holds, and leaves no key down. The pairs (VirtualKey::c, command) and (VirtualKey::v, command)
    /// stand for the gestures Copy and Paste and become what the front application understands by them.
    /// Returns when the keys were out; none, with the reason in the log, when nothing was posted: no safe
    /// gesture is known for the front application, the modifier state could not be made exact, or the user
    /// typed or clicked between Copy and Paste, so that the text would not go where the selection was.
    virtual Task<std::optional<std::chrono::steady_clock::time_point>> post(quint16 keyCode,
                                                                            quint64 flags) = 0;
};

} // namespace quillmarsh
