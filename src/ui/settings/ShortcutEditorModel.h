#pragma once

#include "rewrite/InstructionShortcut.h"
#include "ui/settings/ShortcutRecorder.h"

namespace quillmarsh {

class AppSettings;

/// The sheet in which one writing action is made or changed. Name and instruction are saved without the white
/// space around them; without both nothing can be saved, and `problem` says so.
class ShortcutEditorModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    Q_PROPERTY(QString title READ title NOTIFY isOpenChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY fieldsChanged)
    Q_PROPERTY(QString instruction READ instruction WRITE setInstruction NOTIFY fieldsChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY fieldsChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY fieldsChanged)
    Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY shortcutChanged)
    Q_PROPERTY(QString ownerNote READ ownerNote NOTIFY shortcutChanged)
    Q_PROPERTY(QString conflictMessage READ conflictMessage NOTIFY conflictMessageChanged)
    Q_PROPERTY(quillmarsh::ShortcutRecorder* recorder READ recorder CONSTANT)

public:
    /// A new action's symbol; there is nothing to choose one with yet.
    static constexpr auto newActionIcon = "text.cursor";

    /// `settings` and `layout` outlive the model.
    ShortcutEditorModel(AppSettings& settings, KeyboardLayout& layout, RecorderEnvironment recording,
                        QObject* parent = nullptr);

    /// Begins a new action.
    Q_INVOKABLE void create();
    /// Begins with the action at `row` of the settings' list; a row outside it does nothing.
    Q_INVOKABLE void edit(int row);
    /// Saves and closes. With another action on the same shortcut it sets `conflictMessage` and stays open.
    Q_INVOKABLE void save();
    /// Closes without saving.
    Q_INVOKABLE void close();
    Q_INVOKABLE void dismissConflict() { setConflictMessage({}); }
    Q_INVOKABLE void startRecording() { recorder_.start(); }
    Q_INVOKABLE void clearShortcut();

    [[nodiscard]] bool isOpen() const { return isOpen_; }
    [[nodiscard]] QString title() const;
    [[nodiscard]] const QString& name() const { return draft_.name; }
    void setName(const QString& name);
    [[nodiscard]] const QString& instruction() const { return draft_.instruction; }
    void setInstruction(const QString& instruction);
    [[nodiscard]] bool canSave() const { return problem().isEmpty(); }
    [[nodiscard]] QString problem() const;
    /// "⇧⌘R"; empty without a shortcut.
    [[nodiscard]] QString shortcutText() const;
    /// Names a shortcut that another program owns; empty otherwise.
    [[nodiscard]] QString ownerNote() const;
    /// The conflict alert's message; empty while there is none.
    [[nodiscard]] const QString& conflictMessage() const { return conflictMessage_; }
    [[nodiscard]] ShortcutRecorder* recorder() { return &recorder_; }

signals:
    void isOpenChanged();
    void fieldsChanged();
    void shortcutChanged();
    void conflictMessageChanged();

private:
    void open(InstructionShortcut draft);
    [[nodiscard]] const InstructionShortcut* conflict() const;
    void setShortcut(const KeyCombination& combination, bool isOwnedByAnotherProgram);
    void setConflictMessage(const QString& message);

    AppSettings& settings_;
    KeyboardLayout& layout_;
    ShortcutRecorder recorder_;
    InstructionShortcut draft_; ///< a null id: a new action
    QString conflictMessage_;
    bool isOwnedByAnotherProgram_ = false;
    bool isOpen_ = false;
};

} // namespace quillmarsh
