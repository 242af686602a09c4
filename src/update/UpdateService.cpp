#include "update/UpdateService.h"

#include "platform/Bundle.h"
#include "update/ManifestRequest.h"

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds automaticInterval{86'400};

Task<> runAutomaticChecks(QPointer<UpdateService> service, std::stop_token stop)
{
    while (!stop.stop_requested()) {
        if (service)
            co_await service->checkForUpdates(true);
        co_await Sleep(automaticInterval, stop);
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
