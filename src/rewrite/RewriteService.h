#pragma once

#include "platform/Workspace.h"
#include "rewrite/ClipboardService.h"
#include "rewrite/HotkeyService.h"
#include "rewrite/RewriteEnvironment.h"
#include "rewrite/SettingsSection.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>

namespace quillmarsh {

class AppSettings;
struct InstructionShortcut;

/// The spine of the program: keeps the permission state current, registers the writing actions' shortcuts,
/// and runs one rewrite from the key press until the result is in the application the user was working in, or
/// on the clipboard. Main thread only; one for the life of the process.
class RewriteService final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
    Q_PROPERTY(bool hasAccessibility READ hasAccessibility NOTIFY hasAccessibilityChanged)
    Q_PROPERTY(bool hotkeyRegistered READ hotkeyRegistered NOTIFY hotkeyRegisteredChanged)
    Q_PROPERTY(
        bool isWaitingForAccessibility READ isWaitingForAccessibility NOTIFY isWaitingForAccessibilityChanged)

public:
    /// `setupAccessibility` false: nothing observes and nothing is registered (previews, the demo).
    RewriteService(bool setupAccessibility, RewriteEnvironment environment,
                   std::unique_ptr<HotkeyControlling> hotkeyService);
    ~RewriteService() override;

    [[nodiscard]] bool isProcessing() const { return isProcessing_; }
    /// The last failure's detail, or the registration message; none after a start or a registration.
    [[nodiscard]] const std::optional<QString>& lastError() const { return lastError_; }
    [[nodiscard]] const std::optional<QDateTime>& lastSuccess() const { return lastSuccess_; }
    [[nodiscard]] bool hasAccessibility() const { return hasAccessibility_; }
    [[nodiscard]] bool hotkeyRegistered() const { return hotkeyRegistered_; }
    [[nodiscard]] bool isWaitingForAccessibility() const { return isWaitingForAccessibility_; }
    /// The last application other than this one that came to the front.
    [[nodiscard]] const std::optional<RunningApplication>& lastExternalApplication() const
    {
        return lastExternalApplication_;
    }
    /// Registered shortcuts that another program owns and that therefore never fire. Cheap.
    [[nodiscard]] std::vector<KeyCombination> refusedShortcuts() const { return hotkeyService_->refused(); }
    /// Whether the action has one of these.
    [[nodiscard]] bool isRefused(const InstructionShortcut& action) const;
    [[nodiscard]] HotkeyControlling& hotkeyService() { return *hotkeyService_; }

    /// Whose writing actions are registered and whose back end is used; may go away first.
    void setAppSettings(AppSettings* settings);
    /// Looks whether the permission is there, and registers the shortcuts or lets go of them when that has
    /// changed. `retryHotkeys`: also registers them when an earlier registration failed.
    void checkAndSetupAccessibility(bool retryHotkeys);
    /// Asks the user for the permission unless it is there, and opens the place where it is given.
    void requestAccessibility();
    /// Registers the writing actions' shortcuts anew; nothing without the permission or the settings. A
    /// failure is in lastError().
    void registerHotkeys();
    /// Stops the tap so that the next check registers everything anew.
    void restartHotkeys();

    /// Runs one rewrite, or cancels the one that is running. Without an instruction the back end corrects.
    /// Never throws: what went wrong is on the panel and in lastError().
    Task<> performRewrite(std::optional<QString> instruction, QString title);

signals:
    void isProcessingChanged();
    void lastErrorChanged();
    void lastSuccessChanged();
    void hasAccessibilityChanged();
    void hotkeyRegisteredChanged();
    void isWaitingForAccessibilityChanged();
    /// A registration ran, or refusedShortcuts() changed.
    void shortcutsRegistered();

private:
    class Run;
    struct Failure;

    void observeApplications();
    static Task<> monitorPermission(QPointer<RewriteService> service, std::stop_token stop);
    [[nodiscard]] std::vector<Registration> makeRegistrations();
    void startHotkeys();
    [[nodiscard]] QString registrationProblem() const;
    void announceRegistration();
    void retryRefusedShortcuts();

    template <typename T>
    static Task<T> stage(QPointer<RewriteService> service, Task<T> task);
    Task<> rewriteSelection(std::optional<QString> instruction, QString title);
    void showOverlay(const std::optional<RunningApplication>& target, const QString& title);
    void requireAccessibility();
    Task<ProviderSelection> requireProvider() const;
    Task<QString> requireSelectedText() const;
    void requireTarget(const std::optional<RunningApplication>& target) const;
    [[nodiscard]] bool targetHolds(const std::optional<RunningApplication>& target) const;
    Task<QString> requireResult(ProviderSelection provider, QString text, std::optional<QString> instruction,
                                std::stop_token stop) const;
    Task<> pasteResult(std::optional<RunningApplication> target, QString result);
    Task<> leaveOnClipboard(QString result);
    static Failure clipboardTaken();

    void cancelRewrite();
    void complete(const QString& title, const QString& detail);
    void fail(const Failure& failure);
    void openSettings(SettingsSection destination);

    void setProcessing(bool processing);
    void setLastError(std::optional<QString> error);
    void setHasAccessibility(bool trusted);
    void setHotkeyRegistered(bool registered);
    void setWaitingForAccessibility(bool waiting);

    RewriteEnvironment environment_;
    ClipboardService clipboardService_;
    std::unique_ptr<HotkeyControlling> hotkeyService_;
    QPointer<AppSettings> appSettings_;
    std::stop_source permissionMonitor_;
    std::stop_source rewriteTask_;
    std::optional<QString> lastError_;
    std::optional<QDateTime> lastSuccess_;
    std::optional<RunningApplication> lastExternalApplication_;
    std::vector<KeyCombination> announcedRefusals_; ///< as the log and the views know them
    bool isProcessing_ = false;
    bool hasAccessibility_ = false;
    bool hotkeyRegistered_ = false;
    bool isWaitingForAccessibility_ = false;
    bool cancelled_ = false;
};

} // namespace quillmarsh
