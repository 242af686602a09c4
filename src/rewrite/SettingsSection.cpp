#include "rewrite/SettingsSection.h"

#include "base/NotificationCenter.h"
#include "base/UserDefaults.h"

namespace quillmarsh {

QString rawValue(SettingsSection section)
{
    switch (section) {
    case SettingsSection::general:
        return QStringLiteral("Overview");
    case SettingsSection::shortcuts:
        return QStringLiteral("Shortcuts");
    case SettingsSection::connections:
        return QStringLiteral("AI connections");
    case SettingsSection::guide:
        return QStringLiteral("Getting started");
    case SettingsSection::permissions:
        return QStringLiteral("Permissions");
    }
    Q_UNREACHABLE();
}

std::optional<SettingsSection> settingsSectionFrom(const QString& raw)
{
    for (const SettingsSection section : allSettingsSections) {
        if (rawValue(section) == raw)
            return section;
    }
    return std::nullopt;
}

void requestSettings(SettingsSection section, UserDefaults& defaults)
{
    const QString name = rawValue(section);
    defaults.set(QLatin1String(settingsSectionKey), name);
    NotificationCenter::defaultCenter().post(QLatin1String(openSettingsFromAlert),
                                             {{QStringLiteral("section"), name}});
}

} // namespace quillmarsh
