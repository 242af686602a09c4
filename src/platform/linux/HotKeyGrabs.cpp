#include "platform/linux/HotKeyGrabs.h"

#include "base/Log.h"
#include "platform/ModifierFlags.h"
#include "platform/linux/EvdevKeys.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XInput2.h"
#include "platform/linux/XcbXkb.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// A keyboard map change comes as a burst of notices, and every switch between the real keyboard and XTEST
// sends two although nothing changed (measured).
constexpr auto keyboardSettles = 50ms;
// A held key repeats far faster than this, so a press after such a pause is a new one even when its release
// was never seen (a switch to a text console swallows it).
constexpr qint64 repeatPauseMs = 2000;

constexpr uint16_t coreModifiers = 0xFF;
constexpr quint64 alphaShift = 0x10000; // the event-flag word's bit for Caps Lock

} // namespace

HotKeyGrabs::HotKeyGrabs(XConnection& connection) : connection_(connection)
{
    refresh_.setSingleShot(true);
    refresh_.setInterval(keyboardSettles);
    connect(&refresh_, &QTimer::timeout, this, &HotKeyGrabs::refreshKeyboard);
    connect(&connection_, &XConnection::received, this, &HotKeyGrabs::handle);
    modifiers_ = XModifiers::fetch(connection_.get());
    watchKeyboard();
    xtestKeyboard_ = findXTestKeyboard(connection_.get());
}

HotKeyGrabs::~HotKeyGrabs()
{
    for (const Grab& grab : held_)
        giveBack(grab);
    xcb_flush(connection_.get());
}

void HotKeyGrabs::watchKeyboard()
{
    constexpr uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                          nullptr);
    // Without it a held key looks like a series of releases and presses.
    constexpr uint32_t detectable = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_discard_reply(connection_.get(), xcb_xkb_per_client_flags(connection_.get(), XCB_XKB_ID_USE_CORE_KBD,
                                                                  detectable, detectable, 0, 0, 0)
                                             .sequence);
}

void HotKeyGrabs::watchReleases(bool on)
{
    if (std::exchange(watchingReleases_, on) == on)
        return;
    selectRawKeyReleases(connection_.get(), connection_.root(), on);
    down_.clear();
    lifted_.clear();
}

void HotKeyGrabs::setInterest(TapId tap, std::vector<KeyCombination> combinations, Notify notify)
{
    if (combinations.empty())
        taps_.erase(tap);
    else
        taps_[tap] = {std::move(combinations), std::move(notify)};
    watchReleases(!taps_.empty());
    apply();
}

std::vector<KeyCombination> HotKeyGrabs::refused(TapId tap) const
{
    std::vector<KeyCombination> refused;
    const auto found = taps_.find(tap);
    if (found == taps_.end())
        return refused;
    for (const KeyCombination& combination : found->second.combinations) {
        const auto grab = resolve(combination);
        if (!grab || !held_.contains(*grab))
            refused.push_back(combination);
    }
    return refused;
}

std::vector<HotKeyGrabs::Notify> HotKeyGrabs::listeners() const
{
    std::vector<Notify> listeners;
    for (const auto& [id, tap] : taps_)
        listeners.push_back(tap.notify);
    return listeners;
}

std::optional<HotKeyGrabs::Grab> HotKeyGrabs::resolve(const KeyCombination& combination) const
{
    const auto keycode = EvdevKeys::xKeycode(combination.keyCode);
    const auto mask = modifiers_.mask(combination.modifiers);
    if (!keycode || !mask)
        return std::nullopt;
    return Grab{*keycode, *mask};
}

std::set<HotKeyGrabs::Grab> HotKeyGrabs::wanted() const
{
    std::set<Grab> wanted;
    const uint16_t lifted = modifiers_.maskOf(lifted_);
    for (const auto& [id, tap] : taps_) {
        for (const KeyCombination& combination : tap.combinations) {
            const auto grab = resolve(combination);
            if (!grab)
                continue;
            wanted.insert(*grab);
            if ((grab->modifiers & lifted) == lifted)
                wanted.insert({grab->keycode, static_cast<uint16_t>(grab->modifiers & ~lifted)});
        }
    }
    return wanted;
}

void HotKeyGrabs::apply()
{
    const std::set<Grab> wanted = this->wanted();
    for (const Grab& grab : held_) {
        if (!wanted.contains(grab))
            giveBack(grab);
    }
    std::set<Grab> now;
    for (const Grab& grab : wanted) {
        if (held_.contains(grab) || take(grab))
            now.insert(grab);
    }
    held_ = std::move(now);
    xcb_flush(connection_.get());
}

bool HotKeyGrabs::take(const Grab& grab)
{
    xcb_connection_t* const connection = connection_.get();
    const auto variants = modifiers_.lockVariants();
    if (isGrabbedThroughInput2(connection, connection_.root(), grab.keycode, grab.modifiers, variants))
        return false;
    std::vector<xcb_void_cookie_t> cookies;
    for (const uint16_t locks : variants)
        cookies.push_back(xcb_grab_key_checked(connection, 0, connection_.root(),
                                               static_cast<uint16_t>(grab.modifiers | locks), grab.keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    bool all = true;
    for (const xcb_void_cookie_t cookie : cookies)
        all = succeeded(connection, cookie) && all;
    if (!all)
        giveBack(grab); // a shortcut that works only while Caps Lock is off is worse than none
    return all;
}

void HotKeyGrabs::giveBack(const Grab& grab)
{
    for (const uint16_t locks : modifiers_.lockVariants())
        xcb_ungrab_key(connection_.get(), grab.keycode, connection_.root(),
                       static_cast<uint16_t>(grab.modifiers | locks));
}

void HotKeyGrabs::refreshKeyboard()
{
    const XModifiers fresh = XModifiers::fetch(connection_.get());
    if (fresh.hasSameBits(modifiers_)) {
        modifiers_ = fresh; // a modifier may be on another key now
        return;
    }
    qCInfo(lcQuillmarsh, "The keyboard's modifiers changed; taking the shortcuts anew");
    for (const Grab& grab : held_)
        giveBack(grab); // with the lock bits that it was taken with
    held_.clear();
    modifiers_ = fresh;
    apply();
    reportLosses();
}

void HotKeyGrabs::reportLosses()
{
    for (const auto& [id, tap] : taps_) {
        if (!refused(id).empty())
            tap.notify({.type = KeyEvent::Type::TapDisabledByUserInput});
    }
}

void HotKeyGrabs::handle(const xcb_generic_event_t& event)
{
    const uint8_t type = eventType(event);
    if (type == XCB_KEY_PRESS) {
        handlePress(eventAs<xcb_key_press_event_t>(event));
    } else if (type == XCB_KEY_RELEASE && !injecting_) {
        // While the caught press still grabs the keyboard, the server spares its owner the raw notice.
        down_.erase(eventAs<xcb_key_release_event_t>(event).detail);
    } else if (type == XCB_GE_GENERIC) {
        handleRawRelease(event);
    } else if (type == XCB_MAPPING_NOTIFY ||
               (connection_.extensions().xkb && type == connection_.extensions().xkbEvent)) {
        refresh_.start();
    }
}

void HotKeyGrabs::handlePress(const xcb_key_press_event_t& press)
{
    const auto state = static_cast<uint16_t>(press.state & coreModifiers & ~modifiers_.locks());
    const bool repeat = isRepeat(press.detail);
    const uint16_t meant = meantBy(state);
    const bool capsLock = (press.state & XCB_MOD_MASK_LOCK) != 0;
    const bool isOurs =
        report({press.detail, meant}, capsLock, repeat) || report({press.detail, state}, capsLock, repeat);
    releaseKeyboard();
    if (!isOurs)
        passOn(press.detail);
    else if (repeat)
        stopRepeat(press.detail);
}

uint16_t HotKeyGrabs::meantBy(uint16_t state)
{
    const uint16_t lifted = modifiers_.maskOf(lifted_);
    const auto isLost =
        [&] { // the release of a keyboard that was unplugged, or lost to a console, is not told
            const uint16_t held = modifiers_.maskOf(keysHeldByUser(connection_.get()));
            connection_.synchronize(); // what he let go of since the press is told by now
            return (modifiers_.maskOf(lifted_) & ~held & ~state) != 0;
        };
    if ((lifted & ~state) == 0 || !isLost())
        return state | lifted;
    lifted_.clear();
    apply();
    return state;
}

bool HotKeyGrabs::isRepeat(xcb_keycode_t keycode)
{
    QElapsedTimer& lastSign = down_[keycode];
    const bool repeat = lastSign.isValid() && lastSign.elapsed() < repeatPauseMs;
    lastSign.start();
    return repeat;
}

void HotKeyGrabs::passOn(xcb_keycode_t keycode)
{
    const Injection injection(*this);
    for (const int type : {XCB_KEY_RELEASE, XCB_KEY_PRESS, XCB_KEY_RELEASE})
        xcb_test_fake_input(connection_.get(), static_cast<uint8_t>(type), keycode, XCB_CURRENT_TIME,
                            XCB_NONE, 0, 0, 0);
}

void HotKeyGrabs::stopRepeat(xcb_keycode_t keycode)
{
    // Each repeat would start the grab anew and flicker the focus of the application; a release by XTEST ends
    // the repeating and leaves the user's own release to be seen.
    const Injection injection(*this);
    xcb_test_fake_input(connection_.get(), XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

bool HotKeyGrabs::report(const Grab& grab, bool capsLock, bool isAutorepeat)
{
    for (const auto& [id, tap] : taps_) {
        for (const KeyCombination& combination : tap.combinations) {
            if (resolve(combination) != grab)
                continue;
            const quint64 flags = combination.modifiers | (capsLock ? alphaShift : 0);
            tap.notify({KeyEvent::Type::KeyDown, combination.keyCode, flags, isAutorepeat});
            return true;
        }
    }
    return false;
}

void HotKeyGrabs::handleRawRelease(const xcb_generic_event_t& event)
{
    const auto& generic = eventAs<xcb_ge_generic_event_t>(event);
    if (generic.extension != connection_.extensions().inputOpcode ||
        generic.event_type != XCB_INPUT_RAW_KEY_RELEASE)
        return;
    const auto& raw = eventAs<xcb_input_raw_key_release_event_t>(event);
    const bool isOurs = injecting_ && raw.sourceid == xtestKeyboard_;
    if (isOurs)
        return;
    down_.erase(static_cast<xcb_keycode_t>(raw.detail));
    if (lifted_.erase(static_cast<xcb_keycode_t>(raw.detail)) > 0 && !injecting_)
        apply();
}

void HotKeyGrabs::releaseKeyboard()
{
    // Unchecked it may come too late: the server must have carried it out before a key is injected
    // (measured).
    const auto cookie = xcb_ungrab_keyboard_checked(connection_.get(), XCB_CURRENT_TIME);
    if (!succeeded(connection_.get(), cookie))
        qCWarning(lcQuillmarsh, "The keyboard could not be released");
}

std::vector<xcb_keycode_t> HotKeyGrabs::heldKeys() const
{
    std::vector<xcb_keycode_t> keys;
    for (const auto& [keycode, lastSign] : down_)
        keys.push_back(keycode);
    return keys;
}

HotKeyGrabs::Injection::~Injection()
{
    grabs_.connection_.synchronize(); // the notices of our own keys are in the queue no more
    grabs_.injecting_ = false;
    grabs_.apply();
    if (!given_ || grabs_.held_.contains(*given_) || !grabs_.wanted().contains(*given_))
        return;
    qCWarning(lcQuillmarsh, "A shortcut was taken by another program");
    grabs_.reportLosses();
}

void HotKeyGrabs::Injection::allow(xcb_keycode_t keycode, uint16_t modifiers)
{
    if (grabs_.held_.erase({keycode, modifiers}) == 0)
        return;
    grabs_.giveBack({keycode, modifiers});
    given_ = Grab{keycode, modifiers};
}

} // namespace quillmarsh
