#include "platform/linux/KeyInjector.h"

#include "base/Log.h"
#include "platform/ModifierFlags.h"
#include "platform/linux/EvdevKeys.h"
#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/TerminalCheck.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XcbXkb.h"

#include <xcb/xtest.h>

#include <algorithm>

namespace quillmarsh {

namespace {

using Clock = std::chrono::steady_clock;

// The user may press or let go of a modifier in the middle of a burst; the next burst then meets a state that
// holds still. A program that keeps a modifier down would disturb every one of them.
constexpr int attempts = 3;

/// Keys pressed by XTEST. On every path out they come up again, and nothing is ever pressed to restore what
/// was lifted: a restored modifier stays down on the XTEST keyboard when the user lets go of the real one,
/// and the next Control is then dropped silently, so that a bare letter replaces the selection (measured).
class PressedKeys final
{
public:
    PressedKeys(xcb_connection_t* connection, std::vector<xcb_keycode_t> keys)
        : connection_(connection), keys_(std::move(keys))
    {
        for (const xcb_keycode_t key : keys_)
            fake(XCB_KEY_PRESS, key);
    }
    ~PressedKeys()
    {
        for (auto key = keys_.rbegin(); key != keys_.rend(); ++key)
            fake(XCB_KEY_RELEASE, *key);
        xcb_flush(connection_);
    }
    PressedKeys(const PressedKeys&) = delete;
    PressedKeys& operator=(const PressedKeys&) = delete;

    /// One by one, so that applications do not see the modifier go and come: after it, each key is down
    /// whatever the user did to it before. `releaseOthers` is called in between, as Bounce Keys ignore a
    /// second press of the key that was released last: what arrived was a bare letter (measured).
    template <typename ReleaseOthers>
    void pressAnew(ReleaseOthers releaseOthers) const
    {
        for (const xcb_keycode_t key : keys_) {
            fake(XCB_KEY_RELEASE, key);
            releaseOthers();
            fake(XCB_KEY_PRESS, key);
        }
    }

private:
    void fake(uint8_t type, xcb_keycode_t key) const
    {
        xcb_test_fake_input(connection_, type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    xcb_connection_t* connection_;
    std::vector<xcb_keycode_t> keys_;
};

std::optional<Gesture> gestureOf(quint16 keyCode, quint64 flags)
{
    if (flags != ModifierFlags::command)
        return std::nullopt;
    if (keyCode == VirtualKey::c)
        return Gesture::Copy;
    if (keyCode == VirtualKey::v)
        return Gesture::Paste;
    return std::nullopt;
}

} // namespace

KeyInjector::KeyInjector(XConnection& connection, HotKeyGrabs& hotKeys, SelectionOwner& owner,
                         SelectionCounter& counter)
    : connection_(connection), hotKeys_(hotKeys), owner_(owner), counter_(counter),
      activity_(connection, hotKeys), primary_(connection)
{
    // Injected keys go through although another program holds the server.
    if (connection_.extensions().xtest)
        xcb_test_grab_control(connection_.get(), 1);
}

void KeyInjector::prepare() const
{
    // The first XTEST event after the user's own keys brings the map of the XTEST keyboard into force, which
    // many programs then read at once, with the server busy for them. This one is the release of a key that
    // no keyboard has: whoever watches devices sees it, and no application gets it.
    fake(XCB_KEY_RELEASE, xcb_get_setup(connection_.get())->min_keycode);
    xcb_flush(connection_.get());
}

std::optional<KeyInjector::Time> KeyInjector::post(quint16 keyCode, quint64 flags)
{
    if (const auto gesture = gestureOf(keyCode, flags & ModifierFlags::shortcutMask))
        return perform(*gesture);
    return pressPosition(keyCode, flags & ModifierFlags::shortcutMask);
}

std::optional<KeyInjector::Time> KeyInjector::perform(Gesture gesture)
{
    const XWindows windows(connection_);
    const xcb_window_t window = windows.active();
    const WindowIdentity target = windows.identityOf(window);
    const Habit habit = habitOf(target);
    const auto strokes = strokesFor(gesture, habit);
    if (strokes.empty()) {
        qCInfo(lcQuillmarsh, "No safe key to %s is known for the application \"%s\"",
               gesture == Gesture::Copy ? "copy" : "paste", qUtf8Printable(target.windowClass.name));
        return std::nullopt;
    }
    if (gesture == Gesture::Copy)
        prepareCopy(window, habit);
    else if (!mayPaste(window, habit))
        return std::nullopt;
    const auto posted = press(strokes);
    if (gesture == Gesture::Paste)
        primary_.end();
    return posted;
}

void KeyInjector::prepareCopy(xcb_window_t window, Habit habit)
{
    copiedFrom_ = window;
    owner_.copyBegins();
    activity_.begin();
    primary_.begin(window);
    // Measured: with no active region Emacs copies its last one. Only an active one ends with the copy, and
    // goes to the primary selection as it ends.
    if (habit == Habit::CopyInsert)
        counter_.countSelectionsOnly(window);
    else
        counter_.countEveryClaim();
}

bool KeyInjector::mayPaste(xcb_window_t window, Habit habit)
{
    if (XWindows(connection_).isTk(window)) {
        // Measured: on X11 its text widgets paste beside the selection, which stays.
        qCInfo(lcQuillmarsh, "Not pasting: a Tk application would keep the selected text");
        return false;
    }
    if (copiedFrom_ != XCB_NONE && window != copiedFrom_) {
        qCInfo(lcQuillmarsh, "Not pasting: another window of the application is in front");
        return false;
    }
    if (activity_.happened()) {
        qCInfo(lcQuillmarsh, "Not pasting: the user typed or clicked since the selection was copied");
        return false;
    }
    if (!isTerminal(habit) && primary_.endedSelection()) {
        qCInfo(lcQuillmarsh, "Not pasting: another program's claim has ended the selection");
        return false;
    }
    if (!owner_.secureForPaste(window)) {
        qCWarning(lcQuillmarsh, "Not pasting: another program took the clipboard");
        return false;
    }
    if (wouldExecute(owner_.ownText().value_or(QByteArray()), habit)) {
        qCInfo(lcQuillmarsh, "Not pasting: a terminal may run a text with line breaks as commands");
        return false;
    }
    return true;
}

std::optional<KeyInjector::Time> KeyInjector::press(const std::vector<KeyStroke>& strokes)
{
    HotKeyGrabs::Injection injection(hotKeys_);
    for (int round = 0; round < attempts; ++round) {
        for (const KeyStroke& stroke : strokes) {
            const Outcome outcome =
                attempt(injection, stroke.flags, [&](const XKeySymbols& symbols, unsigned group) {
                    return symbols.keyInAnyGroup(stroke.symbol, group);
                });
            if (outcome == Outcome::Tapped)
                return Clock::now(); // before the hot keys come back, which takes milliseconds
            if (outcome == Outcome::Disturbed)
                break;
            if (&stroke == &strokes.back()) {
                qCWarning(lcQuillmarsh, "The keyboard layout has no key to copy or paste with");
                return std::nullopt;
            }
        }
    }
    qCWarning(lcQuillmarsh, "Not copying or pasting: other modifier keys stayed down");
    return std::nullopt;
}

std::optional<KeyInjector::Time> KeyInjector::pressPosition(quint16 keyCode, quint64 flags)
{
    const auto keycode = EvdevKeys::xKeycode(keyCode);
    if (!keycode || !hotKeys_.modifiers().mask(flags)) {
        qCWarning(lcQuillmarsh, "The keyboard lacks the key %d or a modifier for it", keyCode);
        return std::nullopt;
    }
    HotKeyGrabs::Injection injection(hotKeys_);
    for (int round = 0; round < attempts; ++round) {
        if (attempt(injection, flags, [&](const XKeySymbols&, unsigned) { return *keycode; }) ==
            Outcome::Tapped)
            return Clock::now();
    }
    qCWarning(lcQuillmarsh, "Not pressing a key: other modifier keys stayed down");
    return std::nullopt;
}

template <typename FindKey>
KeyInjector::Outcome KeyInjector::attempt(HotKeyGrabs::Injection& injection, quint64 flags, FindKey findKey)
{
    const auto mask = hotKeys_.modifiers().mask(flags);
    if (!mask)
        return Outcome::NoSuchKey;
    clearKeyboard();
    // Asked only after the first XTEST event, which brings the map of the XTEST keyboard into force; it may
    // be another than the real keyboard's (measured). And before the modifiers go down: what the user types
    // while they are down becomes a command.
    const uint32_t asked = XKeySymbols::request(connection_.get());
    const auto state = XKeyState::fetch(connection_.get());
    const XKeySymbols symbols = XKeySymbols::fromReply(connection_.get(), asked);
    const xcb_keycode_t key = state ? findKey(symbols, state->group) : xcb_keycode_t{0};
    if (key == 0)
        return Outcome::NoSuchKey;
    fake(XCB_KEY_RELEASE, key); // the server drops a press of a key that is down
    injection.allow(key, *mask);
    // Keys that the user does not hold: when he lets go of one, it comes up under our hands.
    const auto pressed = hotKeys_.modifiers().keysFor(flags, hotKeys_.liftedKeys());
    const PressedKeys modifiers(connection_.get(), pressed);
    const XKeyState expected{*mask, state->group};
    bool switchesGroup = false;
    if (!isExactly(expected)) {
        switchesGroup = keepGroup(expected.group);
        if (!isExactly(expected))
            return Outcome::Disturbed;
    }
    // One burst from here on, which relies on nothing that was so before. The server may come to it late: a
    // Qt application reads the whole map at each change of keyboards, and within 10 ms of that the user's own
    // presses had lifted both Controls (measured).
    liftModifiers(pressed);
    modifiers.pressAnew([&] { liftModifiers(pressed); });
    if (switchesGroup)
        lockGroup(expected.group);
    fake(XCB_KEY_PRESS, key);
    fake(XCB_KEY_RELEASE, key);
    return Outcome::Tapped;
}

void KeyInjector::clearKeyboard() const
{
    hotKeys_.releaseKeyboard();
    hotKeys_.noteLifted(keysDown(connection_.get()));
    liftModifiers({});
    for (const xcb_keycode_t caught : hotKeys_.heldKeys())
        fake(XCB_KEY_RELEASE, caught);
}

bool KeyInjector::isExactly(const XKeyState& expected) const
{
    const auto state = XKeyState::fetch(connection_.get());
    return state && state->group == expected.group &&
           (state->modifiers & ~hotKeys_.modifiers().locks()) == expected.modifiers;
}

bool KeyInjector::keepGroup(unsigned group) const
{
    // Where modifiers together switch the layout (both Controls, Control with Shift), ours did just that.
    const auto now = XKeyState::fetch(connection_.get());
    if (!now || now->group == group)
        return false;
    lockGroup(group);
    return true;
}

void KeyInjector::lockGroup(unsigned group) const
{
    xcb_xkb_latch_lock_state(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, static_cast<uint8_t>(group),
                             0, 0, 0);
}

void KeyInjector::liftModifiers(const std::vector<xcb_keycode_t>& except) const
{
    // Also when they seem to be up: a key may be stuck on the XTEST keyboard alone. A release of a key that
    // is up reaches no application.
    for (const xcb_keycode_t key : hotKeys_.modifiers().heldKeys()) {
        if (std::find(except.begin(), except.end(), key) == except.end())
            fake(XCB_KEY_RELEASE, key);
    }
}

void KeyInjector::fake(uint8_t type, xcb_keycode_t keycode) const
{
    xcb_test_fake_input(connection_.get(), type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

} // namespace quillmarsh
