#include "app/MenuBarModel.h"

#include "platform/KeyboardLayout.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "update/UpdateService.h"

#include <utility>

namespace quillmarsh {

using namespace std::chrono_literals;

namespace {

/// The menu closes and the application from before comes back to the front within this time.
constexpr auto menuDelay = 250ms;

Task<> rewriteAfterTheMenu(QPointer<RewriteService> service, QString instruction, QString title)
{
    co_await sleepFor(menuDelay);
    if (service)
        co_await service->performRewrite(instruction, title);
}

} // namespace

MenuBarModel::MenuBarModel(MenuBarEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment))
{
    observe();
}

void MenuBarModel::observe()
{
    const auto* rewrites = &environment_.rewrites;
    connect(rewrites, &RewriteService::isProcessingChanged, this, &MenuBarModel::processingChanged);
    connect(rewrites, &RewriteService::hasAccessibilityChanged, this, &MenuBarModel::accessibilityChanged);
    connect(rewrites, &RewriteService::shortcutsRegistered, this, &MenuBarModel::actionsChanged);
    connect(rewrites, &RewriteService::hotkeyRegisteredChanged, this, &MenuBarModel::actionsChanged);
    const auto* settings = &environment_.settings;
    connect(settings, &AppSettings::instructionShortcutsChanged, this, &MenuBarModel::actionsChanged);
    connect(settings, &AppSettings::providerChanged, this, &MenuBarModel::connectionChanged);
    connect(settings, &AppSettings::openaiAuthModeChanged, this, &MenuBarModel::connectionChanged);
    connect(&environment_.layout, &KeyboardLayout::changed, this, &MenuBarModel::actionsChanged);
    const auto* updates = &environment_.updates;
    connect(updates, &UpdateService::availableReleaseChanged, this, &MenuBarModel::updateChanged);
    connect(updates, &UpdateService::isCheckingChanged, this, &MenuBarModel::updateChanged);
    connect(updates, &UpdateService::isUpdatingChanged, this, &MenuBarModel::updateChanged);
}

bool MenuBarModel::isProcessing() const
{
    return environment_.rewrites.isProcessing();
}

QString MenuBarModel::status() const
{
    return isProcessing() ? QStringLiteral("Polishing your words…")
                          : QStringLiteral("A little better, in a shortcut.");
}

QString MenuBarModel::accessibilityNotice() const
{
    return environment_.rewrites.hasAccessibility() ? QString()
                                                    : QStringLiteral("Enable Accessibility to use shortcuts");
}

QString MenuBarModel::updateNotice() const
{
    const auto& release = environment_.updates.availableRelease();
    return release ? QStringLiteral("Update available · v") + release->version : QString();
}

bool MenuBarModel::usesChatGPT() const
{
    return environment_.settings.connectionChoice() == AIConnectionChoice::chatgpt;
}

QString MenuBarModel::connection() const
{
    if (!usesChatGPT())
        return displayName(environment_.settings.provider());
    return isConnected() ? QStringLiteral("ChatGPT connected")
                         : QStringLiteral("Connect ChatGPT in Settings");
}

bool MenuBarModel::isConnected() const
{
    return !usesChatGPT() || environment_.isChatGPTConnected();
}

bool MenuBarModel::isVerified() const
{
    const bool needsKey = !usesChatGPT() && environment_.settings.provider() != AIProvider::cloud;
    return isConnected() && !needsKey;
}

QVariantList MenuBarModel::actions() const
{
    QVariantList list;
    for (const InstructionShortcut& action : environment_.settings.instructionShortcuts()) {
        const QString shortcut = action.hotkeyDisplayString(environment_.layout).value_or(QString());
        list.append(QVariantMap{{QStringLiteral("name"), action.name},
                                {QStringLiteral("icon"), action.icon},
                                {QStringLiteral("shortcut"), shortcut},
                                {QStringLiteral("refusal"), refusal(action, shortcut)}});
    }
    return list;
}

QString MenuBarModel::refusal(const InstructionShortcut& action, const QString& shortcut) const
{
    return environment_.rewrites.isRefused(action) ? shortcut + QStringLiteral(" is used by another program")
                                                   : QString();
}

void MenuBarModel::setCustomInstruction(const QString& text)
{
    if (customInstruction_ == text)
        return;
    customInstruction_ = text;
    emit customInstructionChanged();
}

bool MenuBarModel::updatesItself() const
{
    return environment_.updates.updatesItself();
}

bool MenuBarModel::canCheckForUpdates() const
{
    return !environment_.updates.isChecking() && !environment_.updates.isUpdating();
}

void MenuBarModel::menuOpened()
{
    if (showsCustomField_)
        captureTarget();
}

void MenuBarModel::runAction(int index)
{
    const auto& list = environment_.settings.instructionShortcuts();
    if (index < 0 || static_cast<size_t>(index) >= list.size())
        return;
    const InstructionShortcut action = list[static_cast<size_t>(index)];
    close();
    rewrite(action.instruction, action.name);
}

void MenuBarModel::openCustomField()
{
    captureTarget();
    if (showsCustomField_)
        return;
    showsCustomField_ = true;
    emit showsCustomFieldChanged();
}

void MenuBarModel::hideCustomField()
{
    setCustomInstruction({});
    if (!std::exchange(showsCustomField_, false))
        return;
    emit showsCustomFieldChanged();
}

// With the menu in front, the application to write in is the one that was in front before.
void MenuBarModel::captureTarget()
{
    target_ = environment_.workspace.frontmostApplication();
    if (target_ && isThisApplication(*target_))
        target_ = environment_.rewrites.lastExternalApplication();
}

void MenuBarModel::submit()
{
    if (!canSubmit())
        return;
    const QString instruction = customInstruction_.trimmed();
    hideCustomField();
    close();
    if (const auto target = std::exchange(target_, {}))
        environment_.workspace.activate(*target);
    rewrite(instruction, QStringLiteral("Custom rewrite"));
}

void MenuBarModel::rewrite(const QString& instruction, const QString& title)
{
    detach(rewriteAfterTheMenu(&environment_.rewrites, instruction, title));
}

void MenuBarModel::close()
{
    emit closeRequested();
}

void MenuBarModel::openSettings(SettingsSection section)
{
    close();
    requestSettings(section, environment_.defaults);
}

void MenuBarModel::openPermissions()
{
    environment_.rewrites.requestAccessibility();
    openSettings(SettingsSection::permissions);
}

void MenuBarModel::openConnections()
{
    openSettings(SettingsSection::connections);
}

void MenuBarModel::showUpdate()
{
    close();
    environment_.updates.showUpdateWindow();
}

void MenuBarModel::checkForUpdates()
{
    if (!canCheckForUpdates())
        return;
    close();
    detach(environment_.updates.checkForUpdates(false));
}

void MenuBarModel::openQuillmarsh()
{
    close();
    emit settingsRequested();
}

void MenuBarModel::quit()
{
    close();
    emit quitRequested();
}

} // namespace quillmarsh
