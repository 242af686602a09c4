#pragma once

#include <QString>

#include <optional>

namespace quillmarsh {

class KeyboardLayout;

/// The short text of a key on a shortcut.
namespace KeyCodeTranslator {

/// The fixed name of a named key, else the upper-cased character of the current layout, else "Key(CODE)".
/// Never empty; a code outside 0 to 65535 takes the last form.
[[nodiscard]] QString string(qint64 keyCode, const KeyboardLayout& layout);

/// "Return", "F5", "←"…; none for character keys.
[[nodiscard]] std::optional<QString> specialKeyName(qint64 keyCode);

} // namespace KeyCodeTranslator

} // namespace quillmarsh
