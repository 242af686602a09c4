#pragma once

#include "rewrite/SettingsSection.h"

#include <QObject>
#include <QVariantList>

namespace quillmarsh {

class NotificationCenter;
class UserDefaults;

/// How a section appears in the sidebar and above its content. Symbols are SF Symbols names.
struct SectionTexts
{
    QString label;
    QString symbol;
    QString title;
    QString subtitle; ///< empty: the section has none
};

[[nodiscard]] SectionTexts sectionTexts(SettingsSection section);

/// The selected section of the settings window, kept in the defaults under "settingsSection". Either
/// "openSettings…" notice with a known section selects it; any other value is ignored.
class SettingsModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int index READ index WRITE setIndex NOTIFY sectionChanged)
    Q_PROPERTY(QString title READ title NOTIFY sectionChanged)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY sectionChanged)
    Q_PROPERTY(QVariantList rows READ rows CONSTANT)

public:
    /// Both outlive the model. Without a stored section a user who has not finished the getting-started guide
    /// begins there, everybody else on the overview.
    SettingsModel(UserDefaults& defaults, NotificationCenter& notifications, QObject* parent = nullptr);

    [[nodiscard]] SettingsSection section() const { return section_; }
    /// Selects and persists.
    void select(SettingsSection section);

    /// Position in the sidebar; a position outside it is ignored.
    [[nodiscard]] int index() const;
    void setIndex(int index);
    [[nodiscard]] QString title() const { return sectionTexts(section_).title; }
    [[nodiscard]] QString subtitle() const { return sectionTexts(section_).subtitle; }
    /// One map per sidebar row: "label", "symbol".
    [[nodiscard]] QVariantList rows() const;

signals:
    void sectionChanged();

private:
    void receive(const QString& notification, const QVariantMap& userInfo);

    UserDefaults& defaults_;
    SettingsSection section_ = SettingsSection::general;
};

/// The defaults keys of what else the window keeps.
inline constexpr auto hasSeenModernOnboardingKey = "hasSeenModernOnboarding";
inline constexpr auto hasSeenPermissionsGuideKey = "hasSeenPermissionsGuide";
inline constexpr auto quickOnboardingStepKey = "quickOnboardingStep";

} // namespace quillmarsh
