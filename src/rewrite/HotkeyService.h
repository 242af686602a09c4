#pragma once

#include "platform/EventTap.h"

#include <QObject>

namespace quillmarsh {

class Accessibility;

/// One shortcut and what it runs.
struct Registration
{
    quint16 keyCode = 0;
    quint64 modifiers = 0; ///< event-flag word; only ModifierFlags::shortcutMask counts
    std::function<void()> handler;
};

/// What the orchestrator relies on.
class HotkeyControlling
{
public:
    virtual ~HotkeyControlling() = default;

    [[nodiscard]] virtual const std::vector<Registration>& registrations() const = 0;
    virtual void setRegistrations(std::vector<Registration> registrations) = 0;
    /// False when the process is not trusted, no tap can be made, or other programs own every combination.
    /// Starting twice is harmless.
    virtual bool start() = 0;
    virtual void stop() = 0;
    /// The registered combinations that another program owned when they were last asked for. Cheap.
    [[nodiscard]] virtual std::vector<KeyCombination> refused() const = 0;
    /// Tries once more to get what another program owned; cheap when nothing is refused.
    virtual void retryRefused() = 0;
};

/// Makes the writing actions' shortcuts work in every application: one system-wide event tap that swallows a
/// matching press and runs its handler, queued, on the main thread. Main thread only.
class HotkeyService final : public QObject, public HotkeyControlling
{
    Q_OBJECT

public:
    /// Both outlive the service.
    HotkeyService(EventTapSource& taps, const Accessibility& accessibility, QObject* parent = nullptr);
    ~HotkeyService() override;

    [[nodiscard]] const std::vector<Registration>& registrations() const override { return registrations_; }
    /// Takes effect with the next key press, also while running.
    void setRegistrations(std::vector<Registration> registrations) override;
    bool start() override;
    void stop() override;
    [[nodiscard]] std::vector<KeyCombination> refused() const override { return refused_; }
    void retryRefused() override;

    /// While the onboarding demo's text has the keyboard focus, Control-R reaches it even if a writing action
    /// has that shortcut.
    void setDemoFocused(bool focused);

    [[nodiscard]] TapVerdict handleEvent(const KeyEvent& event);

private:
    [[nodiscard]] const Registration* match(const KeyEvent& event) const;
    [[nodiscard]] bool belongsToDemo(quint16 keyCode, quint64 flags) const;
    void reenable();
    void enable();
    [[nodiscard]] std::vector<KeyCombination> interest() const;
    [[nodiscard]] bool isWhollyRefused() const;
    void announceInterest();

    EventTapSource& taps_;
    const Accessibility& accessibility_;
    std::unique_ptr<EventTap> tap_;
    std::vector<Registration> registrations_;
    std::vector<KeyCombination> refused_; ///< as the tap said last; asking it costs a trip to another thread
    bool demoFocused_ = false;
};

} // namespace quillmarsh
