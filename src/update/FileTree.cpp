#include "update/FileTree.h"

#include "update/FileError.h"

#include <QFile>
#include <QPromise>
#include <QThreadPool>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

namespace fs = std::filesystem;

namespace {

bool removeEntry(const fs::path& path)
{
    std::error_code error;
    if (fs::symlink_status(path, error).type() == fs::file_type::directory) {
        fs::permissions(path, fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow,
                        error);
        // The folder is read to its end before it changes.
        std::vector<fs::path> children;
        for (fs::directory_iterator entry(path, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            children.push_back(entry->path());
        for (const fs::path& child : children)
            removeEntry(child);
    }
    fs::remove(path, error);
    return !error;
}

std::error_code copyNow(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    return error;
}

} // namespace

fs::path toPath(const QString& path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

bool exists(const QString& path)
{
    std::error_code error;
    return fs::symlink_status(toPath(path), error).type() != fs::file_type::not_found;
}

bool removeTree(const QString& path)
{
    return removeEntry(toPath(path));
}

Task<> copyTree(QString from, QString to)
{
    const auto promise = std::make_shared<QPromise<std::error_code>>();
    QFuture<std::error_code> copied = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, from, to] {
        promise->addResult(copyNow(toPath(from), toPath(to)));
        promise->finish();
    });
    const std::error_code error = co_await copied;
    if (error)
        throw FileError(error);
}

} // namespace quillmarsh
