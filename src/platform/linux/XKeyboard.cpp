#include "platform/linux/XKeyboard.h"

#include "platform/ModifierFlags.h"
#include "platform/linux/XcbXkb.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>

namespace quillmarsh {

uint32_t XKeySymbols::request(xcb_connection_t* connection)
{
    return xcb_xkb_get_map(connection, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0, 0, 0, 0, 0, 0,
                           0, 0, 0, 0, 0, 0, 0, 0, 0, 0)
        .sequence;
}

XKeySymbols XKeySymbols::fromReply(xcb_connection_t* connection, uint32_t sequence)
{
    XKeySymbols symbols;
    const auto reply = replyOf<xcb_xkb_get_map_reply>(connection, xcb_xkb_get_map_cookie_t{sequence});
    if (!reply)
        return symbols;
    xcb_xkb_get_map_map_t map{};
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                               reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                               reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                               reply->totalVModMapKeys, reply->present, &map);
    symbols.first_ = reply->firstKeySym;
    auto key = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
    for (; key.rem > 0; xcb_xkb_key_sym_map_next(&key)) {
        const auto* const all = xcb_xkb_key_sym_map_syms(key.data);
        const unsigned groups = key.data->groupInfo & 0x0F;
        auto& row = symbols.keys_.emplace_back();
        for (unsigned group = 0; group < groups && group * key.data->width < key.data->nSyms; ++group)
            row.push_back(all[group * key.data->width]);
    }
    return symbols;
}

XKeySymbols XKeySymbols::fetch(xcb_connection_t* connection)
{
    return fromReply(connection, request(connection));
}

xcb_keysym_t XKeySymbols::symbol(xcb_keycode_t keycode, unsigned group) const
{
    const size_t row = static_cast<size_t>(keycode) - first_;
    if (keycode < first_ || row >= keys_.size() || keys_[row].empty())
        return 0;
    return keys_[row][group % keys_[row].size()];
}

xcb_keycode_t XKeySymbols::keyInGroup(xcb_keysym_t symbol, unsigned group) const
{
    for (size_t row = 0; row < keys_.size(); ++row) {
        if (!keys_[row].empty() && keys_[row][group % keys_[row].size()] == symbol)
            return static_cast<xcb_keycode_t>(row + first_);
    }
    return 0;
}

xcb_keycode_t XKeySymbols::keyInAnyGroup(xcb_keysym_t symbol, unsigned group) const
{
    if (const auto key = keyInGroup(symbol, group))
        return key;
    for (unsigned other = 0; other < maxGroups; ++other) {
        if (const auto key = keyInGroup(symbol, other))
            return key;
    }
    return 0;
}

XModifiers XModifiers::fetch(xcb_connection_t* connection)
{
    const auto mapCookie = xcb_get_modifier_mapping(connection);
    const XKeySymbols symbols = XKeySymbols::fetch(connection);
    const auto map = replyOf<xcb_get_modifier_mapping_reply>(connection, mapCookie);
    XModifiers modifiers;
    if (!map)
        return modifiers;
    const xcb_keycode_t* const keycodes = xcb_get_modifier_mapping_keycodes(map.get());
    const unsigned width = map->keycodes_per_modifier;
    for (unsigned index = 0; index < 8 * width; ++index) {
        if (keycodes[index] != 0)
            modifiers.learn(index / width, keycodes[index], symbols.symbol(keycodes[index], 0));
    }
    modifiers.collectHeldKeys(keycodes, width);
    return modifiers;
}

void XModifiers::learn(unsigned bit, xcb_keycode_t keycode, xcb_keysym_t symbol)
{
    const auto mask = static_cast<uint16_t>(1U << bit);
    const auto add = [&](Modifier& modifier, bool isLeft) {
        if (modifier.mask != 0 && modifier.mask != mask)
            return; // the first bit that has it
        modifier.mask = mask;
        modifier.keys.insert(isLeft ? modifier.keys.begin() : modifier.keys.end(), keycode);
    };
    if (mask == XCB_MOD_MASK_SHIFT)
        add(shift_, symbol == XKB_KEY_Shift_L);
    else if (mask == XCB_MOD_MASK_CONTROL)
        add(control_, symbol == XKB_KEY_Control_L);
    else if (symbol == XKB_KEY_Alt_L || symbol == XKB_KEY_Alt_R)
        add(option_, symbol == XKB_KEY_Alt_L && option_.keys.empty());
    else if (symbol == XKB_KEY_Super_L || symbol == XKB_KEY_Super_R)
        add(command_, symbol == XKB_KEY_Super_L && command_.keys.empty());
    else if (symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock)
        locks_ = static_cast<uint16_t>(locks_ | mask);
}

void XModifiers::collectHeldKeys(const xcb_keycode_t* keycodes, unsigned keysPerModifier)
{
    for (unsigned index = 0; index < 8 * keysPerModifier; ++index) {
        const bool isLock = ((1U << (index / keysPerModifier)) & locks_) != 0;
        if (keycodes[index] != 0 && !isLock)
            heldKeys_.push_back(keycodes[index]);
    }
    std::sort(heldKeys_.begin(), heldKeys_.end());
    heldKeys_.erase(std::unique(heldKeys_.begin(), heldKeys_.end()), heldKeys_.end());
}

std::vector<XModifiers::Modifier> XModifiers::selected(quint64 flags) const
{
    std::vector<Modifier> chosen;
    const auto add = [&](quint64 bit, const Modifier& modifier) {
        if (flags & bit)
            chosen.push_back(modifier);
    };
    add(ModifierFlags::control, control_);
    add(ModifierFlags::shift, shift_);
    add(ModifierFlags::option, option_);
    add(ModifierFlags::command, command_);
    return chosen;
}

std::optional<uint16_t> XModifiers::mask(quint64 flags) const
{
    uint16_t mask = 0;
    for (const Modifier& modifier : selected(flags)) {
        if (modifier.mask == 0)
            return std::nullopt;
        mask = static_cast<uint16_t>(mask | modifier.mask);
    }
    return mask;
}

uint16_t XModifiers::maskOf(const std::set<xcb_keycode_t>& keys) const
{
    uint16_t mask = 0;
    for (const Modifier* const modifier : {&shift_, &control_, &option_, &command_}) {
        if (std::ranges::any_of(modifier->keys, [&keys](xcb_keycode_t key) { return keys.contains(key); }))
            mask = static_cast<uint16_t>(mask | modifier->mask);
    }
    return mask;
}

bool XModifiers::hasSameBits(const XModifiers& other) const
{
    return shift_.mask == other.shift_.mask && control_.mask == other.control_.mask &&
           option_.mask == other.option_.mask && command_.mask == other.command_.mask &&
           locks_ == other.locks_;
}

std::vector<xcb_keycode_t> XModifiers::keysFor(quint64 flags, const std::set<xcb_keycode_t>& avoided) const
{
    std::vector<xcb_keycode_t> chosen;
    for (const Modifier& modifier : selected(flags)) {
        std::vector<xcb_keycode_t> keys = modifier.keys;
        std::stable_partition(keys.begin(), keys.end(),
                              [&avoided](xcb_keycode_t key) { return !avoided.contains(key); });
        // Both Shift keys together lock Caps on some keyboards.
        const size_t most = modifier.mask == XCB_MOD_MASK_CONTROL ? 2 : 1;
        keys.resize(std::min(keys.size(), most));
        chosen.insert(chosen.end(), keys.begin(), keys.end());
    }
    return chosen;
}

std::set<xcb_keycode_t> keysDown(xcb_connection_t* connection)
{
    std::set<xcb_keycode_t> down;
    const auto keymap = replyOf<xcb_query_keymap_reply>(connection, xcb_query_keymap(connection));
    for (unsigned key = 0; keymap && key < 256; ++key) {
        if ((keymap->keys[key / 8] & (1U << (key % 8))) != 0)
            down.insert(static_cast<xcb_keycode_t>(key));
    }
    return down;
}

std::vector<uint16_t> XModifiers::lockVariants() const
{
    std::vector<uint16_t> variants{0};
    for (unsigned bit = 0; bit < 8; ++bit) {
        const auto mask = static_cast<uint16_t>(1U << bit);
        if ((locks_ & mask) == 0)
            continue;
        const size_t known = variants.size();
        for (size_t index = 0; index < known; ++index)
            variants.push_back(static_cast<uint16_t>(variants[index] | mask));
    }
    return variants;
}

std::optional<XKeyState> XKeyState::fetch(xcb_connection_t* connection)
{
    const auto reply =
        replyOf<xcb_xkb_get_state_reply>(connection, xcb_xkb_get_state(connection, XCB_XKB_ID_USE_CORE_KBD));
    if (!reply)
        return std::nullopt;
    return XKeyState{reply->mods, reply->group};
}

} // namespace quillmarsh
