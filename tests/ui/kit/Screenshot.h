#pragma once

#include <QDir>
#include <QQuickWindow>

namespace quillmarsh::test {

/// Saves what `window` shows, to be looked at: `name`@SCALEx.png in the folder QUILLMARSH_SCREENSHOTS, or in
/// "screenshots" below the working folder.
inline bool saveScreenshot(QQuickWindow& window, const QString& name)
{
    const QString folder = qEnvironmentVariable("QUILLMARSH_SCREENSHOTS", QStringLiteral("screenshots"));
    QDir().mkpath(folder);
    const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
    return window.grabWindow().save(QStringLiteral("%1/%2@%3x.png").arg(folder, name, scale));
}

} // namespace quillmarsh::test
