#include "ui/settings/ShortcutRecorder.h"

#include "platform/ModifierFlags.h"

#include <QKeyEvent>

#include <algorithm>
#include <array>

namespace quillmarsh {

namespace {

quint64 modifierWord(Qt::KeyboardModifiers modifiers)
{
    quint64 word = 0;
    if (modifiers & Qt::ShiftModifier)
        word |= ModifierFlags::shift;
    if (modifiers & Qt::ControlModifier)
        word |= ModifierFlags::control;
    if (modifiers & Qt::AltModifier)
        word |= ModifierFlags::option;
    if (modifiers & Qt::MetaModifier)
        word |= ModifierFlags::command;
    return word;
}

/// A modifier or lock key going down is the beginning of a shortcut, not a key of its own.
bool isModifierKey(int key)
{
    static constexpr std::array keys{
        Qt::Key_Shift,   Qt::Key_Control,    Qt::Key_Meta,        Qt::Key_Alt,      Qt::Key_AltGr,
        Qt::Key_Super_L, Qt::Key_Super_R,    Qt::Key_Hyper_L,     Qt::Key_Hyper_R,  Qt::Key_CapsLock,
        Qt::Key_NumLock, Qt::Key_ScrollLock, Qt::Key_Mode_switch, Qt::Key_Multi_key};
    return std::ranges::find(keys, key) != keys.end();
}

} // namespace

ShortcutRecorder::ShortcutRecorder(RecorderEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment))
{}

ShortcutRecorder::~ShortcutRecorder()
{
    if (isRecording_)
        environment_.resumeShortcuts();
}

void ShortcutRecorder::start()
{
    if (isRecording_)
        return;
    environment_.pauseShortcuts();
    setRecording(true);
}

void ShortcutRecorder::cancel()
{
    if (!isRecording_)
        return;
    setRecording(false);
    environment_.resumeShortcuts();
}

void ShortcutRecorder::keyDown(const QKeyEvent& event)
{
    if (!isRecording_ || isModifierKey(event.key()))
        return;
    const std::optional<quint16> keyCode = environment_.virtualKey(event.nativeScanCode());
    if (keyCode == VirtualKey::escape || event.key() == Qt::Key_Escape)
        return cancel();
    if (event.isAutoRepeat())
        return;
    const quint64 modifiers = modifierWord(event.modifiers());
    if (!keyCode || modifiers == 0)
        return environment_.beep();
    capture({*keyCode, modifiers});
}

// The owner is looked for before the product's own shortcuts come back: they would be found themselves.
void ShortcutRecorder::capture(const KeyCombination& combination)
{
    const bool isOwned = environment_.ownedByAnotherProgram(combination);
    setRecording(false);
    environment_.resumeShortcuts();
    emit captured(combination, isOwned);
}

void ShortcutRecorder::setRecording(bool recording)
{
    isRecording_ = recording;
    emit isRecordingChanged();
}

} // namespace quillmarsh
