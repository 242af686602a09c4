#pragma once

#include <QString>

#include <array>
#include <optional>

namespace quillmarsh {

class UserDefaults;

/// The sections of the settings window, in sidebar order. A failure's "Settings" button leads to one of them.
enum class SettingsSection { general, shortcuts, connections, guide, permissions };

inline constexpr std::array allSettingsSections{SettingsSection::general, SettingsSection::shortcuts,
                                                SettingsSection::connections, SettingsSection::guide,
                                                SettingsSection::permissions};

/// "Overview", "Shortcuts", "AI connections", "Getting started", "Permissions": what the store holds.
[[nodiscard]] QString rawValue(SettingsSection section);
[[nodiscard]] std::optional<SettingsSection> settingsSectionFrom(const QString& rawValue);

/// The defaults key under which the settings window keeps its section.
inline constexpr auto settingsSectionKey = "settingsSection";

/// Asks for the settings window on `section`: one that opens for the notice reads the store, an open one
/// listens.
void requestSettings(SettingsSection section, UserDefaults& defaults);

} // namespace quillmarsh
