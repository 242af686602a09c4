#pragma once

#include <QObject>

namespace quillmarsh {

/// What the user asked of every application's looks. Where the desktop does not tell, everything is off.
class DesktopAppearance : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    [[nodiscard]] virtual bool reduceMotion() const = 0;
    [[nodiscard]] virtual bool reduceTransparency() const = 0;
    [[nodiscard]] virtual bool increaseContrast() const = 0;

signals:
    void changed();
};

} // namespace quillmarsh
