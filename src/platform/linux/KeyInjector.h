#pragma once

#include "platform/linux/AppGestures.h"
#include "platform/linux/HotKeyGrabs.h"

namespace quillmarsh {

class XConnection;
class SelectionOwner;

/// Presses keys through XTEST so that the focused application gets them with exactly the modifiers meant. One
/// short burst per call: a wait while Control is down would turn what the user types on into commands.
/// Lives in the worker's thread.
class KeyInjector final
{
public:
    KeyInjector(XConnection& connection, HotKeyGrabs& hotKeys, SelectionOwner& owner);

    /// See KeyPoster::post.
    [[nodiscard]] bool post(quint16 keyCode, quint64 flags);

private:
    enum class Outcome { Tapped, NoSuchKey, Disturbed };

    [[nodiscard]] bool perform(Gesture gesture);
    [[nodiscard]] bool mayPaste(xcb_window_t window, const WindowClass& target);
    [[nodiscard]] bool press(const std::vector<KeyStroke>& strokes);
    [[nodiscard]] bool pressPosition(quint16 keyCode, quint64 flags);
    template <typename FindKey>
    [[nodiscard]] Outcome attempt(HotKeyGrabs::Injection& injection, quint64 flags, FindKey findKey);
    [[nodiscard]] bool isExactly(const XKeyState& expected) const;
    void liftModifiers(const std::vector<xcb_keycode_t>& except) const;
    void fake(uint8_t type, xcb_keycode_t keycode) const;

    XConnection& connection_;
    HotKeyGrabs& hotKeys_;
    SelectionOwner& owner_;
};

} // namespace quillmarsh
