#pragma once

#include "platform/EventTap.h"
#include "platform/linux/XKeyboard.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <map>
#include <set>

namespace quillmarsh {

class XConnection;

/// The passive grabs behind every tap of the process, and what becomes of the presses they catch. Grabs are
/// asynchronous: a synchronous one whose owner is busy freezes the keyboard of the whole session (measured).
/// Lives in the worker's thread.
class HotKeyGrabs final : public QObject
{
    Q_OBJECT

public:
    using TapId = quint64;
    /// Called in the worker's thread.
    using Notify = std::function<void(const KeyEvent&)>;

    explicit HotKeyGrabs(XConnection& connection);
    ~HotKeyGrabs() override;

    /// Sets what a tap wants; an empty list gives everything of it back.
    void setInterest(TapId tap, std::vector<KeyCombination> combinations, Notify notify);
    /// What of it could not be had: another program owns it, or the keyboard lacks a key for it.
    [[nodiscard]] std::vector<KeyCombination> refused(TapId tap) const;
    /// Who hears what the taps hear, to be told when all of this is gone.
    [[nodiscard]] std::vector<Notify> listeners() const;

    /// Ends the active grab that a caught press starts: while it lasts every key goes to us, injected ones
    /// too.
    void releaseKeyboard();
    /// Keys whose press was caught and whose release by the user has not been seen.
    [[nodiscard]] std::vector<xcb_keycode_t> heldKeys() const;
    [[nodiscard]] const XModifiers& modifiers() const { return modifiers_; }
    /// Remembers keys that were lifted while the user holds them, and tells which of them he still holds. A
    /// shortcut pressed again with them held comes without them, and is caught all the same: it would be a
    /// bare letter over the selection (measured).
    void noteLifted(const std::set<xcb_keycode_t>& keys) { lifted_.insert(keys.begin(), keys.end()); }
    [[nodiscard]] const std::set<xcb_keycode_t>& liftedKeys() const { return lifted_; }
    /// Whether an Injection lives: what XTEST reports is our own then.
    [[nodiscard]] bool isInjecting() const { return injecting_; }

private:
    struct Grab ///< one combination as the server knows it, without lock bits
    {
        xcb_keycode_t keycode = 0;
        uint16_t modifiers = 0;

        auto operator<=>(const Grab&) const = default;
    };

public:
    /// While it lives, keys that XTEST reports are our own, and our own grab of one key is not held, so that
    /// an injected gesture cannot trigger a shortcut of the same keys.
    class Injection final
    {
    public:
        explicit Injection(HotKeyGrabs& grabs) : grabs_(grabs) { grabs_.injecting_ = true; }
        ~Injection();
        Injection(const Injection&) = delete;
        Injection& operator=(const Injection&) = delete;

        void allow(xcb_keycode_t keycode, uint16_t modifiers);

    private:
        HotKeyGrabs& grabs_;
        std::optional<Grab> given_;
    };

private:
    struct Tap
    {
        std::vector<KeyCombination> combinations;
        Notify notify;
    };

    void handle(const xcb_generic_event_t& event);
    void handlePress(const xcb_key_press_event_t& press);
    void handleRawRelease(const xcb_generic_event_t& event);
    bool report(const Grab& grab, bool capsLock, bool isAutorepeat);
    void reportLosses();
    /// The modifiers that the user holds for a press of that state: lifted ones are missing from it.
    [[nodiscard]] uint16_t meantBy(uint16_t state);
    /// Gives the application a key that was caught and is no shortcut.
    void passOn(xcb_keycode_t keycode);
    [[nodiscard]] bool isRepeat(xcb_keycode_t keycode);
    void stopRepeat(xcb_keycode_t keycode);

    [[nodiscard]] std::optional<Grab> resolve(const KeyCombination& combination) const;
    [[nodiscard]] std::set<Grab> wanted() const;
    void apply();
    void refreshKeyboard();
    [[nodiscard]] bool take(const Grab& grab);
    void giveBack(const Grab& grab);
    void watchKeyboard();
    void watchReleases(bool on);

    XConnection& connection_;
    XModifiers modifiers_;
    std::map<TapId, Tap> taps_;
    std::set<Grab> held_;
    std::map<xcb_keycode_t, QElapsedTimer> down_; ///< latch per caught key, with the time of its last sign
    std::set<xcb_keycode_t> lifted_;              ///< held by the user, up for everybody else
    QTimer refresh_;
    uint16_t xtestKeyboard_ = 0;
    bool injecting_ = false;
    bool watchingReleases_ = false;
};

} // namespace quillmarsh
