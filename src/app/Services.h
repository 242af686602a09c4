#pragma once

#include "base/UserDefaults.h"
#include "platform/Platform.h"
#include "update/UpdateEnvironment.h"

#include <memory>

namespace quillmarsh {

class AppSettings;
class HotkeyService;
class InstallationToken;
class RewriteOverlayController;
class RewriteService;
class UpdateService;

/// The platform and the long-lived services, created once in an order in which each finds what it needs.
struct Services
{
    /// The real platform and the user's own defaults; a test hands in others.
    explicit Services(Platform platform = createPlatform(),
                      const QString& defaultsPath = UserDefaults::standardPath());
    ~Services();
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    /// Creates the services; until then there are only the platform and the defaults store. `quit` ends the
    /// application in order.
    void create(std::function<void()> quit);
    /// What the updater and the installation screen work with.
    [[nodiscard]] UpdateEnvironment updateEnvironment() const;
    /// Gives the orchestrator its settings, registers the shortcuts and starts the update checks; once.
    void startIfNeeded();

    Platform platform;
    UserDefaults defaults;
    std::unique_ptr<InstallationToken> installationToken;
    std::unique_ptr<AppSettings> appSettings;
    std::unique_ptr<RewriteOverlayController> overlay;
    std::unique_ptr<RewriteService> rewriteService;
    HotkeyService* hotkeyService = nullptr; ///< owned by the orchestrator
    std::unique_ptr<UpdateService> updateService;

private:
    void createAccountConnection();
    void followAccountEmail();
    void createRewriteService();

    std::function<void()> quit_;
    bool started_ = false;
};

} // namespace quillmarsh
