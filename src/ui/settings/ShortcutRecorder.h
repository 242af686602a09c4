#pragma once

#include "platform/EventTap.h"

#include <QObject>

#include <optional>

class QKeyEvent;

namespace quillmarsh {

/// What the recorder needs of the surroundings. Every member is set.
struct RecorderEnvironment
{
    /// The virtual key of a key event's native scan code; none for a key without one.
    std::function<std::optional<quint16>(quint32 nativeScanCode)> virtualKey;
    /// Whether a combination belongs to another program. Asked while the product's own shortcuts are off.
    std::function<bool(const KeyCombination&)> ownedByAnotherProgram;
    std::function<void()> beep;
    std::function<void()> pauseShortcuts; ///< the product's own global shortcuts must not fire meanwhile
    std::function<void()> resumeShortcuts;
};

/// Takes one shortcut from the keyboard: the next key pressed with at least one of the four modifiers. Escape
/// cancels; a key without a modifier beeps and is ignored.
class ShortcutRecorder final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)

public:
    explicit ShortcutRecorder(RecorderEnvironment environment, QObject* parent = nullptr);
    ~ShortcutRecorder() override;

    [[nodiscard]] bool isRecording() const { return isRecording_; }
    void start();
    Q_INVOKABLE void cancel();
    /// A press while the capture view has the focus. Without a recording nothing happens.
    void keyDown(const QKeyEvent& event);

signals:
    void isRecordingChanged();
    /// The recording has ended with this combination.
    void captured(const quillmarsh::KeyCombination& combination, bool isOwnedByAnotherProgram);

private:
    void capture(const KeyCombination& combination);
    void setRecording(bool recording);

    RecorderEnvironment environment_;
    bool isRecording_ = false;
};

} // namespace quillmarsh
