#include "platform/linux/LinuxBundle.h"

#include "platform/linux/BundleFolder.h"

#include <QCoreApplication>
#include <QFile>

namespace quillmarsh {

namespace {

bool isInSandbox()
{
    return QFile::exists(QStringLiteral("/.flatpak-info")) || qEnvironmentVariableIsSet("SNAP");
}

/// /usr/local is the administrator's own, /usr otherwise the distribution's (Filesystem Hierarchy Standard
/// 4).
bool isDistributionFolder(const QString& path)
{
    const bool local = path.startsWith(QLatin1String("/usr/local/"));
    return (path.startsWith(QLatin1String("/usr/")) && !local) || path.startsWith(QLatin1String("/opt/"));
}

} // namespace

LinuxBundle::LinuxBundle() : LinuxBundle(QCoreApplication::applicationDirPath()) {}

LinuxBundle::LinuxBundle(const QString& executableFolder)
    : path_(executableFolder),
      packageManaged_(isInSandbox() || isDistributionFolder(executableFolder + QLatin1Char('/')))
{
    if (const auto bundle = BundleFolder::around(executableFolder)) {
        path_ = bundle->path();
        info_ = bundle->infoDictionary();
    }
}

} // namespace quillmarsh
