#pragma once

#include "platform/EventTap.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace quillmarsh {

class KeyboardLayout;

/// One writing action: what the user keeps in the product.
struct InstructionShortcut
{
    QUuid id;                           ///< identity; stays the same across edits
    QString name;                       ///< menu, editor, overlay title
    QString instruction;                ///< what the back end is told
    QString icon;                       ///< a symbol name
    std::optional<qint64> keyCode;      ///< virtual key code, 0 to 65535 when used
    std::optional<qint64> modifiersRaw; ///< event-flag word, see ModifierFlags

    bool operator==(const InstructionShortcut&) const = default;

    /// Exactly when both optional fields are present.
    [[nodiscard]] bool hasShortcut() const { return keyCode.has_value() && modifiersRaw.has_value(); }
    /// What the keyboard is asked for; none without a shortcut or with a key code out of range.
    [[nodiscard]] std::optional<KeyCombination> combination() const;
    /// "⌃⌥⇧⌘" as present, then the key ("⇧⌘R"); none without a shortcut.
    [[nodiscard]] std::optional<QString> hotkeyDisplayString(const KeyboardLayout& layout) const;

    /// The built-in list, with fresh ids each time.
    [[nodiscard]] static std::vector<InstructionShortcut> defaultShortcuts();
};

/// The modifier symbols of `modifiersRaw` in display order, then the key's text, with nothing between.
[[nodiscard]] QString shortcutDisplayString(qint64 keyCode, qint64 modifiersRaw,
                                            const KeyboardLayout& layout);

/// A JSON array in display order. "keyCode" and "modifiersRaw" are written only when they have a value.
[[nodiscard]] QByteArray encodeShortcuts(const std::vector<InstructionShortcut>& shortcuts);
/// None when any element lacks a required member or has one of a wrong type.
[[nodiscard]] std::optional<std::vector<InstructionShortcut>> decodeShortcuts(const QByteArray& json);

} // namespace quillmarsh
