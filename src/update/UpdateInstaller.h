#pragma once

#include "base/Task.h"
#include "update/UpdateEnvironment.h"
#include "update/UpdateRelease.h"

#include <QNetworkAccessManager>
#include <QPointer>

namespace quillmarsh {

class WorkingFolder;

/// One installation: download, unpack, check, verify, swap. Each step writes its text before it begins and
/// ends the installation by throwing; whatever happens, the working folder is gone afterwards and a copy is
/// in place.
class UpdateInstaller final
{
public:
    using Progress = std::function<void(const QString& step)>;

    /// `release` has a download address. `progress` may be called as long as the installer lives.
    UpdateInstaller(QNetworkAccessManager* session, UpdateEnvironment environment, UpdateRelease release,
                    Progress progress, std::stop_token stop);

    /// Where the new version goes: the Applications folder that holds the running bundle, else the system's,
    /// else, where a system has none, the user's.
    [[nodiscard]] static QString installedLocation(const UpdateEnvironment& environment);
    /// What the download step is called.
    [[nodiscard]] static QString downloadingText(const UpdateRelease& release);

    /// Installs `installer`'s release and hands back the installed location. Throws UpdateError, FileError,
    /// TransportError, Cancelled, or LocalizedError when a tool is missing.
    [[nodiscard]] static Task<QString> run(std::shared_ptr<UpdateInstaller> installer);

private:
    [[nodiscard]] Task<QString> install();
    [[nodiscard]] Task<> download(QString archive);
    [[nodiscard]] Task<> unpack(QString archive, QString folder);
    /// A release archive holds the bundle and nothing else.
    void checkContent(const QString& folder) const;
    void checkBundle(const QString& bundle) const;
    [[nodiscard]] Task<> verify(QString bundle);
    /// The tool's exit status; throws LocalizedError when it could not be started.
    [[nodiscard]] Task<int> runTool(QString program, QStringList arguments);
    [[nodiscard]] Task<> moveIntoPlace(QString bundle, QString installed);
    /// Another process, or a person, may have put a newer copy there since the release was found.
    void refuseDowngrade(const QString& installed) const;
    /// Brings the bundle to the disk of the Applications folder, under a name that nobody else reaches.
    [[nodiscard]] Task<> stage(QString bundle, QString staged);

    QPointer<QNetworkAccessManager> session_;
    UpdateEnvironment environment_;
    UpdateRelease release_;
    Progress progress_;
    std::stop_token stop_;
};

/// Called once at start, before any check: mends what an installation left behind when its process died, and
/// removes its working folders. When this process runs from a backup that is now back in its place, the
/// result is the path there: open it and leave. Nothing happens in a copy that a package manager owns.
[[nodiscard]] std::optional<QString> recoverInterruptedUpdate(const UpdateEnvironment& environment);

} // namespace quillmarsh
