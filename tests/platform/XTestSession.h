#pragma once

#include "platform/linux/XConnection.h"

#include <QObject>

#include <memory>
#include <vector>

namespace quillmarsh {
class XWorker;
}

namespace quillmarsh::test {

/// The hardware keyboard of a test's X server: presses come from the slave device that the server calls its
/// keyboard, apart from the XTEST keyboard, as on a real machine. Whatever is still down at the end comes up.
class PhysicalKeyboard final
{
public:
    PhysicalKeyboard();
    ~PhysicalKeyboard();

    void press(xcb_keycode_t keycode);
    void release(xcb_keycode_t keycode);
    void tap(xcb_keycode_t keycode);

    /// Runs a layout tool ("setxkbmap de") to its end.
    static void setLayout(const QStringList& arguments);
    /// Gives this keyboard a layout that the XTEST keyboard does not have.
    void setOwnLayout(const QString& layout, const QString& variant);
    /// Locks a group of the layout, or lock modifiers.
    void lockGroup(unsigned group);
    void lockModifiers(uint16_t mask);
    /// The accessibility feature that ignores the same key a second time within 0.3 s.
    void setBounceKeys(bool on);
    /// Keys that the server considers down, on any keyboard.
    [[nodiscard]] std::vector<xcb_keycode_t> keysDown() const;
    /// Keys that one device holds down: what is stuck on the XTEST keyboard shows nowhere else.
    [[nodiscard]] std::vector<xcb_keycode_t> keysDownOnXTest() const;

private:
    void fake(uint8_t type, xcb_keycode_t keycode);

    std::unique_ptr<XConnection> connection_;
    uint8_t device_ = 0;
    uint8_t xtestDevice_ = 0;
    uint8_t deviceKeyPress_ = 0;
    std::vector<xcb_keycode_t> down_;
};

namespace Key {
inline constexpr xcb_keycode_t escape = 9, one = 10, tab = 23, w = 25, r = 27, t = 28, controlL = 37, a = 38,
                               shiftL = 50, c = 54, v = 55, altL = 64, space = 65, capsLock = 66,
                               controlR = 105, insert = 118, superL = 133;
} // namespace Key

/// Has the server end the worker's connection, as it does for a window that the user kills.
void endConnection(XWorker& worker, XConnection& other);

/// Opens a window of this class on another program's connection, in front and with the input focus.
xcb_window_t openInFront(XConnection& connection, const QByteArray& instance, const QByteArray& className);

/// A window of another program that takes the input focus and writes down what reaches it.
class TargetWindow final : public QObject
{
    Q_OBJECT

public:
    struct Press
    {
        xcb_keycode_t keycode = 0;
        uint16_t modifiers = 0; ///< core bits without the lock bits
        xcb_keysym_t symbol = 0;

        bool operator==(const Press&) const = default;
    };

    explicit TargetWindow(const QByteArray& instance = "editor", const QByteArray& className = "Editor");

    /// Everything that was sent to the window so far has arrived.
    void catchUp();
    [[nodiscard]] xcb_window_t window() const { return window_; }
    [[nodiscard]] XConnection& connection() { return *connection_; }

    std::vector<Press> presses;
    std::vector<xcb_keycode_t> releases;
    int focusLosses = 0;

private:
    void handle(const xcb_generic_event_t& event);

    std::unique_ptr<XConnection> connection_;
    xcb_window_t window_;
};

} // namespace quillmarsh::test
