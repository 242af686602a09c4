#pragma once

#include "base/Task.h"

#include <QString>

#include <optional>

namespace quillmarsh {

class KeyPoster;
class Pasteboard;

/// Obtains the text that the user has selected in whatever application is in front, by making that
/// application copy it, and replaces it by making it paste. Keeps no text of its own.
class ClipboardService final
{
public:
    /// Both outlive the service.
    ClipboardService(Pasteboard& pasteboard, KeyPoster& keys) : pasteboard_(&pasteboard), keys_(&keys) {}

    /// The selection, or none when nothing new reached the clipboard as plain text within 200 ms: no
    /// selection, no copy in that application, or something other than text. One check after one fixed wait.
    Task<std::optional<QString>> copySelectedText() const;
    /// Puts `text` on the clipboard; false when another program keeps it.
    Task<bool> place(QString text) const;
    /// Whether the clipboard still holds `text`, last placed at `changeCount`.
    Task<bool> holds(QString text, qint64 changeCount) const;
    Task<qint64> changeCount() const;
    /// Announces a paste, some ten milliseconds ahead.
    void preparePaste() const;
    /// Makes the front application paste; false when nothing was posted, or nobody took the text.
    Task<bool> paste() const;

private:
    Pasteboard* pasteboard_;
    KeyPoster* keys_;
};

} // namespace quillmarsh
