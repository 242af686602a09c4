#include "platform/linux/XInput2.h"

#include <xcb/xinput.h>

#include <QByteArray>

namespace quillmarsh {

namespace {

struct Keyboard
{
    uint16_t device = 0;
    bool isXTest = false;
};

/// Without the master, which only sums them up.
std::vector<Keyboard> keyboards(xcb_connection_t* connection)
{
    std::vector<Keyboard> found;
    const auto reply = replyOf<xcb_input_xi_query_device_reply>(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL));
    if (!reply)
        return found;
    auto device = xcb_input_xi_query_device_infos_iterator(reply.get());
    for (; device.rem > 0; xcb_input_xi_device_info_next(&device)) {
        const QByteArray name(xcb_input_xi_device_info_name(device.data),
                              xcb_input_xi_device_info_name_length(device.data));
        if (device.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD)
            found.push_back({device.data->deviceid, name.endsWith("XTEST keyboard")});
    }
    return found;
}

void collectKeysDown(const xcb_input_key_state_t& state, std::set<xcb_keycode_t>& down)
{
    for (unsigned key = 0; key < 256; ++key) {
        if ((state.keys[key / 8] & (1U << (key % 8))) != 0)
            down.insert(static_cast<xcb_keycode_t>(key));
    }
}

void collectKeysDown(xcb_connection_t* connection, uint16_t device, std::set<xcb_keycode_t>& down)
{
    const auto reply = replyOf<xcb_input_query_device_state_reply>(
        connection, xcb_input_query_device_state(connection, static_cast<uint8_t>(device)));
    if (!reply)
        return;
    auto state = xcb_input_query_device_state_classes_iterator(reply.get());
    for (; state.rem > 0; xcb_input_input_state_next(&state)) {
        const void* const data = state.data;
        if (state.data->class_id == XCB_INPUT_INPUT_CLASS_KEY)
            collectKeysDown(*static_cast<const xcb_input_key_state_t*>(data), down);
    }
}

} // namespace

uint16_t findXTestKeyboard(xcb_connection_t* connection)
{
    for (const Keyboard& keyboard : keyboards(connection)) {
        if (keyboard.isXTest)
            return keyboard.device;
    }
    return 0;
}

std::set<xcb_keycode_t> keysHeldByUser(xcb_connection_t* connection)
{
    std::set<xcb_keycode_t> down;
    for (const Keyboard& keyboard : keyboards(connection)) {
        if (!keyboard.isXTest)
            collectKeysDown(connection, keyboard.device, down);
    }
    return down;
}

namespace {

void select(xcb_connection_t* connection, xcb_window_t root, xcb_input_device_id_t devices, uint32_t mask)
{
    const struct
    {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } selection{{devices, 1}, mask};
    xcb_input_xi_select_events(connection, root, 1, &selection.head);
}

} // namespace

void selectRawKeyReleases(xcb_connection_t* connection, xcb_window_t root, bool on)
{
    select(connection, root, XCB_INPUT_DEVICE_ALL_MASTER,
           on ? uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE} : 0U);
}

void selectRawPresses(xcb_connection_t* connection, xcb_window_t root, bool on)
{
    // Of other devices than above, as each selection replaces the one before for the same devices.
    constexpr uint32_t presses =
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    select(connection, root, XCB_INPUT_DEVICE_ALL, on ? presses : 0U);
}

bool isGrabbedThroughInput2(xcb_connection_t* connection, xcb_window_t root, xcb_keycode_t keycode,
                            uint16_t modifiers, const std::vector<uint16_t>& lockVariants)
{
    std::vector<uint32_t> variants;
    for (const uint16_t locks : lockVariants)
        variants.push_back(uint32_t{modifiers} | locks);
    const auto count = static_cast<uint16_t>(variants.size());
    constexpr uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
    const auto cookie = xcb_input_xi_passive_grab_device(
        connection, XCB_CURRENT_TIME, root, XCB_NONE, keycode, XCB_INPUT_DEVICE_ALL_MASTER, count, 1,
        XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
        XCB_INPUT_GRAB_OWNER_NO_OWNER, &mask, variants.data());
    xcb_input_xi_passive_ungrab_device(connection, root, keycode, XCB_INPUT_DEVICE_ALL_MASTER, count,
                                       XCB_INPUT_GRAB_TYPE_KEYCODE, variants.data());
    const auto reply = replyOf<xcb_input_xi_passive_grab_device_reply>(connection, cookie);
    return reply && reply->num_modifiers > 0;
}

} // namespace quillmarsh
