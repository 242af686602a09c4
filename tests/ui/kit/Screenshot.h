#pragma once

#include <QDir>
#include <QQuickWindow>

namespace quillmarsh::test {

/// Saves what `window` shows, to be looked at: `name`@SCALEx.png in the folder QUILLMARSH_SCREENSHOTS, or in
/// "screenshots" below the working folder. `part` is in device-independent pixels; a null one means all of
/// it.
inline bool saveScreenshot(QQuickWindow& window, const QString& name, const QRect& part = {})
{
    const QString folder = qEnvironmentVariable("QUILLMARSH_SCREENSHOTS", QStringLiteral("screenshots"));
    QDir().mkpath(folder);
    const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
    QImage image = window.grabWindow();
    const qreal ratio = image.devicePixelRatio();
    if (!part.isNull())
        image = image.copy(QRect((part.topLeft() * ratio), part.size() * ratio));
    return image.save(QStringLiteral("%1/%2@%3x.png").arg(folder, name, scale));
}

} // namespace quillmarsh::test
