#include "app/Windows.h"

#include "ai/CloudUsage.h"
#include "app/Foreground.h"
#include "app/IdleMemory.h"
#include "app/MenuBarLabel.h"
#include "app/MenuBarModel.h"
#include "app/MenuBarView.h"
#include "app/QuillmarshCommands.h"
#include "app/Services.h"
#include "base/NotificationCenter.h"
#include "chatgpt/CodexOAuthService.h"
#include "overlay/RewriteOverlayController.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "ui/kit/AppDesign.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/update/UpdateWindow.h"
#include "update/InstallationModel.h"
#include "update/UpdateService.h"

#include <QApplication>
#include <QQuickView>
#include <QTimer>

namespace quillmarsh {

namespace {

/// The first update check and the status icon are done by then.
constexpr std::chrono::seconds startUpLasts{10};

SettingsEnvironment settingsEnvironment(Services& services, InstallationModel& installation)
{
    Platform& platform = services.platform;
    return {
        .settings = *services.appSettings,
        .rewrites = *services.rewriteService,
        .oauth = CodexOAuthService::shared(),
        .cloudUsage = CloudUsage::shared(),
        .updates = *services.updateService,
        .installation = installation,
        .defaults = services.defaults,
        .notifications = NotificationCenter::defaultCenter(),
        .workspace = *platform.workspace,
        .layout = *platform.keyboardLayout,
        .keychain = {platform.secItems.get()},
        .virtualKey = [&platform](quint32 scanCode) { return platform.keyboardLayout->keyCode(scanCode); },
        .ownedByAnotherProgram =
            [&platform](const KeyCombination& combination) {
                return ownedByAnotherProgram(*platform.eventTaps, combination);
            },
        .beep = &QApplication::beep,
        .setDemoFocused = [&services](bool focused) { services.hotkeyService->setDemoFocused(focused); },
    };
}

MenuBarEnvironment menuEnvironment(Services& services)
{
    return {
        .settings = *services.appSettings,
        .rewrites = *services.rewriteService,
        .updates = *services.updateService,
        .workspace = *services.platform.workspace,
        .layout = *services.platform.keyboardLayout,
        .defaults = services.defaults,
        .isChatGPTConnected = [] { return CodexOAuthService::shared().tokens().has_value(); },
    };
}

} // namespace

Windows::Windows(Services& services, QObject* parent)
    : QObject(parent), workspace_(*services.platform.workspace), rewrites_(*services.rewriteService),
      overlay_(*services.overlay)
{
    QApplication::setWindowIcon(applicationIcon());
    AppDesign::setAppearance(services.platform.appearance.get());
    installation_ = std::make_unique<InstallationModel>(services.updateEnvironment());
    settings_ = std::make_unique<SettingsWindow>(settingsEnvironment(services, *installation_));
    update_ = std::make_unique<UpdateWindow>(*services.updateService);
    services.updateService->setPresentWindow([this] { openUpdate(); });
    menuModel_ = std::make_unique<MenuBarModel>(menuEnvironment(services));
    menu_ = std::make_unique<MenuBarView>(*menuModel_, *services.platform.panelWindow, workspace_);
    commands_ = std::make_unique<QuillmarshCommands>(*menuModel_);
    label_ = std::make_unique<MenuBarLabel>(*services.rewriteService);
    memory_ = std::make_unique<IdleMemory>(IdleMemoryOptions{[this] { return isInUse(); }});
    connectAll();
    connectMemory();
}

Windows::~Windows() = default;

void Windows::connectAll()
{
    CodexOAuthService& accounts = CodexOAuthService::shared();
    connect(&accounts, &CodexOAuthService::profilesChanged, menuModel_.get(),
            &MenuBarModel::connectionChanged);
    connect(&accounts, &CodexOAuthService::activeClientIDChanged, menuModel_.get(),
            &MenuBarModel::connectionChanged);
    connect(label_.get(), &MenuBarLabel::menuRequested, this, [this] { menu_->toggle(label_->geometry()); });
    connect(label_.get(), &MenuBarLabel::commandsRequested, this, &Windows::openCommands);
    connect(label_.get(), &MenuBarLabel::settingsRequested, this, &Windows::openSettings);
    connect(menuModel_.get(), &MenuBarModel::settingsRequested, this, &Windows::openSettings);
    connect(menuModel_.get(), &MenuBarModel::quitRequested, this, &Windows::quitRequested);
}

void Windows::connectMemory()
{
    QTimer::singleShot(startUpLasts, memory_.get(), &IdleMemory::giveBack);
    // Queued: the menu is deleted on its way back to the event loop.
    connect(menu_.get(), &MenuBarView::closed, memory_.get(), &IdleMemory::giveBack, Qt::QueuedConnection);
    connect(settings_.get(), &SettingsWindow::closed, memory_.get(), &IdleMemory::giveBack);
    connect(update_.get(), &UpdateWindow::closed, memory_.get(), &IdleMemory::giveBack);
    connect(&overlay_.state(), &RewriteOverlayState::isVisibleChanged, memory_.get(),
            &IdleMemory::giveBackLater);
    connect(&rewrites_, &RewriteService::isProcessingChanged, memory_.get(), &IdleMemory::giveBackLater);
}

bool Windows::isInUse() const
{
    const bool isPanelUp = !overlay_.presentationID().isNull() && overlay_.state().isVisible();
    return isPanelUp || rewrites_.isProcessing() || menu_->isOpen() || settings_->view() || update_->view();
}

void Windows::showStatusIcon()
{
    hasStatusIcon_ = true;
    label_->show();
}

void Windows::openUpdate()
{
    update_->show();
    commands_->serve(*update_->view());
}

void Windows::openCommands()
{
    menu_->close();
    commands_->popUp(QCursor::pos());
}

void Windows::openSettings()
{
    settings_->show();
    bringToFront(*settings_->view(), workspace_);
}

} // namespace quillmarsh
