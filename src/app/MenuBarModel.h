#pragma once

#include "app/MenuBarEnvironment.h"
#include "platform/Workspace.h"

#include <QObject>
#include <QVariantList>

namespace quillmarsh {

enum class SettingsSection;
struct InstructionShortcut;

/// The menu's texts and rules: which lines it has, what they say, and what choosing them does. Lives as long
/// as the application, so that a half-typed instruction is still there when the menu opens again.
class MenuBarModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY processingChanged)
    Q_PROPERTY(QString status READ status NOTIFY processingChanged)
    Q_PROPERTY(QString accessibilityNotice READ accessibilityNotice NOTIFY accessibilityChanged)
    Q_PROPERTY(QString updateNotice READ updateNotice NOTIFY updateChanged)
    Q_PROPERTY(QString connection READ connection NOTIFY connectionChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY connectionChanged)
    Q_PROPERTY(bool isVerified READ isVerified NOTIFY connectionChanged)
    Q_PROPERTY(QVariantList actions READ actions NOTIFY actionsChanged)
    Q_PROPERTY(bool showsCustomField READ showsCustomField NOTIFY showsCustomFieldChanged)
    Q_PROPERTY(QString customInstruction READ customInstruction WRITE setCustomInstruction NOTIFY
                   customInstructionChanged)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY customInstructionChanged)
    Q_PROPERTY(bool updatesItself READ updatesItself CONSTANT)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY updateChanged)

public:
    explicit MenuBarModel(MenuBarEnvironment environment, QObject* parent = nullptr);

    [[nodiscard]] bool isProcessing() const;
    [[nodiscard]] QString status() const;
    /// The notices are empty when there is nothing to tell.
    [[nodiscard]] QString accessibilityNotice() const;
    [[nodiscard]] QString updateNotice() const;
    /// The back end in use, or what is missing for it.
    [[nodiscard]] QString connection() const;
    /// False when something is missing that can be told without opening the secret store.
    [[nodiscard]] bool isConnected() const;
    /// Known to work as it is: a provider that needs a key is not, for all the menu knows.
    [[nodiscard]] bool isVerified() const;
    /// One {name, icon, shortcut, refusal} for each writing action; the last two may be empty.
    [[nodiscard]] QVariantList actions() const;
    [[nodiscard]] bool showsCustomField() const { return showsCustomField_; }
    [[nodiscard]] const QString& customInstruction() const { return customInstruction_; }
    void setCustomInstruction(const QString& text);
    /// False for a blank instruction.
    [[nodiscard]] bool canSubmit() const { return !customInstruction_.trimmed().isEmpty(); }
    /// False where a package manager keeps the application up to date.
    [[nodiscard]] bool updatesItself() const;
    [[nodiscard]] bool canCheckForUpdates() const;

    /// Told by the window each time it opens: the application in front may be another one by now.
    void menuOpened();

    Q_INVOKABLE void runAction(int index);
    Q_INVOKABLE void openCustomField();
    Q_INVOKABLE void hideCustomField();
    /// Runs the typed instruction; a blank one leaves the field open and starts nothing.
    Q_INVOKABLE void submit();
    Q_INVOKABLE void openPermissions();
    Q_INVOKABLE void openConnections();
    Q_INVOKABLE void showUpdate();
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void openQuillmarsh();
    Q_INVOKABLE void quit();

signals:
    void processingChanged();
    void accessibilityChanged();
    void updateChanged();
    void connectionChanged();
    void actionsChanged();
    void showsCustomFieldChanged();
    void customInstructionChanged();
    /// Something was chosen; the menu closes.
    void closeRequested();
    void settingsRequested();
    void quitRequested();

private:
    void observe();
    void captureTarget();
    void close();
    void openSettings(SettingsSection section);
    void rewrite(const QString& instruction, const QString& title);
    [[nodiscard]] bool usesChatGPT() const;
    [[nodiscard]] QString refusal(const InstructionShortcut& action, const QString& shortcut) const;

    MenuBarEnvironment environment_;
    std::optional<RunningApplication> target_;
    QString customInstruction_;
    bool showsCustomField_ = false;
};

} // namespace quillmarsh
