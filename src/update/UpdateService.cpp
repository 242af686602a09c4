#include "update/UpdateService.h"

#include "platform/Bundle.h"
#include "platform/Workspace.h"
#include "update/ManifestRequest.h"
#include "update/UpdateInstaller.h"

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds automaticInterval{86'400};

Task<> runAutomaticChecks(QPointer<UpdateService> service, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (service)
            co_await service->checkForUpdates(true);
        co_await sleepFor(automaticInterval, stop);
    }
}

} // namespace

UpdateService::UpdateService(QNetworkAccessManager* session, UpdateEnvironment environment,
                             std::optional<QString> installedVersion, bool presentsWindows, QObject* parent)
    : QObject(parent), session_(session), environment_(std::move(environment)),
      installedVersion_(installedVersion ? *installedVersion : currentVersion(*environment_.bundle)),
      presentsWindows_(presentsWindows)
{}

UpdateService::~UpdateService()
{
    stop_.request_stop();
}

bool UpdateService::updatesItself() const
{
    return !environment_.bundle->isPackageManaged();
}

template <typename T>
void UpdateService::set(T& member, T value, void (UpdateService::*changed)())
{
    if (member == value)
        return;
    member = std::move(value);
    emit(this->*changed)();
}

bool UpdateService::mayCheck() const
{
    return updatesItself() && session_ && !isChecking_ && !isUpdating_ && !installedAppPath_;
}

Task<> UpdateService::checkForUpdates(bool automatically)
{
    if (!mayCheck())
        co_return;
    set(isChecking_, true, &UpdateService::isCheckingChanged);
    const QPointer<UpdateService> self(this);
    std::optional<UpdateRelease> release;
    QString failure;
    try {
        release = co_await fetchRelease(session_, environment_.deployment, stop_.get_token());
    } catch (const std::exception& error) {
        failure = errorDescription(error);
    }
    if (!self)
        co_return;
    if (release)
        checkSucceeded(*release, automatically);
    else
        checkFailed(failure, automatically);
    set(isChecking_, false, &UpdateService::isCheckingChanged);
}

void UpdateService::checkSucceeded(const UpdateRelease& release, bool automatically)
{
    set(updateError_, {}, &UpdateService::updateErrorChanged);
    const bool isNewer = release.isNewer(installedVersion_);
    if (isNewer) {
        set(availableRelease_, {release}, &UpdateService::availableReleaseChanged);
        set(lastCheckResult_, {CheckResult{release}}, &UpdateService::lastCheckResultChanged);
    } else {
        set(availableRelease_, {}, &UpdateService::availableReleaseChanged);
        set(lastCheckResult_, {CheckResult{CheckResult::UpToDate{}}}, &UpdateService::lastCheckResultChanged);
    }
    if (isNewer || !automatically)
        showUpdateWindow();
}

void UpdateService::checkFailed(const QString& description, bool automatically)
{
    set(lastCheckResult_, {CheckResult{CheckResult::Error{description}}},
        &UpdateService::lastCheckResultChanged);
    if (automatically)
        return;
    set(updateError_,
        {QStringLiteral(
            "Couldn’t check for updates. Check your connection and try again, or download Quillmarsh "
            "from our website.")},
        &UpdateService::updateErrorChanged);
    showUpdateWindow();
}

void UpdateService::installAvailableUpdate()
{
    if (isUpdating_ || !updatesItself() || !availableRelease_ ||
        !availableRelease_->downloadURL(environment_.deployment))
        return;
    set(isUpdating_, true, &UpdateService::isUpdatingChanged);
    set(updateError_, {}, &UpdateService::updateErrorChanged);
    set(updateProgress_, {UpdateInstaller::downloadingText(*availableRelease_)},
        &UpdateService::updateProgressChanged);
    detach(install(*availableRelease_));
}

Task<> UpdateService::install(UpdateRelease release)
{
    const QPointer<UpdateService> self(this);
    const auto showStep = [self](const QString& step) {
        if (self)
            self->set(self->updateProgress_, {step}, &UpdateService::updateProgressChanged);
    };
    const auto installer =
        std::make_shared<UpdateInstaller>(session_, environment_, release, showStep, stop_.get_token());
    QString installed;
    QString failure;
    try {
        installed = co_await UpdateInstaller::run(installer);
    } catch (const std::exception& error) {
        failure = errorDescription(error);
    }
    if (!self)
        co_return;
    if (installed.isEmpty())
        installationFailed(failure);
    else
        installationSucceeded(installed);
}

void UpdateService::installationSucceeded(const QString& installed)
{
    set(installedAppPath_, {installed}, &UpdateService::installedAppPathChanged);
    set(updateProgress_, {QStringLiteral("Update installed. Relaunch when you’re ready.")},
        &UpdateService::updateProgressChanged);
    set(isUpdating_, false, &UpdateService::isUpdatingChanged);
}

void UpdateService::installationFailed(const QString& description)
{
    set(isUpdating_, false, &UpdateService::isUpdatingChanged);
    set(updateProgress_, {}, &UpdateService::updateProgressChanged);
    set(updateError_,
        {description +
         QStringLiteral(" Your current version and settings are still available. Try again or download "
                        "the update manually.")},
        &UpdateService::updateErrorChanged);
    showUpdateWindow();
}

void UpdateService::relaunch()
{
    if (!installedAppPath_ || isRelaunching_)
        return;
    isRelaunching_ = true;
    detach(openInstalledCopy(*installedAppPath_));
}

Task<> UpdateService::openInstalledCopy(QString path)
{
    const QPointer<UpdateService> self(this);
    const auto terminate = environment_.terminate;
    const QStringList arguments{QLatin1String(relaunchArgument)};
    const bool opened = co_await environment_.workspace->openApplication(path, arguments);
    if (!self)
        co_return;
    if (opened) {
        terminate();
        co_return;
    }
    isRelaunching_ = false;
    set(updateError_,
        {QStringLiteral("The update is installed. Quit and reopen Quillmarsh from Applications.")},
        &UpdateService::updateErrorChanged);
}

void UpdateService::openDownloadPage()
{
    openDetached(*environment_.workspace,
                 QUrl(environment_.deployment.webOrigin + QStringLiteral("/api/download")));
}

void UpdateService::startAutomaticChecks()
{
    if (checksAutomatically_ || !updatesItself())
        return;
    checksAutomatically_ = true;
    detach(runAutomaticChecks(this, stop_.get_token()));
}

void UpdateService::showUpdateWindow()
{
    if (presentsWindows_ && presentWindow_)
        presentWindow_();
}

} // namespace quillmarsh
