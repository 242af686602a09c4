#pragma once

#include "ai/AIProvider.h"
#include "rewrite/InstructionShortcut.h"

#include <QObject>

namespace quillmarsh {

class UserDefaults;

/// The one observable settings object: provider, OpenAI sign-in mode, ChatGPT e-mail, writing actions and the
/// count of completed rewrites, all kept in the user-defaults store. Main thread only.
class AppSettings final : public QObject
{
    Q_OBJECT

public:
    /// `store` outlives the settings. Applies the first-run provider, migrates legacy values and seeds the
    /// built-in writing actions. Data it cannot read is never overwritten here.
    explicit AppSettings(UserDefaults& store, QObject* parent = nullptr);

    /// `openai` when the stored text is none of the providers.
    [[nodiscard]] AIProvider provider() const;
    void setProvider(AIProvider provider);
    [[nodiscard]] OpenAIAuthMode openaiAuthMode() const;
    void setOpenaiAuthMode(OpenAIAuthMode mode);
    [[nodiscard]] QString chatgptEmail() const;
    void setChatgptEmail(const QString& email);

    /// The connection choice derived from provider and mode.
    [[nodiscard]] AIConnectionChoice connectionChoice() const;
    /// Writes the provider first, then the mode where the choice names one.
    void select(AIConnectionChoice choice);

    [[nodiscard]] const std::vector<InstructionShortcut>& instructionShortcuts() const;
    void setInstructionShortcuts(std::vector<InstructionShortcut> shortcuts);
    bool addShortcut(const InstructionShortcut& shortcut);
    /// Replaces the first action with the same id; nothing happens without one.
    void updateShortcut(const InstructionShortcut& shortcut);
    void removeShortcut(const QUuid& id);
    /// How many actions have a shortcut.
    [[nodiscard]] qsizetype activeShortcutCount() const;

    [[nodiscard]] qint64 completedRewriteCount() const { return completedRewriteCount_; }
    void recordCompletedRewrite();

signals:
    void providerChanged();
    void openaiAuthModeChanged();
    void chatgptEmailChanged();
    void instructionShortcutsChanged();
    void completedRewriteCountChanged();

private:
    void applyFirstRun();
    void migrateLegacyProvider();
    void seedShortcuts();

    UserDefaults& store_;
    qint64 completedRewriteCount_ = 0;
    mutable std::optional<std::vector<InstructionShortcut>> cachedShortcuts_;
};

} // namespace quillmarsh
