// The permission state, the shortcut registrations and the published properties of the orchestrator; the flow
// of one rewrite is in RewriteService.cpp.
#include "rewrite/RewriteService.h"

#include "base/Log.h"
#include "rewrite/AppSettings.h"

#include <algorithm>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds permissionInterval{2};

bool canBeRegistered(const InstructionShortcut& action)
{
    if (!action.hasShortcut())
        return false;
    const std::optional<KeyCombination> combination = action.combination();
    // A bare key would be taken out of all that the user types.
    const bool isBare = combination && combination->modifiers == 0;
    if (!combination)
        qCWarning(lcQuillmarsh, "Ignoring a writing action's shortcut: its key code is out of range");
    if (isBare)
        qCWarning(lcQuillmarsh, "Ignoring a writing action's shortcut: it has no modifier");
    return combination && !isBare;
}

} // namespace

RewriteService::RewriteService(bool setupAccessibility, RewriteEnvironment environment,
                               std::unique_ptr<HotkeyControlling> hotkeyService)
    : environment_(std::move(environment)),
      clipboardService_(environment_.pasteboard, environment_.keyPoster),
      hotkeyService_(std::move(hotkeyService))
{
    if (!setupAccessibility)
        return;
    observeApplications();
    checkAndSetupAccessibility(false);
    detach(monitorPermission(this, permissionMonitor_.get_token()));
}

RewriteService::~RewriteService()
{
    permissionMonitor_.request_stop();
    rewriteTask_.request_stop();
    hotkeyService_->stop();
}

void RewriteService::observeApplications()
{
    const std::optional<RunningApplication> front = environment_.workspace.frontmostApplication();
    if (front && !isThisApplication(*front))
        lastExternalApplication_ = front;
    connect(&environment_.workspace, &Workspace::didActivateApplication, this,
            [this](const RunningApplication& application) {
                if (!isThisApplication(application))
                    lastExternalApplication_ = application;
                checkAndSetupAccessibility(false);
            });
}

Task<> RewriteService::monitorPermission(QPointer<RewriteService> service, std::stop_token stop)
{
    while (true) {
        co_await sleepFor(permissionInterval, stop);
        if (stop.stop_requested() || !service)
            co_return;
        service->checkAndSetupAccessibility(false);
        service->retryRefusedShortcuts();
    }
}

void RewriteService::retryRefusedShortcuts()
{
    if (!hasAccessibility_)
        return;
    hotkeyService_->retryRefused();
    if (hotkeyService_->refused() == announcedRefusals_)
        return;
    startHotkeys();
    announceRegistration();
}

void RewriteService::setAppSettings(AppSettings* settings)
{
    appSettings_ = settings;
}

void RewriteService::checkAndSetupAccessibility(bool retryHotkeys)
{
    const bool wasTrusted = hasAccessibility_;
    setHasAccessibility(environment_.accessibilityCheck());
    if (!hasAccessibility_) {
        if (!wasTrusted && !hotkeyRegistered_)
            return;
        hotkeyService_->stop();
        setHotkeyRegistered(false);
        setLastError(QStringLiteral("Enable Accessibility in Permissions to use shortcuts."));
        return;
    }
    setWaitingForAccessibility(false);
    if (wasTrusted && (!retryHotkeys || hotkeyRegistered_))
        return;
    registerHotkeys();
}

void RewriteService::requestAccessibility()
{
    checkAndSetupAccessibility(true);
    if (!hasAccessibility_) {
        setWaitingForAccessibility(true);
        environment_.accessibilityRequest();
    }
    environment_.openAccessibilitySettings();
}

void RewriteService::restartHotkeys()
{
    hotkeyService_->stop();
    setHotkeyRegistered(false);
    checkAndSetupAccessibility(true);
}

void RewriteService::registerHotkeys()
{
    if (!hasAccessibility_ || !appSettings_)
        return;
    std::vector<Registration> registrations = makeRegistrations();
    const bool isEmpty = registrations.empty();
    hotkeyService_->setRegistrations(std::move(registrations));
    if (isEmpty) {
        hotkeyService_->stop();
        setHotkeyRegistered(false);
        setLastError(std::nullopt);
    } else {
        startHotkeys();
    }
    announceRegistration();
}

void RewriteService::startHotkeys()
{
    setHotkeyRegistered(hotkeyService_->start());
    setLastError(hotkeyRegistered_ ? std::nullopt : std::optional(registrationProblem()));
}

bool RewriteService::isRefused(const InstructionShortcut& action) const
{
    const auto combination = action.combination();
    const auto refused = refusedShortcuts();
    return combination && std::ranges::find(refused, *combination) != refused.end();
}

QString RewriteService::registrationProblem() const
{
    if (!hotkeyService_->refused().empty())
        return QStringLiteral(
            "Other programs already use your shortcuts. Choose different ones in Writing actions.");
    return QStringLiteral("Failed to register shortcuts. Check Accessibility permission.");
}

std::vector<Registration> RewriteService::makeRegistrations()
{
    std::vector<Registration> registrations;
    for (const InstructionShortcut& action : appSettings_->instructionShortcuts()) {
        if (!canBeRegistered(action))
            continue;
        const auto handler = [service = QPointer(this), action] {
            if (service)
                detach(service->performRewrite(action.instruction, action.name));
        };
        registrations.push_back(
            {static_cast<quint16>(*action.keyCode), static_cast<quint64>(*action.modifiersRaw), handler});
    }
    return registrations;
}

void RewriteService::announceRegistration()
{
    announcedRefusals_ = hotkeyService_->refused();
    for (const KeyCombination& combination : announcedRefusals_)
        qCWarning(lcQuillmarsh,
                  "Another program owns a writing action's shortcut (key code %d, modifiers 0x%llx)",
                  combination.keyCode, combination.modifiers);
    emit shortcutsRegistered();
}

void RewriteService::setProcessing(bool processing)
{
    if (isProcessing_ == processing)
        return;
    isProcessing_ = processing;
    emit isProcessingChanged();
}

void RewriteService::setLastError(std::optional<QString> error)
{
    if (lastError_ == error)
        return;
    lastError_ = std::move(error);
    emit lastErrorChanged();
}

void RewriteService::setHasAccessibility(bool trusted)
{
    if (hasAccessibility_ == trusted)
        return;
    hasAccessibility_ = trusted;
    emit hasAccessibilityChanged();
}

void RewriteService::setHotkeyRegistered(bool registered)
{
    if (hotkeyRegistered_ == registered)
        return;
    hotkeyRegistered_ = registered;
    emit hotkeyRegisteredChanged();
}

void RewriteService::setWaitingForAccessibility(bool waiting)
{
    if (isWaitingForAccessibility_ == waiting)
        return;
    isWaitingForAccessibility_ = waiting;
    emit isWaitingForAccessibilityChanged();
}

} // namespace quillmarsh
