#pragma once

#include "ai/AIError.h"
#include "base/LocalizedError.h"
#include "base/UserDefaults.h"
#include "overlay/RewriteOverlayController.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"
#include "support/FakeRewritePanel.h"

#include <QCoreApplication>
#include <QTemporaryDir>

namespace quillmarsh::test {

/// What the scripted back end was asked and what it does.
struct BackEndScript
{
    std::function<Task<QString>(QString text, std::stop_token stop)> reply;
    QStringList texts;
    QStringList keys;
    QStringList instructions; ///< "<none>" for none
    std::vector<std::pair<AIProvider, OpenAIAuthMode>> made;
    std::vector<std::pair<AIProvider, OpenAIAuthMode>> warmed;
};

class ScriptedBackEnd final : public AIServiceProtocol
{
public:
    explicit ScriptedBackEnd(std::shared_ptr<BackEndScript> script) : script_(std::move(script)) {}

    Task<QString> rewriteText(QString text, QString apiKey, std::optional<QString> instruction,
                              std::stop_token stop) override
    {
        script_->texts << text;
        script_->keys << apiKey;
        script_->instructions << instruction.value_or(QStringLiteral("<none>"));
        return script_->reply(text, stop);
    }
    [[nodiscard]] QUrl endpoint() const override { return {}; }

private:
    std::shared_ptr<BackEndScript> script_;
};

/// The real orchestrator, settings, overlay controller and shortcut service on a platform of fakes: an editor
/// is in front, and copying yields `selection`.
class RewriteFixture
{
public:
    RewriteFixture()
    {
        platform.workspace->frontmost = editor;
        platform.keyPoster->onPost = [this](const KeyCombination& keys) {
            if (keys.keyCode == VirtualKey::c && selection)
                platform.pasteboard->copyFromElsewhere(*selection);
        };
        script->reply = &RewriteFixture::shout;
        RewriteOverlayOptions options;
        options.panels = [this](RewriteOverlayState&) { return std::make_unique<FakeRewritePanel>(panel); };
        overlay =
            std::make_unique<RewriteOverlayController>(*platform.panelWindow, *platform.appearance, options);
    }

    void makeService(bool setupAccessibility = true)
    {
        auto hotkeys = std::make_unique<HotkeyService>(*platform.eventTaps, *platform.accessibility);
        service = std::make_unique<RewriteService>(setupAccessibility, environment(), std::move(hotkeys));
        service->setAppSettings(&settings);
        service->restartHotkeys();
    }

    RewriteEnvironment environment()
    {
        return {*platform.workspace,
                *platform.pasteboard,
                *platform.keyPoster,
                defaults,
                *overlay,
                KeychainService{secItems},
                [this] { return platform.accessibility->isProcessTrusted(); },
                [this] { platform.accessibility->request(); },
                [this] { platform.accessibility->openSettings(); },
                [this] { return activeTokens(tokens, tokensKnown); },
                [this](AIProvider provider, OpenAIAuthMode mode) {
                    script->made.emplace_back(provider, mode);
                    return std::make_unique<ScriptedBackEnd>(script);
                },
                [this](AIProvider provider, OpenAIAuthMode mode) {
                    script->warmed.emplace_back(provider, mode);
                }};
    }

    static Task<std::optional<CodexTokens>> activeTokens(std::optional<CodexTokens> tokens,
                                                         std::stop_token known)
    {
        if (known.stop_possible())
            co_await sleepFor(std::chrono::hours(1), known);
        co_return tokens;
    }
    static Task<QString> shout(QString text, std::stop_token) { co_return text.toUpper(); }
    static Task<QString> say(QString answer) { co_return answer; }
    static Task<QString> failWith(QString message)
    {
        co_await sleepFor(std::chrono::milliseconds(1));
        throw AIError::apiError(500, message);
    }
    static Task<QString> neverAnswer(std::stop_token stop)
    {
        co_await sleepFor(std::chrono::hours(1), stop);
        throw Cancelled();
    }

    [[nodiscard]] QString shownTitle() const { return overlay->state().title(); }
    [[nodiscard]] QString shownDetail() const { return overlay->state().detail(); }
    [[nodiscard]] bool pasted() const
    {
        return std::ranges::count(platform.keyPoster->posts,
                                  KeyCombination{VirtualKey::v, ModifierFlags::command});
    }

    FakePlatform platform;
    RunningApplication editor{4711, QStringLiteral("Editor"), QStringLiteral("editor"), 1, 1};
    RunningApplication browser{4712, QStringLiteral("Browser"), QStringLiteral("browser"), 2, 2};
    std::optional<std::optional<QString>> selection = QStringLiteral("some text");
    SecItems* secItems = platform.secItems;
    std::optional<CodexTokens> tokens;
    std::stop_token tokensKnown; ///< when possible: the tokens are known once it is requested
    std::shared_ptr<BackEndScript> script = std::make_shared<BackEndScript>();
    FakePanelRecord panel;
    QTemporaryDir folder;
    UserDefaults defaults{folder.filePath(QStringLiteral("defaults.ini"))};
    AppSettings settings{defaults};
    std::unique_ptr<RewriteOverlayController> overlay;
    std::unique_ptr<RewriteService> service;
};

} // namespace quillmarsh::test
