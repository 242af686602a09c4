#include "update/UpdateSettingsRow.h"

#include "update/UpdateService.h"

namespace quillmarsh {

UpdateSettingsRow::UpdateSettingsRow(UpdateService& service, QObject* parent)
    : QObject(parent), service_(service)
{
    connect(&service, &UpdateService::isCheckingChanged, this, &UpdateSettingsRow::changed);
    connect(&service, &UpdateService::isUpdatingChanged, this, &UpdateSettingsRow::changed);
    connect(&service, &UpdateService::availableReleaseChanged, this, &UpdateSettingsRow::changed);
}

QString UpdateSettingsRow::title() const
{
    return QStringLiteral("Quillmarsh ") + service_.installedVersion();
}

QString UpdateSettingsRow::subtitle() const
{
    if (!service_.updatesItself())
        return QStringLiteral("Your system’s package manager keeps it up to date.");
    if (const auto& release = service_.availableRelease())
        return QStringLiteral("Version %1 is available").arg(release->version);
    return QStringLiteral("Automatically checks for updates.");
}

QString UpdateSettingsRow::buttonLabel() const
{
    if (service_.isChecking())
        return QStringLiteral("Checking…");
    return hasSomethingToShow() ? QStringLiteral("View update") : QStringLiteral("Check for updates");
}

bool UpdateSettingsRow::showsButton() const
{
    return service_.updatesItself();
}

void UpdateSettingsRow::press()
{
    if (hasSomethingToShow())
        service_.showUpdateWindow();
    else
        detach(service_.checkForUpdates(false));
}

bool UpdateSettingsRow::hasSomethingToShow() const
{
    return service_.availableRelease() || service_.isUpdating();
}

} // namespace quillmarsh
