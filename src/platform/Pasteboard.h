#pragma once

#include "base/Task.h"

#include <QString>

#include <optional>

namespace quillmarsh {

/// The general clipboard, its plain text and its change counter.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;

    /// Grows with every new owner or content of the clipboard, also with our own; a clear without a new owner
    /// does not count. The value is current when the task completes.
    virtual Task<qint64> changeCount() = 0;
    /// The plain-text item, none when there is none or its owner does not hand it over within one second.
    virtual Task<std::optional<QString>> string() = 0;
    /// Clears the clipboard and puts `text` on it as plain text. True when the clipboard verifiably is ours
    /// afterwards; false (logged) when another program kept it.
    virtual Task<bool> setString(QString text) = 0;
    /// Whether the application took our text after it was told to paste: false after a second in which nobody
    /// asked for it, as where the text cannot be changed. True where the platform cannot tell.
    virtual Task<bool> wasRead() = 0;
    /// Hands what we own to a clipboard manager before the process ends, waiting half a second at most.
    virtual Task<> persist() = 0;
};

} // namespace quillmarsh
