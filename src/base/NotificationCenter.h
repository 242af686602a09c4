#pragma once

#include <QObject>
#include <QVariantMap>

namespace quillmarsh {

/// Notices between views that do not know each other, by name: "openSettingsFromAlert" (user info "section")
/// and "openSettingsFromTutorial". Main thread only.
class NotificationCenter final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    [[nodiscard]] static NotificationCenter& defaultCenter();

    void post(const QString& name, const QVariantMap& userInfo = {});

signals:
    void posted(const QString& name, const QVariantMap& userInfo);
};

inline constexpr auto openSettingsFromAlert = "openSettingsFromAlert";
inline constexpr auto openSettingsFromTutorial = "openSettingsFromTutorial";

} // namespace quillmarsh
