#include "ui/settings/ShortcutEditorModel.h"

#include "platform/KeyboardLayout.h"
#include "platform/ModifierFlags.h"
#include "rewrite/AppSettings.h"

#include <algorithm>

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

bool isSameShortcut(const InstructionShortcut& a, const InstructionShortcut& b)
{
    return a.hasShortcut() && b.hasShortcut() && *a.keyCode == *b.keyCode &&
           ((static_cast<quint64>(*a.modifiersRaw) ^ static_cast<quint64>(*b.modifiersRaw)) &
            ModifierFlags::shortcutMask) == 0;
}

} // namespace

ShortcutEditorModel::ShortcutEditorModel(AppSettings& settings, KeyboardLayout& layout,
                                         RecorderEnvironment recording, QObject* parent)
    : QObject(parent), settings_(settings), layout_(layout), recorder_(std::move(recording))
{
    connect(&recorder_, &ShortcutRecorder::captured, this, &ShortcutEditorModel::setShortcut);
    connect(&layout, &KeyboardLayout::changed, this, &ShortcutEditorModel::shortcutChanged);
}

void ShortcutEditorModel::create()
{
    InstructionShortcut draft;
    draft.icon = QLatin1String(newActionIcon);
    open(std::move(draft));
}

void ShortcutEditorModel::edit(int row)
{
    const std::vector<InstructionShortcut>& list = settings_.instructionShortcuts();
    if (row >= 0 && row < std::ssize(list))
        open(list.at(static_cast<size_t>(row)));
}

void ShortcutEditorModel::open(InstructionShortcut draft)
{
    recorder_.cancel();
    setConflictMessage({});
    draft_ = std::move(draft);
    isOwnedByAnotherProgram_ = false;
    isOpen_ = true;
    emit fieldsChanged();
    emit shortcutChanged();
    emit isOpenChanged();
}

void ShortcutEditorModel::save()
{
    recorder_.cancel();
    if (!isOpen_ || !canSave())
        return;
    if (const InstructionShortcut* other = conflict())
        return setConflictMessage(u"This keyboard shortcut is already assigned to \"%1\". Please choose a "
                                  u"different shortcut."_s.arg(other->name));
    InstructionShortcut action = draft_;
    action.name = draft_.name.trimmed();
    action.instruction = draft_.instruction.trimmed();
    if (action.id.isNull()) {
        action.id = QUuid::createUuid();
        settings_.addShortcut(action);
    } else {
        settings_.updateShortcut(action);
    }
    close();
}

void ShortcutEditorModel::close()
{
    recorder_.cancel();
    setConflictMessage({});
    if (!isOpen_)
        return;
    isOpen_ = false;
    emit isOpenChanged();
}

QString ShortcutEditorModel::title() const
{
    return draft_.id.isNull() ? u"New writing action"_s : u"Edit writing action"_s;
}

void ShortcutEditorModel::setName(const QString& name)
{
    if (draft_.name == name)
        return;
    draft_.name = name;
    emit fieldsChanged();
}

void ShortcutEditorModel::setInstruction(const QString& instruction)
{
    if (draft_.instruction == instruction)
        return;
    draft_.instruction = instruction;
    emit fieldsChanged();
}

QString ShortcutEditorModel::problem() const
{
    const bool lacksName = draft_.name.trimmed().isEmpty();
    const bool lacksInstruction = draft_.instruction.trimmed().isEmpty();
    if (lacksName && lacksInstruction)
        return u"Add a name and an instruction to save."_s;
    if (lacksName)
        return u"Add a name to save."_s;
    return lacksInstruction ? u"Add an instruction to save."_s : QString();
}

void ShortcutEditorModel::setShortcut(const KeyCombination& combination, bool isOwnedByAnotherProgram)
{
    draft_.keyCode = combination.keyCode;
    draft_.modifiersRaw = static_cast<qint64>(combination.modifiers);
    isOwnedByAnotherProgram_ = isOwnedByAnotherProgram;
    emit shortcutChanged();
}

void ShortcutEditorModel::clearShortcut()
{
    recorder_.cancel();
    draft_.keyCode.reset();
    draft_.modifiersRaw.reset();
    isOwnedByAnotherProgram_ = false;
    emit shortcutChanged();
}

QString ShortcutEditorModel::shortcutText() const
{
    return draft_.hotkeyDisplayString(layout_).value_or(QString());
}

QString ShortcutEditorModel::ownerNote() const
{
    if (!isOwnedByAnotherProgram_)
        return {};
    return u"Another program uses %1, so it may not reach Quillmarsh."_s.arg(shortcutText());
}

const InstructionShortcut* ShortcutEditorModel::conflict() const
{
    const std::vector<InstructionShortcut>& list = settings_.instructionShortcuts();
    const auto other = std::ranges::find_if(list, [this](const InstructionShortcut& candidate) {
        return candidate.id != draft_.id && isSameShortcut(candidate, draft_);
    });
    return other == list.end() ? nullptr : &*other;
}

void ShortcutEditorModel::setConflictMessage(const QString& message)
{
    if (conflictMessage_ == message)
        return;
    conflictMessage_ = message;
    emit conflictMessageChanged();
}

} // namespace quillmarsh
