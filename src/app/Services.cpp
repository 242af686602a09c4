#include "app/Services.h"

#include "ai/AIServiceFactory.h"
#include "ai/InstallationToken.h"
#include "base/Http.h"
#include "chatgpt/CodexOAuthService.h"
#include "overlay/RewriteOverlayController.h"
#include "platform/LoopbackPeer.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "update/UpdateService.h"

namespace quillmarsh {

Services::Services(Platform givenPlatform, const QString& defaultsPath)
    : platform(std::move(givenPlatform)), defaults(defaultsPath)
{}

Services::~Services()
{
    // It works with the members of this object, so it may not outlive them.
    CodexOAuthService::installShared(nullptr);
}

UpdateEnvironment Services::updateEnvironment() const
{
    UpdateEnvironment environment =
        UpdateEnvironment::standard(*platform.bundle, *platform.processRunner, *platform.workspace);
    environment.terminate = quit_;
    return environment;
}

void Services::create(std::function<void()> quit)
{
    quit_ = std::move(quit);
    installationToken = std::make_unique<InstallationToken>(*platform.secItems);
    appSettings = std::make_unique<AppSettings>(defaults);
    overlay = std::make_unique<RewriteOverlayController>(*platform.panelWindow, *platform.appearance);
    createAccountConnection();
    followAccountEmail();
    createRewriteService();
    updateService = std::make_unique<UpdateService>(&sharedUrlSession(), updateEnvironment());
}

void Services::createAccountConnection()
{
    CodexEnvironment environment;
    environment.secItems = platform.secItems.get();
    environment.defaults = &defaults;
    environment.session = &sharedUrlSession();
    environment.endpoints = CodexEndpoints::current();
    environment.openBrowser = [this](QUrl address) { return platform.workspace->open(std::move(address)); };
    environment.isOfAnotherUser = isOfAnotherUser;
    CodexOAuthService::installShared(
        std::make_unique<CodexOAuthService>(environment, CodexOAuthService::StoredState::load));
}

void Services::followAccountEmail()
{
    CodexOAuthService& accounts = CodexOAuthService::shared();
    const auto follow = [this, &accounts] {
        const auto active = accounts.tokens();
        appSettings->setChatgptEmail(active ? active->email.value_or(QString()) : QString());
    };
    QObject::connect(&accounts, &CodexOAuthService::profilesChanged, appSettings.get(), follow);
    QObject::connect(&accounts, &CodexOAuthService::activeClientIDChanged, appSettings.get(), follow);
}

void Services::createRewriteService()
{
    const auto token = [this] { return installationToken->value(); };
    const auto makeBackEnd = [token](AIProvider provider, OpenAIAuthMode mode) {
        return AIServiceFactory::service(provider, mode, token);
    };
    const auto warmUp = [makeBackEnd](AIProvider provider, OpenAIAuthMode mode) {
        preconnect(sharedUrlSession(), makeBackEnd(provider, mode)->endpoint());
    };
    RewriteEnvironment environment{
        .workspace = *platform.workspace,
        .pasteboard = *platform.pasteboard,
        .keyPoster = *platform.keyPoster,
        .defaults = defaults,
        .overlay = *overlay,
        .keychain = {platform.secItems.get()},
        .accessibilityCheck = [this] { return platform.accessibility->isProcessTrusted(); },
        .accessibilityRequest = [this] { platform.accessibility->request(); },
        .openAccessibilitySettings = [this] { platform.accessibility->openSettings(); },
        .chatGPTTokens = [] { return CodexOAuthService::shared().loadedTokens(); },
        .makeBackEnd = makeBackEnd,
        .warmUp = warmUp,
    };
    auto hotkeys = std::make_unique<HotkeyService>(*platform.eventTaps, *platform.accessibility);
    hotkeyService = hotkeys.get();
    rewriteService = std::make_unique<RewriteService>(true, std::move(environment), std::move(hotkeys));
}

void Services::startIfNeeded()
{
    if (started_)
        return;
    started_ = true;
    rewriteService->setAppSettings(appSettings.get());
    rewriteService->restartHotkeys();
    updateService->startAutomaticChecks();
}

} // namespace quillmarsh
