#include "platform/XTestSession.h"

#include "platform/linux/XKeyboard.h"
#include "platform/linux/XWindows.h"
#include "platform/linux/XWorker.h"
#include "platform/linux/XcbXkb.h"

#include <QProcess>
#include <QTest>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>

namespace quillmarsh::test {

namespace {

uint8_t deviceNamed(xcb_connection_t* connection, const QByteArray& suffix)
{
    const auto reply = replyOf<xcb_input_xi_query_device_reply>(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL));
    auto device = xcb_input_xi_query_device_infos_iterator(reply.get());
    for (; device.rem > 0; xcb_input_xi_device_info_next(&device)) {
        const QByteArray name(xcb_input_xi_device_info_name(device.data),
                              xcb_input_xi_device_info_name_length(device.data));
        if (device.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && name.endsWith(suffix))
            return static_cast<uint8_t>(device.data->deviceid);
    }
    qFatal("The test's X server has no such keyboard");
}

std::vector<xcb_keycode_t> setBits(const uint8_t* keys)
{
    std::vector<xcb_keycode_t> down;
    for (unsigned key = 0; key < 256; ++key) {
        if ((keys[key / 8] & (1U << (key % 8))) != 0)
            down.push_back(static_cast<xcb_keycode_t>(key));
    }
    return down;
}

/// Window ids are used again: what the root window says of the new window may still be meant for one of the
/// same id that has gone. The state that the window manager writes on the window itself is never an old one.
void waitUntilManaged(const XConnection& connection, xcb_window_t window)
{
    const XWindows windows(connection);
    const auto says = [&](xcb_window_t one, const QByteArray& property, xcb_atom_t type) {
        return !windows.numbers(one, property, type).empty();
    };
    const auto isManaged = [&] { return says(window, "WM_STATE", connection.atom("WM_STATE")); };
    const bool hasManager = says(connection.root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW);
    constexpr int longest = 60'000; // ms
    if (hasManager && !QTest::qWaitFor(isManaged, longest))
        qFatal("The window manager did not take a test's window");
}

} // namespace

PhysicalKeyboard::PhysicalKeyboard() : connection_(XConnection::open())
{
    if (!connection_)
        qFatal("The test needs an X server");
    device_ = deviceNamed(connection_->get(), "Xvfb keyboard");
    xtestDevice_ = deviceNamed(connection_->get(), "XTEST keyboard");
    const auto* const input = xcb_get_extension_data(connection_->get(), &xcb_input_id);
    deviceKeyPress_ = static_cast<uint8_t>(input->first_event + XCB_INPUT_DEVICE_KEY_PRESS);
}

PhysicalKeyboard::~PhysicalKeyboard()
{
    while (!down_.empty())
        release(down_.back());
    lockGroup(0);
    lockModifiers(0);
}

void PhysicalKeyboard::fake(uint8_t type, xcb_keycode_t keycode)
{
    xcb_test_fake_input(connection_->get(), type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, device_);
    connection_->synchronize();
}

void PhysicalKeyboard::press(xcb_keycode_t keycode)
{
    down_.push_back(keycode);
    fake(deviceKeyPress_, keycode);
}

void PhysicalKeyboard::release(xcb_keycode_t keycode)
{
    down_.erase(std::remove(down_.begin(), down_.end(), keycode), down_.end());
    fake(static_cast<uint8_t>(deviceKeyPress_ + 1), keycode);
}

void PhysicalKeyboard::tap(xcb_keycode_t keycode)
{
    press(keycode);
    release(keycode);
}

void PhysicalKeyboard::setLayout(const QStringList& arguments)
{
    if (QProcess::execute(QStringLiteral("setxkbmap"), arguments) != 0)
        qFatal("setxkbmap failed");
}

void PhysicalKeyboard::setOwnLayout(const QString& layout, const QString& variant)
{
    setLayout(
        {QStringLiteral("-device"), QString::number(device_), layout, QStringLiteral("-variant"), variant});
}

void PhysicalKeyboard::lockGroup(unsigned group)
{
    xcb_xkb_latch_lock_state(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1,
                             static_cast<uint8_t>(group), 0, 0, 0);
    connection_->synchronize();
}

void PhysicalKeyboard::lockModifiers(uint16_t mask)
{
    xcb_xkb_latch_lock_state(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, 0xFF, static_cast<uint8_t>(mask), 0,
                             0, 0, 0, 0);
    connection_->synchronize();
}

void PhysicalKeyboard::setBounceKeys(bool on)
{
    constexpr uint32_t bounceKeys = XCB_XKB_BOOL_CTRL_BOUNCE_KEYS;
    constexpr std::array<uint8_t, 32> perKeyRepeat{};
    xcb_xkb_set_controls(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         bounceKeys, on ? bounceKeys : 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         perKeyRepeat.data());
    connection_->synchronize();
}

std::vector<xcb_keycode_t> PhysicalKeyboard::keysDown() const
{
    const auto reply =
        replyOf<xcb_query_keymap_reply>(connection_->get(), xcb_query_keymap(connection_->get()));
    return setBits(reply->keys);
}

std::vector<xcb_keycode_t> PhysicalKeyboard::keysDownOnXTest() const
{
    xcb_connection_t* const connection = connection_->get();
    replyOf<xcb_input_open_device_reply>(connection, xcb_input_open_device(connection, xtestDevice_)).reset();
    const auto reply = replyOf<xcb_input_query_device_state_reply>(
        connection, xcb_input_query_device_state(connection, xtestDevice_));
    auto state = xcb_input_query_device_state_classes_iterator(reply.get());
    for (; state.rem > 0; xcb_input_input_state_next(&state)) {
        if (state.data->class_id != XCB_INPUT_INPUT_CLASS_KEY)
            continue;
        const auto* const keys =
            static_cast<const xcb_input_key_state_t*>(static_cast<const void*>(state.data));
        return setBits(keys->keys);
    }
    return {};
}

xcb_window_t openInFront(XConnection& xConnection, const QByteArray& instance, const QByteArray& className)
{
    constexpr uint32_t events =
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_connection_t* const connection = xConnection.get();
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, xConnection.root(), 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    const QByteArray names = instance + '\0' + className + '\0';
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<uint32_t>(names.size()), names.constData());
    xcb_map_window(connection, window);
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    xConnection.synchronize();
    waitUntilManaged(xConnection, window);
    return window;
}

TargetWindow::TargetWindow(const QByteArray& instance, const QByteArray& className)
    : connection_(XConnection::open()), window_(openInFront(*connection_, instance, className))
{
    connect(connection_.get(), &XConnection::received, this, &TargetWindow::handle);
}

void endConnection(XWorker& worker, XConnection& other)
{
    const auto window = worker.run([](XWorker::Parts& parts) {
        const xcb_window_t made = parts.connection->createHelperWindow(0);
        parts.connection->synchronize();
        return made;
    });
    QTest::ignoreMessage(QtWarningMsg, "The connection to the X server is lost");
    xcb_kill_client(other.get(), window);
    other.synchronize();
}

void TargetWindow::catchUp()
{
    connection_->synchronize();
}

void TargetWindow::handle(const xcb_generic_event_t& event)
{
    constexpr uint16_t relevant = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
    if (eventType(event) == XCB_KEY_PRESS) {
        const auto& press = eventAs<xcb_key_press_event_t>(event);
        const auto symbols = XKeySymbols::fetch(connection_->get());
        const unsigned group = (press.state >> 13) & 3;
        presses.push_back({press.detail, static_cast<uint16_t>(press.state & relevant),
                           symbols.symbol(press.detail, group)});
    } else if (eventType(event) == XCB_KEY_RELEASE) {
        releases.push_back(eventAs<xcb_key_release_event_t>(event).detail);
    } else if (eventType(event) == XCB_FOCUS_OUT) {
        ++focusLosses;
    }
}

} // namespace quillmarsh::test
