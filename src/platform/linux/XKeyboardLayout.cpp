#include "platform/linux/XKeyboardLayout.h"

#include "base/Log.h"
#include "platform/linux/EvdevKeys.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XKeyboard.h"
#include "platform/linux/XcbXkb.h"

#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// One change of layout comes as several notices, and every injected key as two that mean nothing (measured).
constexpr auto keyboardSettles = 100ms;

struct StateDeleter
{
    void operator()(xkb_state* state) const { xkb_state_unref(state); }
};

std::optional<QString> visibleText(xkb_state* state, xkb_keycode_t key)
{
    std::array<char, 32> utf8{};
    const int length = xkb_state_key_get_utf8(state, key, utf8.data(), utf8.size());
    if (length <= 0 || length >= static_cast<int>(utf8.size()))
        return std::nullopt;
    const QString text = QString::fromUtf8(utf8.data(), length);
    constexpr qsizetype mostUnits = 4;
    // Enter of the keypad yields a carriage return, with which a shortcut would look like its modifiers
    // alone.
    if (text.isEmpty() || text.size() > mostUnits || text.front().category() == QChar::Other_Control)
        return std::nullopt;
    return text;
}

} // namespace

void XKeyboardLayout::ContextDeleter::operator()(xkb_context* context) const
{
    xkb_context_unref(context);
}

void XKeyboardLayout::KeymapDeleter::operator()(xkb_keymap* keymap) const
{
    xkb_keymap_unref(keymap);
}

XKeyboardLayout::XKeyboardLayout(std::shared_ptr<XConnection> connection)
    : connection_(std::move(connection)), context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
    if (!connection_ || !connection_->extensions().xkb)
        return;
    settle_.setSingleShot(true);
    settle_.setInterval(keyboardSettles);
    connect(&settle_, &QTimer::timeout, this, &XKeyboardLayout::refresh);
    watch();
    readKeymap();
    readGroup();
    announced_ = everyCharacter();
}

XKeyboardLayout::~XKeyboardLayout() = default;

void XKeyboardLayout::watch()
{
    constexpr uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_KEY_TYPES;
    xcb_xkb_select_events(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                          nullptr);
    // Group changes only: every press of a modifier changes the state too.
    const std::array<uint16_t, 2> details{XCB_XKB_STATE_PART_GROUP_STATE, XCB_XKB_STATE_PART_GROUP_STATE};
    xcb_xkb_select_events(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0,
                          0, 0, details.data());
    connect(connection_.get(), &XConnection::received, this, [this](const xcb_generic_event_t& event) {
        if (eventType(event) != connection_->extensions().xkbEvent)
            return;
        keymapIsStale_ = keymapIsStale_ || event.pad0 != XCB_XKB_STATE_NOTIFY;
        settle_.start();
    });
}

void XKeyboardLayout::readKeymap()
{
    const int32_t device = xkb_x11_get_core_keyboard_device_id(connection_->get());
    keymap_.reset(xkb_x11_keymap_new_from_device(context_.get(), connection_->get(), device,
                                                 XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap_)
        qCWarning(lcQuillmarsh, "The keyboard layout cannot be read");
}

void XKeyboardLayout::readGroup()
{
    if (const auto state = XKeyState::fetch(connection_->get()))
        group_ = state->group;
}

void XKeyboardLayout::refresh()
{
    if (std::exchange(keymapIsStale_, false))
        readKeymap();
    readGroup();
    auto now = everyCharacter();
    if (now == announced_)
        return;
    announced_ = std::move(now);
    emit changed();
}

std::vector<QString> XKeyboardLayout::everyCharacter() const
{
    std::vector<QString> all;
    for (const EvdevKeys::Pair& key : EvdevKeys::table())
        all.push_back(character(key.virtualKey).value_or(QString()));
    return all;
}

std::optional<QString> XKeyboardLayout::character(quint16 keyCode) const
{
    const auto key = EvdevKeys::xKeycode(keyCode);
    if (!keymap_ || !key)
        return std::nullopt;
    const std::unique_ptr<xkb_state, StateDeleter> state(xkb_state_new(keymap_.get()));
    // The keypad shows its digits; without Num Lock it only moves the cursor.
    const xkb_mod_index_t numLock = xkb_keymap_mod_get_index(keymap_.get(), XKB_MOD_NAME_NUM);
    const xkb_mod_mask_t locked = numLock == XKB_MOD_INVALID ? 0 : xkb_mod_mask_t{1} << numLock;
    for (const xkb_mod_mask_t locks : {xkb_mod_mask_t{0}, locked}) {
        xkb_state_update_mask(state.get(), 0, 0, locks, 0, 0, group_);
        if (auto text = visibleText(state.get(), *key))
            return text;
    }
    return std::nullopt;
}

std::optional<quint16> XKeyboardLayout::keyCode(quint32 nativeScanCode) const
{
    return EvdevKeys::virtualKey(nativeScanCode);
}

} // namespace quillmarsh
