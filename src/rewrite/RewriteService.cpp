#include "rewrite/RewriteService.h"

#include "ai/AIError.h"
#include "base/Log.h"
#include "base/Race.h"
#include "overlay/RewriteOverlayController.h"
#include "rewrite/AppSettings.h"
#include "rewrite/TextLength.h"

#include <algorithm>

namespace quillmarsh {

namespace {

/// The longest selection that is sent, in user-perceived characters.
constexpr qsizetype maximumLength = 10'000;
/// What the target application gets to notice the new clipboard before it is asked to paste.
constexpr std::chrono::milliseconds pasteWait{50};
/// How often the result goes onto the clipboard when another program keeps taking it during that wait.
constexpr int placeAttempts = 3;

QString nameOf(const std::optional<RunningApplication>& application)
{
    const bool named = application && !application->localizedName.isEmpty();
    return named ? application->localizedName : QStringLiteral("Done");
}

/// The break that ends a selected line keeps the next one apart, and assistants drop it: an answer without
/// any blank at its end gets the selection's back.
QString withLineBreakOf(const QString& text, QString answer)
{
    const auto lastWritten = std::find_if(text.crbegin(), text.crend(), [](QChar c) { return !c.isSpace(); });
    const QString end = text.last(lastWritten - text.crbegin());
    const bool endsLine = end.contains(QLatin1Char('\n')) || end.contains(QLatin1Char('\r'));
    return endsLine && !answer.back().isSpace() ? answer + end : answer;
}

Task<> waitBeforePaste(ClipboardService clipboard)
{
    Task<> waiting = sleepFor(pasteWait);
    co_await sleepFor(pasteWait / 2);
    // Programs read the keyboard anew because of it, most at once and some, as this one, after 50 ms or more:
    // from half-way, neither meets the paste.
    clipboard.preparePaste();
    co_await waiting;
}

/// Puts `text` on the clipboard and gives the target its time to notice. True when the clipboard still holds
/// the text afterwards: what is pasted is ours, or nothing is pasted.
Task<bool> holdClipboard(ClipboardService clipboard, QString text, std::stop_token stop)
{
    for (int attempt = 0; attempt < placeAttempts; ++attempt) {
        const bool placed = co_await clipboard.place(text);
        if (!placed)
            co_return false;
        Task<qint64> counting = clipboard.changeCount(); // beside the wait, not before it
        co_await waitBeforePaste(clipboard);
        const qint64 placedAt = co_await counting;
        const bool held = co_await clipboard.holds(text, placedAt);
        if (held)
            co_return true;
        if (stop.stop_requested())
            co_return false; // who cancelled may have copied something since
        qCInfo(lcQuillmarsh, "Another program took the clipboard; the result is put there again");
    }
    co_return false;
}

} // namespace

/// Why a run ends without a result, as the panel shows it.
struct RewriteService::Failure final : std::exception
{
    QString title;
    QString detail;
    std::optional<SettingsSection> destination; ///< where the panel's settings button leads

    Failure(QString theTitle, QString theDetail, std::optional<SettingsSection> theDestination = {})
        : title(std::move(theTitle)), detail(std::move(theDetail)), destination(theDestination)
    {}
};

/// Marks the service as busy from a run's start to whichever end it takes.
class RewriteService::Run final
{
public:
    explicit Run(RewriteService& service) : service_(&service)
    {
        service.setProcessing(true);
        service.cancelled_ = false;
        service.rewriteTask_ = std::stop_source();
        service.setLastError(std::nullopt);
    }
    ~Run()
    {
        if (service_)
            service_->setProcessing(false);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    QPointer<RewriteService> service_;
};

/// Awaits one stage of the running rewrite. A run that was cancelled meanwhile, or whose service is gone,
/// ends here with Cancelled whatever the stage came to, so that nothing after an await needs to ask.
template <typename T>
Task<T> RewriteService::stage(QPointer<RewriteService> service, Task<T> task)
{
    const auto endIfOver = [&service] {
        if (!service || service->cancelled_)
            throw Cancelled();
    };
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            endIfOver();
        } else {
            T value = co_await std::move(task);
            endIfOver();
            co_return value;
        }
    } catch (...) {
        endIfOver();
        throw;
    }
}

Task<> RewriteService::performRewrite(std::optional<QString> instruction, QString title)
{
    if (isProcessing_) {
        cancelRewrite();
        co_return;
    }
    const QPointer self(this);
    const Run run(*this);
    try {
        co_await rewriteSelection(std::move(instruction), std::move(title));
    } catch (const Cancelled& cancelled) {
        // A run that the user cancelled ends without a message; a back end may also give up by itself.
        if (self && !cancelled_)
            fail({QStringLiteral("Couldn’t rewrite"), errorDescription(cancelled)});
    } catch (const Failure& failure) {
        fail(failure);
    } catch (const std::exception& error) {
        fail({QStringLiteral("Couldn’t rewrite"), errorDescription(error)});
    }
}

Task<> RewriteService::rewriteSelection(std::optional<QString> instruction, QString title)
{
    const QPointer self(this);
    const std::optional<RunningApplication> target = environment_.workspace.frontmostApplication();
    showOverlay(target, title);
    requireAccessibility();

    // A keyring may wait for the user and a back end may wait for anything; a cancelled run waits for
    // neither.
    const std::stop_token stop = rewriteTask_.get_token();
    const ProviderSelection provider = co_await stage(self, orStopped(requireProvider(), stop));
    environment_.warmUp(provider.provider, provider.mode);

    requireTarget(target); // a keyring may have asked the user something meanwhile
    const QString text = co_await stage(self, requireSelectedText());
    requireTarget(target);

    const QString result =
        co_await stage(self, orStopped(requireResult(provider, text, std::move(instruction), stop), stop));
    if (targetHolds(target))
        co_await pasteResult(target, result);
    else
        co_await leaveOnClipboard(result);
}

void RewriteService::showOverlay(const std::optional<RunningApplication>& target, const QString& title)
{
    environment_.overlay.show(target, title, false, [service = QPointer(this)] {
        if (service)
            service->cancelRewrite();
    });
}

void RewriteService::requireAccessibility()
{
    checkAndSetupAccessibility(false);
    if (!hasAccessibility_)
        throw Failure(
            QStringLiteral("Allow Accessibility"),
            QStringLiteral("Enable Quillmarsh in System Settings → Privacy & Security → Accessibility."),
            SettingsSection::permissions);
}

Task<ProviderSelection> RewriteService::requireProvider() const
{
    const std::optional<ProviderSelection> selection =
        co_await findAvailableProvider(appSettings_, environment_.keychain, environment_.chatGPTTokens);
    if (!selection)
        throw Failure(QStringLiteral("Connect your AI"),
                      QStringLiteral("Connect ChatGPT or add your own API key."),
                      SettingsSection::connections);
    co_return *selection;
}

Task<QString> RewriteService::requireSelectedText() const
{
    const std::optional<QString> text = co_await clipboardService_.copySelectedText();
    if (!text || text->trimmed().isEmpty())
        throw Failure(QStringLiteral("Select some text first"),
                      QStringLiteral("Then press your shortcut again."));
    co_return *text;
}

void RewriteService::requireTarget(const std::optional<RunningApplication>& target) const
{
    if (!targetHolds(target))
        throw Failure(QStringLiteral("Selection changed"),
                      QStringLiteral("Return to your text and try the shortcut again."));
}

bool RewriteService::targetHolds(const std::optional<RunningApplication>& target) const
{
    const std::optional<RunningApplication> now = environment_.workspace.frontmostApplication();
    if (!target || !now)
        return !target && !now;
    return isSameApplication(*target, *now);
}

Task<QString> RewriteService::requireResult(ProviderSelection provider, QString text,
                                            std::optional<QString> instruction, std::stop_token stop) const
{
    try {
        if (isLongerThan(text, maximumLength))
            throw AIError::textTooLong();
        const auto backEnd = environment_.makeBackEnd(provider.provider, provider.mode);
        QString answer = co_await backEnd->rewriteText(text, provider.apiKey, instruction, stop);
        if (answer.trimmed().isEmpty()) // it would delete what the user wrote
            throw AIError::invalidResponse();
        co_return withLineBreakOf(text, std::move(answer));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure(QStringLiteral("Couldn’t rewrite"), errorDescription(error));
    }
}

Task<> RewriteService::pasteResult(std::optional<RunningApplication> target, QString result)
{
    const QPointer self(this);
    const std::stop_token stop = rewriteTask_.get_token();
    const bool held = co_await stage(self, holdClipboard(clipboardService_, result, stop));
    if (!held)
        throw clipboardTaken();
    bool pasted = false;
    if (environment_.accessibilityCheck() && targetHolds(target))
        pasted = co_await stage(self, orStopped(clipboardService_.paste(), stop));
    if (pasted)
        complete(QStringLiteral("Text rewritten"), nameOf(target));
    else
        co_await leaveOnClipboard(result); // a paste that was refused may have found the clipboard taken
}

Task<> RewriteService::leaveOnClipboard(QString result)
{
    const QPointer self(this);
    const bool placed = co_await stage(self, clipboardService_.place(result));
    if (!placed)
        throw clipboardTaken();
    complete(QStringLiteral("Copied to clipboard"), QStringLiteral("Paste it when you’re ready."));
}

RewriteService::Failure RewriteService::clipboardTaken()
{
    return {QStringLiteral("Couldn’t rewrite"),
            QStringLiteral("Another application is holding the clipboard. Please try again.")};
}

void RewriteService::cancelRewrite()
{
    cancelled_ = true;
    rewriteTask_.request_stop();
    environment_.overlay.hide(false);
}

void RewriteService::complete(const QString& title, const QString& detail)
{
    if (appSettings_)
        appSettings_->recordCompletedRewrite();
    lastSuccess_ = QDateTime::currentDateTime();
    emit lastSuccessChanged();
    environment_.overlay.finish(title, detail, false);
}

void RewriteService::fail(const Failure& failure)
{
    setLastError(failure.detail);
    if (!failure.destination) {
        environment_.overlay.finish(failure.title, failure.detail, true);
        return;
    }
    const auto open = [service = QPointer(this), destination = *failure.destination] {
        if (service)
            service->openSettings(destination);
    };
    environment_.overlay.finish(failure.title, failure.detail, true, QStringLiteral("Settings"), open);
}

void RewriteService::openSettings(SettingsSection destination)
{
    environment_.overlay.hide(false);
    requestSettings(destination, environment_.defaults);
}

} // namespace quillmarsh
