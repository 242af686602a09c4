#include "platform/linux/XEventTap.h"

#include "base/Log.h"
#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/XWorker.h"

#include <QCoreApplication>

namespace quillmarsh {

namespace {

/// What a tap and the events on their way to it share; only the main thread looks inside.
struct Listener
{
    EventTap::Callback callback;
    bool enabled = false;

    void hear(const KeyEvent& event)
    {
        const bool isEnd = event.type != KeyEvent::Type::KeyDown;
        if (isEnd && !std::exchange(enabled, false))
            return;
        callback(event);
    }
};

class XEventTap final : public EventTap
{
public:
    XEventTap(std::shared_ptr<XWorker> worker, quint64 id, Callback callback)
        : worker_(std::move(worker)), id_(id), listener_(std::make_shared<Listener>(std::move(callback)))
    {}
    ~XEventTap() override { invalidate(); }

    void setInterest(std::vector<KeyCombination> combinations) override
    {
        interest_ = std::move(combinations);
        if (listener_ && listener_->enabled)
            apply(interest_);
    }

    [[nodiscard]] std::vector<KeyCombination> refused() const override
    {
        return worker_->run([id = id_](XWorker::Parts& parts) { return parts.hotKeys->refused(id); });
    }

    void setEnabled(bool enabled) override
    {
        if (!listener_ || std::exchange(listener_->enabled, enabled) == enabled)
            return;
        apply(enabled ? interest_ : std::vector<KeyCombination>());
    }

    void invalidate() override
    {
        if (!listener_)
            return;
        apply({}); // one that was disabled by an event still holds what it was not told to give back
        listener_.reset();
    }

private:
    /// Waits for the few round trips that the grabs take, so that a shortcut works, or is known to be
    /// refused, when this returns.
    void apply(std::vector<KeyCombination> combinations)
    {
        // Called in the worker's thread; the callback itself only ever runs, and ends, in the main thread.
        const auto notify = [weak = std::weak_ptr(listener_)](const KeyEvent& event) {
            auto* const application = QCoreApplication::instance();
            if (!application)
                return;
            QMetaObject::invokeMethod(
                application,
                [weak, event] {
                    if (const auto listener = weak.lock())
                        listener->hear(event);
                },
                Qt::QueuedConnection);
        };
        worker_->run([&](XWorker::Parts& parts) {
            parts.hotKeys->setInterest(id_, std::move(combinations), notify);
            return true;
        });
    }

    std::shared_ptr<XWorker> worker_;
    quint64 id_;
    std::shared_ptr<Listener> listener_; ///< null once invalid
    std::vector<KeyCombination> interest_;
};

} // namespace

std::unique_ptr<EventTap> XEventTapSource::create(EventTap::Callback callback)
{
    if (!worker_ || !worker_->isCapable()) {
        qCWarning(lcQuillmarsh, "Global shortcuts need an X11 session with XTEST, XFIXES, XKB and XInput 2");
        return nullptr;
    }
    return std::make_unique<XEventTap>(worker_, nextId_++, std::move(callback));
}

} // namespace quillmarsh
