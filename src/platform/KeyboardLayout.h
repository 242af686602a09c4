#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace quillmarsh {

/// The user's current keyboard layout.
class KeyboardLayout : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// What the key yields with no modifiers (at most four UTF-16 units); none when it yields nothing.
    [[nodiscard]] virtual std::optional<QString> character(quint16 keyCode) const = 0;
    /// The virtual key code of a key press that a window of ours got (QKeyEvent::nativeScanCode); none for a
    /// key without one.
    [[nodiscard]] virtual std::optional<quint16> keyCode(quint32 nativeScanCode) const = 0;

signals:
    /// Another layout or group is in force; shortcut texts read anew.
    void changed();
};

} // namespace quillmarsh
