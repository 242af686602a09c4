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

signals:
    /// Another layout or group is in force; shortcut texts read anew.
    void changed();
};

} // namespace quillmarsh
