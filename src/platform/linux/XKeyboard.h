#pragma once

#include "platform/linux/Xcb.h"

#include <QtGlobal>

#include <optional>
#include <set>
#include <vector>

namespace quillmarsh {

/// The key symbols of the keyboard map that is in force in the server now: one round trip, one snapshot.
class XKeySymbols final
{
public:
    [[nodiscard]] static XKeySymbols fetch(xcb_connection_t* connection);
    [[nodiscard]] static XKeySymbols fromReply(xcb_connection_t* connection, uint32_t sequence);
    /// Sends the request whose answer fromReply() waits for, so that it can share a round trip.
    [[nodiscard]] static uint32_t request(xcb_connection_t* connection);

    /// What the key yields in `group` without modifiers; 0 when nothing. A group that the key lacks is
    /// wrapped, as servers do by default.
    [[nodiscard]] xcb_keysym_t symbol(xcb_keycode_t keycode, unsigned group) const;
    /// The first key that yields `symbol` in `group`; 0 when there is none.
    [[nodiscard]] xcb_keycode_t keyInGroup(xcb_keysym_t symbol, unsigned group) const;
    /// The same for `group` first and then for the others in order.
    [[nodiscard]] xcb_keycode_t keyInAnyGroup(xcb_keysym_t symbol, unsigned group) const;

    bool operator==(const XKeySymbols&) const = default;

private:
    static constexpr unsigned maxGroups = 4; // the protocol's own limit

    xcb_keycode_t first_ = 0;
    std::vector<std::vector<xcb_keysym_t>> keys_; // per key: the unmodified symbol of each of its groups
};

/// Which keys are modifiers, and which modifier bit means what. Bits Mod1 to Mod5 have no fixed meaning: the
/// modifier map of the session decides where Alt, Super, Num Lock and Scroll Lock are.
class XModifiers final
{
public:
    [[nodiscard]] static XModifiers fetch(xcb_connection_t* connection);

    /// The core modifier bits of a ModifierFlags word; none when this keyboard lacks one of them.
    [[nodiscard]] std::optional<uint16_t> mask(quint64 flags) const;
    /// The bits of the modifiers, other than locks, that these keys hold.
    [[nodiscard]] uint16_t maskOf(const std::set<xcb_keycode_t>& keys) const;
    /// The bits of Caps, Num and Scroll Lock, which never matter.
    [[nodiscard]] uint16_t locks() const { return locks_; }
    /// Every combination of the lock bits, the empty one included.
    [[nodiscard]] std::vector<uint16_t> lockVariants() const;
    /// Every key that can hold a modifier other than a lock.
    [[nodiscard]] const std::vector<xcb_keycode_t>& heldKeys() const { return heldKeys_; }
    /// A key for each modifier in `flags` (ModifierFlags), none of `avoided` where there is another: the
    /// left-hand one, or else the right-hand one. Both for Control: when the user presses or lets go of one
    /// meanwhile, it stays down by the other (measured). It does not when he does so to both.
    [[nodiscard]] std::vector<xcb_keycode_t> keysFor(quint64 flags,
                                                     const std::set<xcb_keycode_t>& avoided) const;

    /// Whether every modifier has the same bit in both, so that grabs stay valid.
    [[nodiscard]] bool hasSameBits(const XModifiers& other) const;

private:
    struct Modifier
    {
        uint16_t mask = 0;
        std::vector<xcb_keycode_t> keys; ///< left-hand ones first
    };

    void learn(unsigned bit, xcb_keycode_t keycode, xcb_keysym_t symbol);
    void collectHeldKeys(const xcb_keycode_t* keycodes, unsigned keysPerModifier);
    [[nodiscard]] std::vector<Modifier> selected(quint64 flags) const;

    Modifier shift_;
    Modifier control_;
    Modifier option_;
    Modifier command_;
    uint16_t locks_ = XCB_MOD_MASK_LOCK;
    std::vector<xcb_keycode_t> heldKeys_;
};

/// The keys that are down on the keyboards taken together.
[[nodiscard]] std::set<xcb_keycode_t> keysDown(xcb_connection_t* connection);

/// The modifiers that the server considers held or latched or locked now, and the active group.
struct XKeyState
{
    uint16_t modifiers = 0;
    unsigned group = 0;

    [[nodiscard]] static std::optional<XKeyState> fetch(xcb_connection_t* connection);
};

} // namespace quillmarsh
