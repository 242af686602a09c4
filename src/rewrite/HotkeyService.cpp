#include "rewrite/HotkeyService.h"

#include "base/Log.h"
#include "platform/Accessibility.h"
#include "platform/ModifierFlags.h"

#include <algorithm>

namespace quillmarsh {

HotkeyService::HotkeyService(EventTapSource& taps, const Accessibility& accessibility, QObject* parent)
    : QObject(parent), taps_(taps), accessibility_(accessibility)
{}

HotkeyService::~HotkeyService()
{
    stop();
}

void HotkeyService::setRegistrations(std::vector<Registration> registrations)
{
    registrations_ = std::move(registrations);
    refused_.clear();
    announceInterest();
}

bool HotkeyService::start()
{
    if (!accessibility_.isProcessTrusted())
        return false;
    if (tap_) {
        enable(); // the system may have disabled it while the process was not trusted
        return !isWhollyRefused();
    }
    qCInfo(lcQuillmarsh, "AXIsProcessTrusted = %d", 1);
    tap_ = taps_.create([this](const KeyEvent& event) { return handleEvent(event); });
    if (!tap_) {
        qCWarning(lcQuillmarsh, "FAILED to create CGEvent tap. Accessibility=%d", 1);
        return false;
    }
    tap_->setInterest(interest());
    enable();
    if (isWhollyRefused()) { // the tap stays, so that what becomes free can be had
        qCWarning(lcQuillmarsh, "Every shortcut belongs to another program");
        return false;
    }
    qCInfo(lcQuillmarsh, "Event tap started with %d registration(s)",
           static_cast<int>(registrations_.size()));
    return true;
}

void HotkeyService::stop()
{
    if (tap_) {
        tap_->setEnabled(false);
        tap_->invalidate();
    }
    tap_.reset();
    qCInfo(lcQuillmarsh, "Event tap stopped");
}

void HotkeyService::retryRefused()
{
    if (!refused_.empty())
        announceInterest();
}

bool HotkeyService::isWhollyRefused() const
{
    return !refused_.empty() && refused_.size() >= interest().size();
}

void HotkeyService::setDemoFocused(bool focused)
{
    if (demoFocused_ == focused)
        return;
    demoFocused_ = focused;
    announceInterest();
}

TapVerdict HotkeyService::handleEvent(const KeyEvent& event)
{
    if (event.type != KeyEvent::Type::KeyDown) {
        reenable();
        return TapVerdict::Pass;
    }
    if (belongsToDemo(event.keyCode, event.flags))
        return TapVerdict::Pass;
    const Registration* registration = match(event);
    if (!registration)
        return TapVerdict::Pass;
    if (!event.isAutorepeat) {
        qCInfo(lcQuillmarsh, "Hotkey matched! keyCode=%hu", event.keyCode);
        QMetaObject::invokeMethod(this, registration->handler, Qt::QueuedConnection);
    }
    return TapVerdict::Swallow;
}

const Registration* HotkeyService::match(const KeyEvent& event) const
{
    const auto found = std::ranges::find_if(registrations_, [&](const Registration& candidate) {
        return candidate.keyCode == event.keyCode &&
               ((candidate.modifiers ^ event.flags) & ModifierFlags::shortcutMask) == 0;
    });
    return found == registrations_.end() ? nullptr : &*found;
}

bool HotkeyService::belongsToDemo(quint16 keyCode, quint64 flags) const
{
    return demoFocused_ && keyCode == VirtualKey::r &&
           (flags & ModifierFlags::shortcutMask) == ModifierFlags::control;
}

void HotkeyService::reenable()
{
    qCCritical(lcQuillmarsh, "Event tap was disabled by timeout, re-enabling");
    if (tap_ && accessibility_.isProcessTrusted())
        enable();
}

void HotkeyService::enable()
{
    tap_->setEnabled(true);
    refused_ = tap_->refused();
}

std::vector<KeyCombination> HotkeyService::interest() const
{
    std::vector<KeyCombination> combinations;
    for (const Registration& registration : registrations_) {
        if (!belongsToDemo(registration.keyCode, registration.modifiers))
            combinations.push_back(
                {registration.keyCode, registration.modifiers & ModifierFlags::shortcutMask});
    }
    std::ranges::sort(combinations);
    combinations.erase(std::ranges::unique(combinations).begin(), combinations.end());
    return combinations;
}

void HotkeyService::announceInterest()
{
    if (!tap_)
        return;
    tap_->setInterest(interest());
    refused_ = tap_->refused();
}

} // namespace quillmarsh
