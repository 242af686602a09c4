#pragma once

#include "rewrite/InstructionShortcut.h"

#include <QAbstractListModel>

namespace quillmarsh {

class AppSettings;
class RewriteService;

/// The writing actions in the settings' order. Every change of the list, wherever it is made, restarts the
/// global shortcuts. A deletion asks nothing and can be taken back for a few seconds.
class WritingActionsModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(QString countText READ countText NOTIFY countChanged)
    Q_PROPERTY(QString undoText READ undoText NOTIFY undoChanged)
    Q_PROPERTY(int undoMilliseconds READ undoMilliseconds CONSTANT)

public:
    enum Role {
        NameRole = Qt::UserRole + 1,
        IconRole,
        ShortcutRole, ///< "⇧⌘R", empty without a shortcut
        RefusalRole,  ///< why the shortcut never fires, empty when it does
        IsFirstRole,
        IsLastRole,
    };
    Q_ENUM(Role)

    /// All three outlive the model.
    WritingActionsModel(AppSettings& settings, RewriteService& rewrites, KeyboardLayout& layout,
                        QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] int count() const { return rowCount(); }
    [[nodiscard]] QString countText() const;
    /// What "Undo" would bring back, as a sentence; empty when there is nothing.
    [[nodiscard]] QString undoText() const;
    /// How long the user is offered to undo.
    [[nodiscard]] static int undoMilliseconds() { return 8000; }
    [[nodiscard]] const InstructionShortcut& action(int row) const
    {
        return rows_.at(static_cast<size_t>(row));
    }

    /// Rows outside the list, and moves beyond its ends, do nothing.
    Q_INVOKABLE void moveUp(int row) { move(row, row - 1); }
    Q_INVOKABLE void moveDown(int row) { move(row, row + 1); }
    Q_INVOKABLE void remove(int row);
    /// Puts the last deleted action back where it was.
    Q_INVOKABLE void undo();
    Q_INVOKABLE void forgetDeleted();

signals:
    void countChanged();
    void undoChanged();

private:
    struct Deleted
    {
        InstructionShortcut action;
        int row;
    };

    [[nodiscard]] bool contains(int row) const { return row >= 0 && row < count(); }
    void move(int from, int to);
    void listChanged();
    void synchronize(const std::vector<InstructionShortcut>& list);
    void dropMissing(const std::vector<InstructionShortcut>& list);
    void place(size_t row, const InstructionShortcut& action);
    void announce(const QList<int>& roles);
    [[nodiscard]] QString refusal(const InstructionShortcut& action) const;

    AppSettings& settings_;
    RewriteService& rewrites_;
    KeyboardLayout& layout_;
    std::vector<InstructionShortcut> rows_;
    std::vector<Deleted> deleted_;
};

} // namespace quillmarsh
