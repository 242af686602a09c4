#pragma once

#include "base/Task.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

namespace quillmarsh {

/// One application as the desktop shows it. A snapshot: it keeps nothing alive.
struct RunningApplication
{
    qint64 processIdentifier = 0; ///< 0 when the system does not tell
    QString localizedName;        ///< may be empty
    QString identifier;           ///< desktop id, or the window class on X11
    quint64 window = 0;           ///< native handle of the window that was in front
    quint64 client = 0;           ///< connection the window belongs to, 0 when unknown
};

/// Whether two snapshots are the same running application: the same process, or, when a process is unknown,
/// the same connection or the same identifier. A window id alone is too strict (dialogs, tabs).
[[nodiscard]] bool isSameApplication(const RunningApplication& a, const RunningApplication& b);

/// Whether the snapshot is of this very process.
[[nodiscard]] bool isThisApplication(const RunningApplication& application);

/// The desktop's applications, and what can be asked of them.
class Workspace : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The application that has the user's attention now; none when nothing is in front.
    [[nodiscard]] virtual std::optional<RunningApplication> frontmostApplication() const = 0;
    /// Brings an application's window to the front.
    virtual void activate(const RunningApplication& application) = 0;
    /// Hands `url` to its default application; false when that could not be started.
    virtual Task<bool> open(QUrl url) = 0;
    /// Starts the application bundle at `path` as a new instance, independent of this process; false when it
    /// could not be started.
    virtual Task<bool> openApplication(QString path, QStringList arguments) = 0;
    /// Shows `path` selected in the file manager, or opens its folder where none answers; false when neither
    /// could be done.
    virtual Task<bool> reveal(QString path) = 0;

signals:
    /// Another application came to the front; this one may be it.
    void didActivateApplication(const quillmarsh::RunningApplication& application);
};

/// Opens `url` with nobody waiting; a failure is logged by the workspace, which outlives the attempt.
void openDetached(Workspace& workspace, const QUrl& url);

} // namespace quillmarsh
