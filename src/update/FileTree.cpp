#include "update/FileTree.h"

#include "update/FileError.h"

#include <QFile>
#include <QPromise>
#include <QThreadPool>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>

#include <qcoro/qcorofuture.h>

#include <fcntl.h>
#include <unistd.h>

namespace quillmarsh {

namespace fs = std::filesystem;

namespace {

bool isFolder(const fs::path& path)
{
    std::error_code error;
    return fs::symlink_status(path, error).type() == fs::file_type::directory;
}

/// Lets the owner in, and move the folder elsewhere.
void letOwnerIn(const fs::path& folder)
{
    std::error_code error;
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add | fs::perm_options::nofollow, error);
}

/// What is in a folder, read to its end before anything changes there.
std::vector<fs::path> openedContent(const fs::path& folder)
{
    letOwnerIn(folder);
    std::vector<fs::path> content;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        content.push_back(entry->path());
    return content;
}

/// Removes the folder `path` in `top`. Folders in it come up to `top` first, and are handed back: so no path
/// grows, as an archive can hold folders deeper than the system takes a path.
std::vector<fs::path> removeLevel(const fs::path& path, const fs::path& top)
{
    std::vector<fs::path> raised;
    std::error_code error;
    for (const fs::path& child : openedContent(path)) {
        if (!isFolder(child)) {
            fs::remove(child, error);
            continue;
        }
        letOwnerIn(child);
        const fs::path place = top / QUuid::createUuid().toByteArray().toStdString();
        fs::rename(child, place, error);
        if (!error)
            raised.push_back(place);
    }
    fs::remove(path, error);
    return raised;
}

std::error_code copyNow(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    if (error)
        return error;
    // Folders are made with the user's mask; their modes belong to what was signed.
    for (fs::recursive_directory_iterator entry(from, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::file_status status = entry->symlink_status(error);
        if (!error && status.type() == fs::file_type::directory)
            fs::permissions(to / entry->path().lexically_relative(from), status.permissions(), error);
    }
    if (!error)
        fs::permissions(to, fs::status(from, error).permissions(), error);
    return error;
}

std::error_code syncEntry(const fs::path& path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    std::error_code error;
    // EINVAL: the file system does not know how; then there is nothing to wait for.
    if (descriptor < 0 || (::fsync(descriptor) != 0 && errno != EINVAL))
        error.assign(errno, std::generic_category());
    if (descriptor >= 0)
        ::close(descriptor);
    return error;
}

std::error_code syncNow(const fs::path& path)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        // A link is part of its folder.
        std::error_code failure;
        if (!entry->is_symlink(failure) && !failure)
            failure = syncEntry(entry->path());
        if (failure)
            return failure;
    }
    return error ? error : syncEntry(path);
}

/// Does `work` on another thread; throws FileError when it hands back an error.
Task<> onAnotherThread(std::function<std::error_code()> work)
{
    const auto promise = std::make_shared<QPromise<std::error_code>>();
    QFuture<std::error_code> done = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, work] {
        promise->addResult(work());
        promise->finish();
    });
    const std::error_code error = co_await done;
    if (error)
        throw FileError(error);
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
    const fs::path top = toPath(path);
    std::vector<fs::path> waiting = isFolder(top) ? openedContent(top) : std::vector<fs::path>();
    std::error_code error;
    while (!waiting.empty()) {
        const fs::path next = waiting.back();
        waiting.pop_back();
        if (isFolder(next))
            std::ranges::move(removeLevel(next, top), std::back_inserter(waiting));
        else
            fs::remove(next, error);
    }
    fs::remove(top, error);
    return !error;
}

Task<> copyTree(QString from, QString to)
{
    return onAnotherThread([from = toPath(from), to = toPath(to)] { return copyNow(from, to); });
}

Task<> syncTree(QString path)
{
    return onAnotherThread([path = toPath(path)] { return syncNow(path); });
}

} // namespace quillmarsh
