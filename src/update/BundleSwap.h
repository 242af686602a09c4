#pragma once

#include <QString>

#include <optional>

namespace quillmarsh {

/// Moves the bundle at `incoming` to `installed`, in one folder: what is there becomes a backup first, and
/// comes back when the move fails. Throws FileError when the old copy cannot be moved away (nothing has
/// changed then) and UpdateError InstallFailed when the new one cannot be moved in. The backup is gone after
/// a success.
void swapBundles(const QString& incoming, const QString& installed);

/// Mends what an installation left behind in the Applications folder `folder` when its process died: puts a
/// backup back where no installed copy is, and removes what is no longer needed. `running` is the path of the
/// bundle of this process; when it was itself the backup that was put back, its new path is the result.
/// Does nothing while another process installs there.
std::optional<QString> recoverApplicationsFolder(const QString& folder, const QString& running);

/// Holds the right to change the bundles of an Applications folder against other processes of this product.
class ApplicationsLock final
{
public:
    explicit ApplicationsLock(const QString& folder);
    ~ApplicationsLock();

    ApplicationsLock(const ApplicationsLock&) = delete;
    ApplicationsLock& operator=(const ApplicationsLock&) = delete;

    /// False when another process holds it, or the folder cannot be read.
    [[nodiscard]] bool isHeld() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

} // namespace quillmarsh
