#pragma once

#include "platform/FileExchange.h"

#include <functional>
#include <optional>

namespace quillmarsh {

/// Exchanges the names of two bundles in one step, as exchangeNames() does.
using NameExchange = std::function<bool(const QString& one, const QString& other)>;

/// Moves the bundle at `incoming` to `installed`, on one disk. An old copy there is exchanged with the new
/// one in one step, so that the application is never missing. Where that cannot be, the old copy becomes a
/// backup first, and comes back when the move fails. Throws FileError when the old copy cannot be moved away
/// (nothing has changed then) and UpdateError InstallFailed when the new one cannot be moved in. The old copy
/// is gone after a success.
void swapBundles(const QString& incoming, const QString& installed,
                 const NameExchange& exchange = exchangeNames);

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

    /// Whether another process holds it. Some network file systems know no such right; there nobody does.
    [[nodiscard]] bool isTaken() const { return isTaken_; }

private:
    int descriptor_ = -1;
    bool isTaken_ = false;
};

} // namespace quillmarsh
