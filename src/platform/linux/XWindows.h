#pragma once

#include "platform/linux/XConnection.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace quillmarsh {

/// The two names of WM_CLASS; empty when the window has none.
struct WindowClass
{
    QString instance;
    QString name;
};

/// Questions about other programs' windows. Every answer is a short round trip; a window that is gone answers
/// as one without properties.
class XWindows final
{
public:
    explicit XWindows(const XConnection& connection) : connection_(connection) {}

    /// The window that has the user's attention, per EWMH; without a window manager that tells, the top-level
    /// window around the input focus. XCB_NONE when there is none.
    [[nodiscard]] xcb_window_t active() const;
    [[nodiscard]] WindowClass classOf(xcb_window_t window) const;
    /// Text of a property of any text type; empty when missing.
    [[nodiscard]] QString text(xcb_window_t window, const QByteArray& property) const;
    /// Windows or numbers of a 32-bit property.
    [[nodiscard]] std::vector<uint32_t> numbers(xcb_window_t window, const QByteArray& property,
                                                xcb_atom_t type) const;
    /// The process behind a window; 0 when unknown.
    [[nodiscard]] qint64 processOf(xcb_window_t window) const;
    /// What identifies the X connection that made the window; windows of one program share it.
    [[nodiscard]] uint32_t clientOf(xcb_window_t window) const;
    [[nodiscard]] bool exists(xcb_window_t window) const;
    /// Whether the window's program is written with Tk, whatever class it gave itself.
    [[nodiscard]] bool isTk(xcb_window_t window) const;

private:
    [[nodiscard]] QByteArray bytes(xcb_window_t window, xcb_atom_t property) const;
    [[nodiscard]] xcb_window_t aroundFocus() const;
    [[nodiscard]] bool hasProperty(xcb_window_t window, xcb_atom_t property) const;
    [[nodiscard]] qint64 processByResources(xcb_window_t window) const;

    const XConnection& connection_;
};

} // namespace quillmarsh
