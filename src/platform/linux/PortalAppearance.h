#pragma once

#include "platform/DesktopAppearance.h"

class QDBusMessage;
class QDBusPendingCallWatcher;

namespace quillmarsh {

/// The desktop's settings through org.freedesktop.portal.Settings. Asked once, without waiting, and followed
/// from then on; off as long as nothing has answered. No portal tells of reduced transparency.
class PortalAppearance final : public DesktopAppearance
{
    Q_OBJECT

public:
    PortalAppearance();

    [[nodiscard]] bool reduceMotion() const override { return noAnimations_ || reducedMotion_; }
    [[nodiscard]] bool reduceTransparency() const override { return false; }
    [[nodiscard]] bool increaseContrast() const override { return highContrast_ || moreContrast_; }

private slots:
    void settingChanged(const QDBusMessage& message);

private:
    void readAll();
    void readAnswer(QDBusPendingCallWatcher* call);
    /// Whether what is reported changed.
    bool take(const QString& group, const QString& key, const QVariant& value);

    bool noAnimations_ = false;  ///< org.gnome.desktop.interface enable-animations is false
    bool reducedMotion_ = false; ///< org.freedesktop.appearance reduced-motion is 1
    bool highContrast_ = false;  ///< org.gnome.desktop.a11y.interface high-contrast
    bool moreContrast_ = false;  ///< org.freedesktop.appearance contrast is 1
};

} // namespace quillmarsh
