#include "ui/settings/WritingActionsModel.h"

#include "platform/KeyboardLayout.h"
#include "rewrite/AppSettings.h"
#include "rewrite/RewriteService.h"

#include <algorithm>

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

auto withId(const QUuid& id)
{
    return [id](const InstructionShortcut& action) { return action.id == id; };
}

} // namespace

WritingActionsModel::WritingActionsModel(AppSettings& settings, RewriteService& rewrites,
                                         KeyboardLayout& layout, QObject* parent)
    : QAbstractListModel(parent), settings_(settings), rewrites_(rewrites), layout_(layout),
      rows_(settings.instructionShortcuts())
{
    connect(&settings, &AppSettings::instructionShortcutsChanged, this, &WritingActionsModel::listChanged);
    connect(&rewrites, &RewriteService::shortcutsRegistered, this, [this] { announce({RefusalRole}); });
    connect(&layout, &KeyboardLayout::changed, this, [this] { announce({ShortcutRole, RefusalRole}); });
}

int WritingActionsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant WritingActionsModel::data(const QModelIndex& index, int role) const
{
    if (!contains(index.row()))
        return {};
    const InstructionShortcut& row = action(index.row());
    switch (role) {
    case NameRole:
        return row.name;
    case IconRole:
        return row.icon;
    case ShortcutRole:
        return row.hotkeyDisplayString(layout_).value_or(QString());
    case RefusalRole:
        return refusal(row);
    case IsFirstRole:
        return index.row() == 0;
    case IsLastRole:
        return index.row() == count() - 1;
    default:
        return {};
    }
}

QHash<int, QByteArray> WritingActionsModel::roleNames() const
{
    return {{NameRole, "name"},       {IconRole, "symbol"},     {ShortcutRole, "shortcut"},
            {RefusalRole, "refusal"}, {IsFirstRole, "isFirst"}, {IsLastRole, "isLast"}};
}

QString WritingActionsModel::countText() const
{
    return u"%1 writing actions"_s.arg(count());
}

QString WritingActionsModel::undoText() const
{
    return deleted_.empty() ? QString() : u"Deleted “%1”."_s.arg(deleted_.back().action.name);
}

void WritingActionsModel::remove(int row)
{
    if (!contains(row))
        return;
    deleted_.push_back({action(row), row});
    settings_.removeShortcut(QUuid(deleted_.back().action.id));
    emit undoChanged();
}

void WritingActionsModel::undo()
{
    if (deleted_.empty())
        return;
    const Deleted last = std::move(deleted_.back());
    deleted_.pop_back();
    std::vector<InstructionShortcut> list = settings_.instructionShortcuts();
    list.insert(list.begin() + std::min<qsizetype>(last.row, std::ssize(list)), last.action);
    settings_.setInstructionShortcuts(std::move(list));
    emit undoChanged();
}

void WritingActionsModel::forgetDeleted()
{
    if (deleted_.empty())
        return;
    deleted_.clear();
    emit undoChanged();
}

void WritingActionsModel::move(int from, int to)
{
    if (!contains(from) || !contains(to))
        return;
    std::vector<InstructionShortcut> list = settings_.instructionShortcuts();
    std::swap(list.at(static_cast<size_t>(from)), list.at(static_cast<size_t>(to)));
    settings_.setInstructionShortcuts(std::move(list));
}

void WritingActionsModel::listChanged()
{
    synchronize(settings_.instructionShortcuts());
    rewrites_.restartHotkeys();
    announce({RefusalRole});
}

// Rows move rather than being made anew, so that a row that moves keeps the keyboard focus.
void WritingActionsModel::synchronize(const std::vector<InstructionShortcut>& list)
{
    const int before = count();
    dropMissing(list);
    for (size_t row = 0; row < list.size(); ++row)
        place(row, list[row]);
    announce({IsFirstRole, IsLastRole});
    if (count() != before)
        emit countChanged();
}

void WritingActionsModel::dropMissing(const std::vector<InstructionShortcut>& list)
{
    for (int row = count() - 1; row >= 0; --row) {
        if (std::ranges::any_of(list, withId(action(row).id)))
            continue;
        beginRemoveRows({}, row, row);
        rows_.erase(rows_.begin() + row);
        endRemoveRows();
    }
}

void WritingActionsModel::place(size_t row, const InstructionShortcut& action)
{
    const auto target = rows_.begin() + static_cast<qsizetype>(std::min(row, rows_.size()));
    const auto found = std::find_if(target, rows_.end(), withId(action.id));
    const int to = static_cast<int>(row);
    if (found == rows_.end()) {
        beginInsertRows({}, to, to);
        rows_.insert(target, action);
        endInsertRows();
    } else if (found != target) {
        const int from = static_cast<int>(found - rows_.begin());
        beginMoveRows({}, from, from, {}, to);
        std::rotate(target, found, found + 1);
        endMoveRows();
    }
    if (rows_.at(row) == action)
        return;
    rows_.at(row) = action;
    emit dataChanged(index(to), index(to));
}

void WritingActionsModel::announce(const QList<int>& roles)
{
    if (!rows_.empty())
        emit dataChanged(index(0), index(count() - 1), roles);
}

QString WritingActionsModel::refusal(const InstructionShortcut& action) const
{
    if (!rewrites_.isRefused(action))
        return {};
    return u"Another program uses %1. Choose a different shortcut."_s.arg(
        action.hotkeyDisplayString(layout_).value_or(QString()));
}

} // namespace quillmarsh
