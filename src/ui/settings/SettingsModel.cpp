#include "ui/settings/SettingsModel.h"

#include "base/NotificationCenter.h"
#include "base/UserDefaults.h"

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

SettingsSection initialSection(const UserDefaults& defaults)
{
    const std::optional<QString> stored = defaults.string(QLatin1String(settingsSectionKey));
    if (stored)
        return settingsSectionFrom(*stored).value_or(SettingsSection::general);
    const bool isNew = !defaults.boolean(QLatin1String(hasSeenModernOnboardingKey));
    return isNew ? SettingsSection::guide : SettingsSection::general;
}

} // namespace

SectionTexts sectionTexts(SettingsSection section)
{
    switch (section) {
    case SettingsSection::general:
        return {u"Overview"_s, u"house"_s, u"Overview"_s, {}};
    case SettingsSection::shortcuts:
        return {u"Shortcuts"_s, u"command"_s, u"Writing actions"_s,
                u"Choose what a shortcut does to your selected text."_s};
    case SettingsSection::connections:
        return {u"Connect your AI"_s, u"circle.hexagongrid"_s, u"Connect your AI"_s,
                u"Choose the account and model that handle your rewrites."_s};
    case SettingsSection::guide:
        return {u"Getting started"_s, u"book.closed"_s, u"Getting started"_s, {}};
    case SettingsSection::permissions:
        return {u"Permissions"_s, u"checkmark.shield"_s, u"Enable your shortcut"_s,
                u"You stay in control of what Quillmarsh can access."_s};
    }
    Q_UNREACHABLE();
}

SettingsModel::SettingsModel(UserDefaults& defaults, NotificationCenter& notifications, QObject* parent)
    : QObject(parent), defaults_(defaults), section_(initialSection(defaults))
{
    connect(&notifications, &NotificationCenter::posted, this, &SettingsModel::receive);
}

void SettingsModel::select(SettingsSection section)
{
    defaults_.set(QLatin1String(settingsSectionKey), rawValue(section));
    if (section_ == section)
        return;
    section_ = section;
    emit sectionChanged();
}

int SettingsModel::index() const
{
    return static_cast<int>(section_);
}

void SettingsModel::setIndex(int index)
{
    if (index >= 0 && index < static_cast<int>(allSettingsSections.size()))
        select(allSettingsSections[static_cast<size_t>(index)]);
}

QVariantList SettingsModel::rows() const
{
    QVariantList rows;
    for (const SettingsSection section : allSettingsSections) {
        const SectionTexts texts = sectionTexts(section);
        rows.append(QVariantMap{{u"label"_s, texts.label}, {u"symbol"_s, texts.symbol}});
    }
    return rows;
}

void SettingsModel::receive(const QString& notification, const QVariantMap& userInfo)
{
    if (notification != QLatin1String(openSettingsFromAlert) &&
        notification != QLatin1String(openSettingsFromTutorial))
        return;
    if (const auto section = settingsSectionFrom(userInfo.value(u"section"_s).toString()))
        select(*section);
}

} // namespace quillmarsh
