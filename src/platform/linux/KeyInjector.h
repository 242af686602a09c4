#pragma once

#include "platform/linux/AppGestures.h"
#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/PrimaryWatch.h"
#include "platform/linux/UserActivity.h"

#include <chrono>

namespace quillmarsh {

class XConnection;
class SelectionCounter;
class SelectionOwner;

/// Presses keys through XTEST so that the focused application gets them with exactly the modifiers meant. One
/// short burst per call: a wait while Control is down would turn what the user types on into commands.
/// Lives in the worker's thread.
class KeyInjector final
{
public:
    using Time = std::chrono::steady_clock::time_point;

    KeyInjector(XConnection& connection, HotKeyGrabs& hotKeys, SelectionOwner& owner,
                SelectionCounter& counter);

    /// See KeyPoster.
    void prepare() const;
    [[nodiscard]] std::optional<Time> post(quint16 keyCode, quint64 flags);
    /// What was copied may be selected no more: nothing is pasted until something is copied again.
    void forgetSelection() { activity_.assume(); }

private:
    enum class Outcome { Tapped, NoSuchKey, Disturbed };

    [[nodiscard]] std::optional<Time> perform(Gesture gesture);
    void prepareCopy(xcb_window_t window, Habit habit);
    [[nodiscard]] bool mayPaste(xcb_window_t window, Habit habit);
    [[nodiscard]] std::optional<Time> press(const std::vector<KeyStroke>& strokes);
    [[nodiscard]] std::optional<Time> pressPosition(quint16 keyCode, quint64 flags);
    template <typename FindKey>
    [[nodiscard]] Outcome attempt(HotKeyGrabs::Injection& injection, quint64 flags, FindKey findKey);
    void clearKeyboard() const; ///< of what the user holds
    [[nodiscard]] bool isExactly(const XKeyState& expected) const;
    [[nodiscard]] bool keepGroup(unsigned group) const; ///< whether it had to be given back
    void lockGroup(unsigned group) const;
    void liftModifiers(const std::vector<xcb_keycode_t>& except) const;
    void fake(uint8_t type, xcb_keycode_t keycode) const;

    XConnection& connection_;
    HotKeyGrabs& hotKeys_;
    SelectionOwner& owner_;
    SelectionCounter& counter_;
    UserActivity activity_;
    PrimaryWatch primary_;
    xcb_window_t copiedFrom_ = XCB_NONE;
};

} // namespace quillmarsh
