#pragma once

#include "chatgpt/KeychainService.h"
#include "ui/settings/ShortcutRecorder.h"

namespace quillmarsh {

class AppSettings;
class CloudUsage;
class CodexOAuthService;
class InstallationModel;
class KeyboardLayout;
class NotificationCenter;
class RewriteService;
class UpdateService;
class UserDefaults;
class Workspace;

/// What the settings window works with. Every object outlives the window; every function is set.
struct SettingsEnvironment
{
    AppSettings& settings;
    RewriteService& rewrites;
    CodexOAuthService& oauth;
    CloudUsage& cloudUsage;
    UpdateService& updates;
    InstallationModel& installation;
    UserDefaults& defaults;
    NotificationCenter& notifications;
    Workspace& workspace;
    KeyboardLayout& layout;
    KeychainService keychain;
    /// The virtual key of a key event's native scan code.
    std::function<std::optional<quint16>(quint32 nativeScanCode)> virtualKey;
    /// Whether a combination belongs to another program; see ownedByAnotherProgram().
    std::function<bool(const KeyCombination&)> ownedByAnotherProgram;
    std::function<void()> beep;
    /// Control-R belongs to the demo while it has the focus.
    std::function<void(bool)> setDemoFocused;
    bool loadsSavedKey = true; ///< false in previews: the secret store is not asked when the window opens
};

/// Tries to hold `combination` for a moment. True when another program has it, false too where nothing can
/// be tried. The product's own tap must not hold it meanwhile.
[[nodiscard]] bool ownedByAnotherProgram(EventTapSource& taps, const KeyCombination& combination);

} // namespace quillmarsh
