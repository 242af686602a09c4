#pragma once

#include "platform/linux/XKeyboard.h"

#include <QObject>

namespace quillmarsh {

class HotKeyGrabs;
class XConnection;

/// Whether the user typed or clicked after his selection was copied. The selection is then no longer what the
/// answer is for: he wrote over it, or has put the cursor elsewhere. Lives in the worker's thread.
class UserActivity final : public QObject
{
    Q_OBJECT

public:
    UserActivity(XConnection& connection, const HotKeyGrabs& hotKeys);

    /// Forgets what was, and watches until the first key or click that counts: each key wakes this process.
    void begin();
    /// For a time in which nobody watched.
    void assume() { happened_ = true; }
    /// Current as of this call. Modifiers, locks, keys of the desktop (volume and the like, Alt-Tab) and the
    /// wheel do not count, and not what this process injects; what others inject may be the user's, at a
    /// remote or an on-screen keyboard.
    [[nodiscard]] bool happened();

private:
    void handle(const xcb_generic_event_t& event);
    [[nodiscard]] bool writes(xcb_keycode_t keycode) const;
    void watch(bool on);

    XConnection& connection_;
    const HotKeyGrabs& hotKeys_;
    uint16_t xtestKeyboard_ = 0;
    bool happened_ = false;
};

} // namespace quillmarsh
