#include "update/BundleSwap.h"

#include "base/Log.h"
#include "update/BundleInformation.h"
#include "update/FileError.h"
#include "update/FileTree.h"
#include "update/MoveToApplications.h"
#include "update/UpdateError.h"
#include "update/WorkingFolder.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace quillmarsh {

namespace {

const auto backupPrefix = QStringLiteral("Quillmarsh-backup-");
const auto backupSuffix = QStringLiteral(".app");

std::error_code move(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::rename(toPath(from), toPath(to), error);
    return error;
}

QString newBackupPath(const QString& installed)
{
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return QFileInfo(installed).absolutePath() + QLatin1Char('/') + backupPrefix + unique + backupSuffix;
}

bool isWhole(const QString& bundle)
{
    return BundleInformation::read(bundle).identifier == QLatin1String(bundleIdentifier);
}

bool isBackupName(const QString& name)
{
    if (name.size() <= backupPrefix.size() + backupSuffix.size())
        return false;
    const QString unique = name.mid(backupPrefix.size()).chopped(backupSuffix.size());
    return name == backupPrefix + unique + backupSuffix &&
           QUuid::fromString(unique).toString(QUuid::WithoutBraces) == unique;
}

/// The backups in `folder`, the newest version last. One whose removal was interrupted has no version.
QStringList backups(const QString& folder)
{
    QStringList found;
    for (const QFileInfo& entry :
         QDir(folder).entryInfoList({backupPrefix + u'*'}, QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!entry.isSymLink() && isBackupName(entry.fileName()))
            found.append(entry.absoluteFilePath());
    }
    std::sort(found.begin(), found.end(), [](const QString& a, const QString& b) {
        const auto version = [](const QString& path) {
            return BundleInformation::read(path).version.value_or(QString());
        };
        return MoveToApplications::numericCompare(version(a), version(b)) < 0;
    });
    return found;
}

} // namespace

void swapBundles(const QString& incoming, const QString& installed, const NameExchange& exchange)
{
    const bool hasCopy = exists(installed);
    if (hasCopy && exchange(incoming, installed)) {
        removeTree(incoming); // the old copy by now
        return;
    }
    const QString backup = newBackupPath(installed);
    if (hasCopy) {
        if (const std::error_code error = move(installed, backup))
            throw FileError(error);
    }
    if (move(incoming, installed)) {
        if (hasCopy)
            move(backup, installed);
        throw UpdateError(UpdateError::Kind::InstallFailed);
    }
    if (hasCopy)
        removeTree(backup);
}

std::optional<QString> recoverApplicationsFolder(const QString& folder, const QString& running)
{
    const ApplicationsLock lock(folder);
    if (lock.isTaken())
        return std::nullopt;
    WorkingFolder::removeAbandoned(folder, QLatin1String(stagingFolderPrefix));
    QStringList left = backups(folder);
    const QString installed = folder + QLatin1Char('/') + QLatin1String(bundleName);
    std::optional<QString> moved;
    if (!left.isEmpty() && isWhole(left.last()) && !exists(installed)) {
        const QString backup = left.takeLast();
        const bool isBack = !move(backup, installed);
        qCWarning(lcQuillmarsh, "An update was interrupted; the previous copy %s",
                  isBack ? "is back in place" : "could not be put back");
        if (isBack && backup == running)
            moved = installed;
    }
    left.removeAll(running);
    if (isWhole(installed))
        std::for_each(left.begin(), left.end(), removeTree);
    return moved;
}

ApplicationsLock::ApplicationsLock(const QString& folder)
    : descriptor_(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    isTaken_ = descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

ApplicationsLock::~ApplicationsLock()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

} // namespace quillmarsh
