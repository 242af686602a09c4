#include "platform/linux/UserActivity.h"

#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XInput2.h"

#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace quillmarsh {

namespace {

constexpr bool isWheel(uint32_t button)
{
    return button >= 4 && button <= 7;
}

bool isModifierOrLock(xcb_keysym_t symbol)
{
    return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
           (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) ||
           symbol == XKB_KEY_Mode_switch || symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
}

bool isOfTheDesktop(xcb_keysym_t symbol)
{
    constexpr xcb_keysym_t firstOfVendor = 0x10080000; // "XF86…": volume, brightness, media
    return symbol == XKB_KEY_Print || symbol >= firstOfVendor;
}

/// Whether a key press goes to another window, to look something up there: what the desktop takes for itself
/// never reaches the text.
bool switchesWindows(const XConnection& connection, xcb_keysym_t symbol)
{
    if (symbol != XKB_KEY_Tab && symbol != XKB_KEY_ISO_Left_Tab)
        return false;
    const auto pointer = replyOf<xcb_query_pointer_reply>(
        connection.get(), xcb_query_pointer(connection.get(), connection.root()));
    return pointer && (pointer->mask & (XCB_MOD_MASK_1 | XCB_MOD_MASK_4)) != 0;
}

} // namespace

UserActivity::UserActivity(XConnection& connection, const HotKeyGrabs& hotKeys)
    : connection_(connection), hotKeys_(hotKeys), xtestKeyboard_(findXTestKeyboard(connection.get()))
{
    connect(&connection_, &XConnection::received, this, &UserActivity::handle);
}

void UserActivity::begin()
{
    watch(true);
    connection_.synchronize(); // what was typed before is in the queue no more
    happened_ = false;
}

bool UserActivity::happened()
{
    connection_.synchronize();
    return happened_;
}

void UserActivity::watch(bool on)
{
    selectRawPresses(connection_.get(), connection_.root(), on);
}

void UserActivity::handle(const xcb_generic_event_t& event)
{
    if (happened_ || eventType(event) != XCB_GE_GENERIC)
        return;
    const auto& generic = eventAs<xcb_ge_generic_event_t>(event);
    if (generic.extension != connection_.extensions().inputOpcode)
        return;
    if (generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
        happened_ = !isWheel(eventAs<xcb_input_raw_button_press_event_t>(event).detail);
    } else if (generic.event_type == XCB_INPUT_RAW_KEY_PRESS) {
        const auto& press = eventAs<xcb_input_raw_key_press_event_t>(event);
        const bool isOurs = press.sourceid == xtestKeyboard_ && hotKeys_.isInjecting();
        happened_ = !isOurs && writes(static_cast<xcb_keycode_t>(press.detail));
    }
    if (happened_)
        watch(false);
}

bool UserActivity::writes(xcb_keycode_t keycode) const
{
    const xcb_keysym_t symbol = XKeySymbols::fetch(connection_.get()).symbol(keycode, 0);
    if (symbol == 0 || isModifierOrLock(symbol) || isOfTheDesktop(symbol))
        return false;
    return !switchesWindows(connection_, symbol);
}

} // namespace quillmarsh
