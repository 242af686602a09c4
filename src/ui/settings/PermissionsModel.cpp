#include "ui/settings/PermissionsModel.h"

#include "base/UserDefaults.h"
#include "rewrite/RewriteService.h"
#include "ui/settings/SettingsModel.h"

namespace quillmarsh {

using namespace Qt::StringLiterals;

PermissionsModel::PermissionsModel(RewriteService& rewrites, UserDefaults& defaults, QObject* parent)
    : QObject(parent), rewrites_(rewrites), defaults_(defaults)
{
    connect(&rewrites, &RewriteService::hasAccessibilityChanged, this, &PermissionsModel::changed);
    connect(&rewrites, &RewriteService::hotkeyRegisteredChanged, this, &PermissionsModel::changed);
    connect(&rewrites, &RewriteService::lastErrorChanged, this, &PermissionsModel::changed);
}

QString PermissionsModel::badge() const
{
    if (!rewrites_.hasAccessibility())
        return u"Not enabled"_s;
    return rewrites_.hotkeyRegistered() ? u"Enabled · your shortcuts are ready"_s
                                        : u"Allowed · check your shortcuts"_s;
}

bool PermissionsModel::isEnabled() const
{
    return rewrites_.hasAccessibility() && rewrites_.hotkeyRegistered();
}

QString PermissionsModel::waitingText() const
{
    if (rewrites_.hasAccessibility())
        return {};
    return u"Waiting for you to enable Quillmarsh in System Settings…"_s;
}

QString PermissionsModel::helpText() const
{
    if (rewrites_.hasAccessibility())
        return {};
    return u"Not listed? Click + and choose Quillmarsh from Applications. If access is on but shortcuts "
           u"still fail, quit and reopen Quillmarsh from Applications."_s;
}

QString PermissionsModel::enabledText() const
{
    return isEnabled() ? u"Select text in an app, then use the shortcut shown in Writing actions."_s
                       : QString();
}

QString PermissionsModel::problem() const
{
    if (!rewrites_.hasAccessibility() || rewrites_.hotkeyRegistered())
        return {};
    return rewrites_.lastError().value_or(QString());
}

void PermissionsModel::openSystemSettings()
{
    rewrites_.requestAccessibility();
}

void PermissionsModel::checkAgain()
{
    rewrites_.checkAndSetupAccessibility(true);
}

void PermissionsModel::markSeen()
{
    const QString key = QLatin1String(hasSeenPermissionsGuideKey);
    if (!defaults_.boolean(key))
        defaults_.set(key, true);
}

} // namespace quillmarsh
