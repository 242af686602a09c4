#pragma once

#include <QtGlobal>

#include <compare>
#include <functional>
#include <memory>
#include <vector>

namespace quillmarsh {

/// One key with the modifiers of ModifierFlags::shortcutMask.
struct KeyCombination
{
    quint16 keyCode = 0;
    quint64 modifiers = 0;

    auto operator<=>(const KeyCombination&) const = default;
};

/// What a tap reports. The values of `Type` are those of the key-event family that the product speaks.
struct KeyEvent
{
    enum class Type : quint32 {
        KeyDown = 10,
        TapDisabledByTimeout = 0xFFFFFFFE,   ///< the system lost the tap; X11: the connection, now new, died
        TapDisabledByUserInput = 0xFFFFFFFF, ///< another one has it; X11: a grab could not be taken again
    };

    Type type = Type::KeyDown;
    quint16 keyCode = 0;
    quint64 flags = 0; ///< event-flag word; may hold bits outside the shortcut mask (Caps Lock and the like)
    bool isAutorepeat = false;
};

enum class TapVerdict { Pass, Swallow };

/// A system-wide view of key presses that sees a press before any application does and may drop it. The
/// callback runs on the main thread, one event at a time, and must return at once. Destroying the tap gives
/// back everything it holds.
class EventTap
{
public:
    using Callback = std::function<TapVerdict(const KeyEvent&)>;

    virtual ~EventTap() = default;

    /// The combinations the callback can swallow, at most a few dozen. A desktop that filters by grabbing
    /// (X11) holds exactly these, in every state of the lock keys; what is not listed reaches the focused
    /// application untouched. Takes effect at once, also while enabled.
    virtual void setInterest(std::vector<KeyCombination> combinations) = 0;
    /// Those of the interest that another program owns, so that they will never arrive.
    [[nodiscard]] virtual std::vector<KeyCombination> refused() const = 0;
    /// A tap is created disabled, and is disabled again when the callback hears of it.
    virtual void setEnabled(bool enabled) = 0;
    /// Ends the tap for good; no callback runs afterwards.
    virtual void invalidate() = 0;
};

/// Makes taps. Null when the system refuses.
class EventTapSource
{
public:
    virtual ~EventTapSource() = default;
    [[nodiscard]] virtual std::unique_ptr<EventTap> create(EventTap::Callback callback) = 0;
};

} // namespace quillmarsh
