#include "update/WorkingFolder.h"

#include "update/FileError.h"
#include "update/FileTree.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillmarsh {

namespace {

/// A descriptor of the folder that holds its lock, or -1. Children do not inherit it.
int lockFolder(const QByteArray& path)
{
    const int descriptor = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor >= 0 && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    if (descriptor >= 0)
        ::close(descriptor);
    return -1;
}

bool isOwnFolder(const QByteArray& path)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

bool hasUniqueName(const QString& name, const QString& prefix)
{
    const QString unique = name.mid(prefix.size());
    return name.startsWith(prefix) && QUuid::fromString(unique).toString(QUuid::WithoutBraces) == unique;
}

} // namespace

WorkingFolder::WorkingFolder(const QString& parent, const QString& prefix)
    : path_(QDir(parent).absoluteFilePath(prefix + QUuid::createUuid().toString(QUuid::WithoutBraces)))
{
    QDir().mkpath(parent);
    const QByteArray path = QFile::encodeName(path_);
    // The mode is set again because a folder may hand its group bit down to what is made in it.
    if (::mkdir(path.constData(), S_IRWXU) != 0 || ::chmod(path.constData(), S_IRWXU) != 0)
        throw FileError::last();
    lock_ = lockFolder(path);
}

WorkingFolder::~WorkingFolder()
{
    remove();
    if (lock_ >= 0)
        ::close(lock_);
}

void WorkingFolder::remove()
{
    if (isOwnFolder(QFile::encodeName(path_)))
        removeTree(path_);
}

void WorkingFolder::removeAbandoned(const QString& parent, const QString& prefix)
{
    const QDir folder(parent);
    const QStringList names =
        folder.entryList({prefix + QLatin1Char('*')}, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& name : names) {
        const QString path = folder.absoluteFilePath(name);
        if (!hasUniqueName(name, prefix) || !isOwnFolder(QFile::encodeName(path)))
            continue;
        const int lock = lockFolder(QFile::encodeName(path));
        if (lock < 0)
            continue;
        removeTree(path);
        ::close(lock);
    }
}

} // namespace quillmarsh
