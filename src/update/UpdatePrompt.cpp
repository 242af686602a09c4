#include "update/UpdatePrompt.h"

#include "update/UpdateService.h"

namespace quillmarsh {

UpdatePrompt::UpdatePrompt(UpdateService& service, QObject* parent) : QObject(parent), service_(service)
{
    for (const auto signal : {&UpdateService::isCheckingChanged, &UpdateService::isUpdatingChanged,
                              &UpdateService::availableReleaseChanged, &UpdateService::updateErrorChanged,
                              &UpdateService::updateProgressChanged, &UpdateService::installedAppPathChanged})
        connect(&service, signal, this, &UpdatePrompt::changed);
}

QString UpdatePrompt::title() const
{
    if (service_.installedAppPath())
        return QStringLiteral("Ready to relaunch");
    if (service_.updateError())
        return showsRelease() ? QStringLiteral("Couldn’t update Quillmarsh")
                              : QStringLiteral("Couldn’t check for updates");
    if (service_.isUpdating())
        return QStringLiteral("Updating Quillmarsh");
    return showsRelease() ? QStringLiteral("An update is ready") : QStringLiteral("You’re up to date");
}

QString UpdatePrompt::subtitle() const
{
    if (service_.installedAppPath())
        return QStringLiteral("Relaunch to start using the new version.");
    const QString installed = service_.installedVersion();
    if (const auto& release = service_.availableRelease())
        return QStringLiteral("Quillmarsh %1 → %2").arg(installed, release->version);
    return QStringLiteral("You’re running Quillmarsh %1.").arg(installed);
}

bool UpdatePrompt::showsRelease() const
{
    return service_.availableRelease().has_value();
}

QStringList UpdatePrompt::notes() const
{
    if (!showsRelease())
        return {};
    const QStringList notes = service_.availableRelease()->notes;
    return notes.isEmpty() ? QStringList{QStringLiteral("The latest improvements and fixes for Quillmarsh.")}
                           : notes;
}

QString UpdatePrompt::reassurance() const
{
    return QStringLiteral("Your shortcuts and AI connections stay in place.");
}

bool UpdatePrompt::showsProgress() const
{
    return service_.isUpdating();
}

QString UpdatePrompt::progress() const
{
    return service_.updateProgress().value_or(QStringLiteral("Preparing update…"));
}

QString UpdatePrompt::continueLabel() const
{
    return QStringLiteral("Continue in background");
}

QString UpdatePrompt::error() const
{
    return service_.updateError().value_or(QString());
}

QString UpdatePrompt::downloadLabel() const
{
    return QStringLiteral("Download manually");
}

QString UpdatePrompt::dismissLabel() const
{
    return showsRelease() ? QStringLiteral("Later") : QStringLiteral("Close");
}

QString UpdatePrompt::mainLabel() const
{
    if (service_.installedAppPath())
        return QStringLiteral("Relaunch now");
    if (service_.isUpdating())
        return {};
    if (showsRelease())
        return QStringLiteral("Install update");
    if (!service_.updateError())
        return {};
    return service_.isChecking() ? QStringLiteral("Checking…") : QStringLiteral("Try again");
}

bool UpdatePrompt::isMainEnabled() const
{
    return showsMain() && !service_.isChecking();
}

void UpdatePrompt::pressMain()
{
    if (!isMainEnabled())
        return;
    if (service_.installedAppPath())
        service_.relaunch();
    else if (showsRelease())
        service_.installAvailableUpdate();
    else
        detach(service_.checkForUpdates(false));
}

void UpdatePrompt::pressDownload()
{
    service_.openDownloadPage();
}

} // namespace quillmarsh
