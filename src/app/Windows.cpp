#include "app/Windows.h"

#include "app/MenuBarLabel.h"
#include "app/MenuBarModel.h"
#include "app/MenuBarView.h"
#include "app/Services.h"
#include "base/NotificationCenter.h"
#include "chatgpt/CodexOAuthService.h"
#include "platform/FreeMemory.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "ui/kit/AppDesign.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/update/UpdateWindow.h"
#include "update/InstallationModel.h"
#include "update/UpdateService.h"

#include <QApplication>

namespace quillmarsh {

namespace {

SettingsEnvironment settingsEnvironment(Services& services, InstallationModel& installation)
{
    return {*services.appSettings,
            *services.rewriteService,
            CodexOAuthService::shared(),
            *services.updateService,
            installation,
            services.defaults,
            NotificationCenter::defaultCenter(),
            *services.platform.workspace,
            *services.platform.keyboardLayout,
            KeychainService{services.platform.secItems.get()},
            [&services](quint32 scanCode) { return services.platform.keyboardLayout->keyCode(scanCode); },
            [&services](const KeyCombination& combination) {
                return ownedByAnotherProgram(*services.platform.eventTaps, combination);
            },
            &QApplication::beep,
            [&services](bool focused) { services.hotkeyService->setDemoFocused(focused); }};
}

MenuBarEnvironment menuEnvironment(Services& services)
{
    return {*services.appSettings,
            *services.rewriteService,
            *services.updateService,
            *services.platform.workspace,
            *services.platform.keyboardLayout,
            services.defaults,
            [] { return CodexOAuthService::shared().tokens().has_value(); }};
}

} // namespace

Windows::Windows(Services& services, QObject* parent) : QObject(parent)
{
    QApplication::setWindowIcon(applicationIcon());
    AppDesign::setAppearance(services.platform.appearance.get());
    installation_ = std::make_unique<InstallationModel>(services.updateEnvironment());
    settings_ = std::make_unique<SettingsWindow>(settingsEnvironment(services, *installation_));
    update_ = std::make_unique<UpdateWindow>(*services.updateService);
    services.updateService->setPresentWindow([this] { update_->show(); });
    menuModel_ = std::make_unique<MenuBarModel>(menuEnvironment(services));
    menu_ = std::make_unique<MenuBarView>(*menuModel_, *services.platform.panelWindow);
    label_ = std::make_unique<MenuBarLabel>(*services.rewriteService);
    connectAll();
}

Windows::~Windows() = default;

void Windows::connectAll()
{
    CodexOAuthService& accounts = CodexOAuthService::shared();
    connect(&accounts, &CodexOAuthService::profilesChanged, menuModel_.get(),
            &MenuBarModel::connectionChanged);
    connect(&accounts, &CodexOAuthService::activeClientIDChanged, menuModel_.get(),
            &MenuBarModel::connectionChanged);
    connect(menu_.get(), &MenuBarView::closed, this, &giveBackFreeMemory);
    connect(settings_.get(), &SettingsWindow::closed, this, &giveBackFreeMemory);
    connect(update_.get(), &UpdateWindow::closed, this, &giveBackFreeMemory);
    connect(label_.get(), &MenuBarLabel::menuRequested, this, [this] { menu_->toggle(label_->geometry()); });
    connect(label_.get(), &MenuBarLabel::settingsRequested, this, &Windows::openSettings);
    connect(menuModel_.get(), &MenuBarModel::settingsRequested, this, &Windows::openSettings);
    connect(menuModel_.get(), &MenuBarModel::quitRequested, this, &Windows::quitRequested);
}

void Windows::showStatusIcon()
{
    hasStatusIcon_ = true;
    label_->show();
}

void Windows::openSettings()
{
    settings_->show();
}

} // namespace quillmarsh
