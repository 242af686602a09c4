#pragma once

#include "base/LocalizedError.h"
#include "base/Task.h"

#include <QString>

#include <functional>
#include <optional>

namespace quillmarsh {

class Bundle;
class Workspace;

/// The running bundle is in none of the Applications folders, or only an older copy is.
class InstallationError final : public LocalizedError
{
public:
    InstallationError();
};

/// Where the application lives, and how a copy that was started elsewhere gets there.
namespace MoveToApplications {

/// Whether `path` lies, at any depth, below the system's Applications folder or the one of `home`.
[[nodiscard]] bool
isInApplicationsFolder(const QString& path, const QString& home,
                       const QString& systemApplications = QStringLiteral("/Applications"));

/// The first installed copy, the system's before the user's, that has this identifier and is not older than
/// `version`. None when the identifier or the version is missing.
[[nodiscard]] std::optional<QString>
installedCopy(const std::optional<QString>& identifier, const std::optional<QString>& version,
              const QString& home, const QString& systemApplications = QStringLiteral("/Applications"));

/// Negative, zero or positive as `a` is lower than, equal to or higher than `b`. Runs of digits compare by
/// value.
[[nodiscard]] int numericCompare(QStringView a, QStringView b);

/// Opens the bundle at `copy` as a new instance that takes over from this one, then calls `terminate`. Throws
/// InstallationError when there is no copy, or when it is only another name of the bundle at `running`;
/// LocalizedError when it does not open.
[[nodiscard]] Task<> openInstalledCopy(std::optional<QString> copy, QString running, Workspace* workspace,
                                       std::function<void()> terminate);

/// Shows the running bundle in the file manager. A copy that the system runs from a random place shows the
/// user's Downloads folder instead.
[[nodiscard]] Task<> showDownload(QString bundlePath, Workspace* workspace);

} // namespace MoveToApplications

} // namespace quillmarsh
