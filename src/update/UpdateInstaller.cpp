#include "update/UpdateInstaller.h"

#include "platform/Bundle.h"
#include "platform/ProcessRunner.h"
#include "update/BundleInformation.h"
#include "update/BundleSwap.h"
#include "update/FileError.h"
#include "update/FileTree.h"
#include "update/MoveToApplications.h"
#include "update/UpdateDownload.h"
#include "update/UpdateError.h"
#include "update/WorkingFolder.h"

#include <QDir>

#include <sys/stat.h>

namespace quillmarsh {

namespace {

/// Whom the bundle has to be signed by. The anchor is the one that the verifier was built with.
const auto requirement =
    QStringLiteral("-R=anchor apple generic and certificate leaf[subject.OU] = \"K3T9Z2W7P5\"");

constexpr auto archiveName = "Quillmarsh.zip";

/// Lets files be made with the modes that an archive gives them, whatever the user's own mask: the signature
/// covers the modes. Nobody else can reach them, the folder around them is closed.
class OpenMask final
{
public:
    OpenMask() : previous_(::umask(S_IWGRP | S_IWOTH)) {}
    ~OpenMask() { ::umask(previous_); }

    OpenMask(const OpenMask&) = delete;
    OpenMask& operator=(const OpenMask&) = delete;

private:
    mode_t previous_;
};

/// The folder is made when it is missing: it is this product's first copy there.
WorkingFolder stagingFolder(const QString& applications, const QString& installed)
{
    try {
        return WorkingFolder(applications, QLatin1String(stagingFolderPrefix));
    } catch (const FileError&) {
        // An old copy could not be moved away either, which is told as it is; a first one just does not
        // arrive.
        if (exists(installed))
            throw;
        throw UpdateError(UpdateError::Kind::InstallFailed);
    }
}

} // namespace

UpdateInstaller::UpdateInstaller(QNetworkAccessManager* session, UpdateEnvironment environment,
                                 UpdateRelease release, Progress progress, std::stop_token stop)
    : session_(session), environment_(std::move(environment)), release_(std::move(release)),
      progress_(std::move(progress)), stop_(std::move(stop))
{}

QString UpdateInstaller::installedLocation(const UpdateEnvironment& environment)
{
    const QString name = QLatin1Char('/') + QLatin1String(bundleName);
    const QString own = environment.userApplications();
    const QString running = environment.bundlePath();
    if (running.startsWith(own + u'/'))
        return own + name;
    const bool isInSystem = running.startsWith(environment.systemApplications + u'/');
    if (isInSystem || QDir(environment.systemApplications).exists())
        return environment.systemApplications + name;
    return own + name;
}

QString UpdateInstaller::downloadingText(const UpdateRelease& release)
{
    return QStringLiteral("Downloading Quillmarsh %1…").arg(release.version);
}

Task<QString> UpdateInstaller::run(std::shared_ptr<UpdateInstaller> installer)
{
    // The handle is a parameter, so the installer lives until the last step has ended.
    co_return co_await installer->install();
}

Task<QString> UpdateInstaller::install()
{
    const QString installed = installedLocation(environment_);
    progress_(downloadingText(release_));
    const WorkingFolder folder(environment_.temporaryFolder, QLatin1String(workingFolderPrefix));
    const QString archive = folder.filePath(QLatin1String(archiveName));
    co_await download(archive);
    progress_(QStringLiteral("Preparing the new version…"));
    co_await unpack(archive, folder.path());
    const QString bundle = folder.filePath(QLatin1String(bundleName));
    checkContent(folder.path());
    checkBundle(bundle);
    progress_(QStringLiteral("Verifying the update…"));
    co_await verify(bundle);
    progress_(QStringLiteral("Installing Quillmarsh…"));
    co_await moveIntoPlace(bundle, installed);
    co_return installed;
}

Task<> UpdateInstaller::download(QString archive)
{
    const auto url = release_.downloadURL(environment_.deployment);
    if (!url || !session_)
        throw UpdateError(UpdateError::Kind::InvalidURL);
    const QString partial = archive + QStringLiteral(".download");
    co_await downloadFile(session_, *url, partial, stop_);
    std::error_code error;
    std::filesystem::rename(toPath(partial), toPath(archive), error);
    if (error)
        throw FileError(error);
}

Task<> UpdateInstaller::unpack(QString archive, QString folder)
{
    const QStringList arguments{QStringLiteral("-x"), QStringLiteral("-f"), archive, QStringLiteral("-C"),
                                folder};
    std::optional<OpenMask> mask(std::in_place);
    auto unpacking = runTool(environment_.unpackTool, arguments);
    mask.reset(); // the tool has started by now, and has the mask
    const int status = co_await std::move(unpacking);
    if (status != 0)
        throw UpdateError(UpdateError::Kind::UnzipFailed);
}

void UpdateInstaller::checkContent(const QString& folder) const
{
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QStringList expected{QLatin1String(bundleName), QLatin1String(archiveName)};
    if (QDir(folder).entryList(everything, QDir::Name) != expected)
        throw UpdateError(UpdateError::Kind::AppNotFound);
}

void UpdateInstaller::checkBundle(const QString& bundle) const
{
    const BundleInformation information = BundleInformation::read(bundle);
    if (information.identifier != QLatin1String(bundleIdentifier) || information.version != release_.version)
        throw UpdateError(UpdateError::Kind::AppNotFound);
}

Task<> UpdateInstaller::verify(QString bundle)
{
    const QStringList arguments{QStringLiteral("--verify"), QStringLiteral("--deep"),
                                QStringLiteral("--strict"), requirement, bundle};
    const int status = co_await runTool(environment_.signatureTool, arguments);
    if (status != 0)
        throw UpdateError(UpdateError::Kind::InvalidSignature);
}

Task<int> UpdateInstaller::runTool(QString program, QStringList arguments)
{
    const int status = co_await environment_.processRunner->run(program, arguments, stop_);
    throwIfStopped(stop_);
    const QFileInfo file(program);
    if (status == -1 && !file.isExecutable())
        throw LocalizedError(QStringLiteral("The program “%1” couldn’t be started.").arg(file.fileName()));
    co_return status;
}

Task<> UpdateInstaller::moveIntoPlace(QString bundle, QString installed)
{
    const QString applications = QFileInfo(installed).absolutePath();
    const WorkingFolder staging = stagingFolder(applications, installed);
    const ApplicationsLock lock(applications);
    if (lock.isTaken())
        throw UpdateError(UpdateError::Kind::InstallFailed);
    const QString staged = staging.filePath(QLatin1String(bundleName));
    co_await stage(bundle, staged);
    refuseDowngrade(installed);
    swapBundles(staged, installed);
}

void UpdateInstaller::refuseDowngrade(const QString& installed) const
{
    const BundleInformation there = BundleInformation::read(installed);
    const bool isOurs = there.identifier == QLatin1String(bundleIdentifier) && there.version;
    if (isOurs && UpdateRelease{*there.version, {}, {}}.isNewer(release_.version))
        throw UpdateError(UpdateError::Kind::InstallFailed);
}

Task<> UpdateInstaller::stage(QString bundle, QString staged)
{
    std::error_code error;
    std::filesystem::rename(toPath(bundle), toPath(staged), error);
    if (error && error != std::errc::cross_device_link)
        throw UpdateError(UpdateError::Kind::InstallFailed);
    bool arrived = true;
    try {
        if (error)
            co_await copyTree(bundle, staged);
        co_await syncTree(staged);
    } catch (const FileError&) {
        arrived = false;
    }
    throwIfStopped(stop_);
    if (!arrived)
        throw UpdateError(UpdateError::Kind::InstallFailed);
    // The temporary folder was on another disk. A copy is other bytes than those verified, so it is verified
    // too.
    if (error)
        co_await verify(staged);
}

std::optional<QString> recoverInterruptedUpdate(const UpdateEnvironment& environment)
{
    if (environment.bundle->isPackageManaged())
        return std::nullopt;
    std::optional<QString> moved;
    for (const QString& folder : {environment.systemApplications, environment.userApplications()}) {
        if (const auto path = recoverApplicationsFolder(folder, environment.bundlePath()))
            moved = path;
    }
    WorkingFolder::removeAbandoned(environment.temporaryFolder, QLatin1String(workingFolderPrefix));
    return moved;
}

} // namespace quillmarsh
