#pragma once

#include "base/Task.h"

#include <QtGlobal>

namespace quillmarsh {

/// Synthesises key presses into the focused application.
class KeyPoster
{
public:
    virtual ~KeyPoster() = default;

    /// Presses and releases one virtual key with exactly `flags` (ModifierFlags), whatever modifiers the user
    /// still holds, and leaves no key down. The pairs (VirtualKey::c, command) and (VirtualKey::v, command)
    /// stand for the gestures Copy and Paste and become what the front application understands by them.
    /// Returns false, with the reason in the log, when nothing was posted: no safe gesture is known for the
    /// front application, or the modifier state could not be made exact.
    virtual Task<bool> post(quint16 keyCode, quint64 flags) = 0;
};

} // namespace quillmarsh
