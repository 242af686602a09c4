#include "app/QuillmarshApp.h"

#include "ai/InstallationToken.h"
#include "app/QuitSignals.h"
#include "app/Services.h"
#include "app/Windows.h"
#include "base/Deployment.h"
#include "base/Log.h"
#include "chatgpt/CodexOAuthService.h"
#include "overlay/RewriteOverlayController.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "ui/settings/SettingsModel.h"
#include "update/UpdateInstaller.h"
#include "update/UpdateService.h"

#include <QApplication>
#include <QNetworkProxyFactory>

namespace quillmarsh {

namespace {

/// What the autostart entry passes.
constexpr auto loginArgument = "--login";
/// A status bar that is there answers well within this time.
constexpr std::chrono::seconds statusBarPatience{3};
/// A secret store that is not waiting for the user stores within this.
constexpr std::chrono::seconds storePatience{2};

Task<> settleAccounts(std::stop_source settled)
{
    co_await CodexOAuthService::shared().settled();
    settled.request_stop();
}

} // namespace

void QuillmarshApp::describe(QApplication& application)
{
    application.setApplicationName(QStringLiteral("Quillmarsh"));
    application.setApplicationVersion(QStringLiteral(QUILLMARSH_VERSION));
    application.setDesktopFileName(QStringLiteral("com.quillmarsh.app"));
    application.setQuitOnLastWindowClosed(false);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
}

QuillmarshApp::QuillmarshApp(const QStringList& arguments)
    : quitSignals_(std::make_unique<QuitSignals>()), services_(std::make_unique<Services>())
{
    isLoginStart_ = arguments.contains(QLatin1String(loginArgument));
    connect(quitSignals_.get(), &QuitSignals::quitRequested, this, [this] { detach(quit()); });
    Deployment::applyEndpoints(services_->defaults);
    detach(start(arguments.contains(QLatin1String(relaunchArgument))));
}

QuillmarshApp::~QuillmarshApp() = default;

Task<> QuillmarshApp::start(bool isRelaunch)
{
    const InstanceClaim claim = co_await services_->platform.instanceGuard->claim(isRelaunch);
    if (claim == InstanceClaim::Running) {
        qCInfo(lcQuillmarsh, "Quillmarsh already runs; it was asked to come forward");
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        co_return;
    }
    connect(services_->platform.instanceGuard.get(), &InstanceGuard::activationRequested, this,
            &QuillmarshApp::openSettings);
    services_->create([this] { detach(quit()); });
    detach(mendInterruptedUpdate());
    services_->startIfNeeded();
    // The shortcuts work from here on; the rest comes after the events that came meanwhile.
    co_await sleepFor(std::chrono::milliseconds(1));
    finishLaunching();
}

void QuillmarshApp::finishLaunching()
{
    services_->overlay->prepare();
    windows_ = std::make_unique<Windows>(*services_);
    connect(windows_.get(), &Windows::quitRequested, this, [this] { detach(quit()); });
    detach(prepareHostedBackEnd());
    detach(showStatusIcon());
    detach(openSettingsWithoutStatusBar());
    const bool isNewUser = !services_->defaults.boolean(QLatin1String(hasSeenModernOnboardingKey));
    if (!isLoginStart_ && isNewUser)
        areSettingsWanted_ = true;
    if (areSettingsWanted_)
        windows_->openSettings();
}

// Another start may ask while this one is still on its way to its windows.
void QuillmarshApp::openSettings()
{
    areSettingsWanted_ = true;
    if (windows_)
        windows_->openSettings();
}

Task<> QuillmarshApp::prepareHostedBackEnd()
{
    if (services_->appSettings->provider() != AIProvider::cloud)
        co_return;
    co_await services_->installationToken->value();
}

/// When this process was started from the backup of a broken update, the backup is back in its place now, and
/// the copy there takes over.
Task<> QuillmarshApp::mendInterruptedUpdate()
{
    const auto moved = recoverInterruptedUpdate(services_->updateEnvironment());
    if (!moved)
        co_return;
    const QStringList arguments{QLatin1String(relaunchArgument)};
    const bool opened = co_await services_->platform.workspace->openApplication(*moved, arguments);
    if (opened)
        co_await quit();
}

Task<> QuillmarshApp::showStatusIcon()
{
    const bool hasTray = co_await services_->platform.statusItemHost->waitUntilAvailable();
    if (hasTray)
        windows_->showStatusIcon();
}

/// Without a status bar the settings window is the only way in. A desktop that is still starting gets its bar
/// later, and nobody asked for a window then; starting the product once more opens it. A window that has come
/// already comes no second time: by now the user may have turned to another.
Task<> QuillmarshApp::openSettingsWithoutStatusBar()
{
    co_await sleepFor(statusBarPatience);
    if (!isLoginStart_ && !windows_->hasStatusIcon() && !areSettingsWanted_)
        windows_->openSettings();
}

Task<> QuillmarshApp::quit()
{
    if (isQuitting_)
        co_return;
    isQuitting_ = true;
    co_await services_->platform.pasteboard->persist();
    const std::stop_source settled;
    detach(settleAccounts(settled));
    co_await sleepFor(storePatience, settled.get_token());
    QCoreApplication::quit();
}

} // namespace quillmarsh
