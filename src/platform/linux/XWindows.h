#pragma once

#include "platform/linux/XConnection.h"

#include <QByteArray>
#include <QString>

#include <vector>

#include <xcb/res.h>

namespace quillmarsh {

/// The two names of WM_CLASS; empty when the window has none.
struct WindowClass
{
    QString instance;
    QString name;
};

/// What a window and its program say of themselves; what they do not say is empty.
struct WindowIdentity
{
    WindowClass windowClass;
    QString applicationId; ///< of GTK
    QString desktopFile;   ///< of KDE, the name or the path of a desktop entry
    QString title;
    qint64 process = 0; ///< 0 when unknown
    bool isMotif = false;
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
    /// One round trip for everything.
    [[nodiscard]] WindowIdentity identityOf(xcb_window_t window) const;
    /// Text of a property of any text type; empty when missing.
    [[nodiscard]] QString text(xcb_window_t window, const QByteArray& property) const;
    /// Windows or numbers of a 32-bit property.
    [[nodiscard]] std::vector<uint32_t> numbers(xcb_window_t window, const QByteArray& property,
                                                xcb_atom_t type) const;
    /// What identifies the X connection that made the window; windows of one program share it.
    [[nodiscard]] uint32_t clientOf(xcb_window_t window) const;
    [[nodiscard]] bool exists(xcb_window_t window) const;
    /// Whether the window's program is written with Tk, whatever class it gave itself.
    [[nodiscard]] bool isTk(xcb_window_t window) const;

private:
    [[nodiscard]] xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property) const;
    [[nodiscard]] QByteArray answerTo(xcb_get_property_cookie_t question) const;
    [[nodiscard]] bool exists(xcb_get_property_cookie_t question) const;
    [[nodiscard]] xcb_window_t aroundFocus() const;
    [[nodiscard]] bool hasProperty(xcb_window_t window, xcb_atom_t property) const;
    [[nodiscard]] xcb_res_query_client_ids_cookie_t askProcess(xcb_window_t window) const;
    [[nodiscard]] qint64 answerTo(xcb_res_query_client_ids_cookie_t question) const;
    [[nodiscard]] qint64 claimedProcess(xcb_window_t window) const;

    const XConnection& connection_;
};

} // namespace quillmarsh
