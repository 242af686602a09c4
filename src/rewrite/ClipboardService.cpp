#include "rewrite/ClipboardService.h"

#include "platform/KeyPoster.h"
#include "platform/ModifierFlags.h"
#include "platform/Pasteboard.h"

namespace quillmarsh {

namespace {

constexpr std::chrono::milliseconds copyWait{200};
/// How long the injection takes at most on an idle machine (measured: 0.5 ms).
constexpr std::chrono::microseconds injectionTime{500};

} // namespace

// A service may be destroyed while one of its tasks waits; what a task needs afterwards is copied first.

Task<std::optional<QString>> ClipboardService::copySelectedText() const
{
    Pasteboard* pasteboard = pasteboard_;
    // Both begin at once and in this order; neither has to wait for this thread, which may be drawing.
    Task<qint64> counting = pasteboard->changeCount();
    Task<bool> posting = keys_->post(VirtualKey::c, ModifierFlags::command);
    const auto posted = std::chrono::steady_clock::now();
    const qint64 before = co_await counting;
    co_await posting;
    // The keys went out within about a millisecond of being asked for; this flow may hear of it later.
    co_await sleepFor(posted + copyWait + injectionTime - std::chrono::steady_clock::now());
    const qint64 after = co_await pasteboard->changeCount();
    if (after == before)
        co_return std::nullopt;
    co_return co_await pasteboard->string();
}

Task<bool> ClipboardService::place(QString text) const
{
    return pasteboard_->setString(std::move(text));
}

Task<bool> ClipboardService::holds(QString text, qint64 changeCount) const
{
    Pasteboard* pasteboard = pasteboard_;
    const qint64 now = co_await pasteboard->changeCount();
    if (now == changeCount)
        co_return true;
    // A clipboard manager may have taken over the very text; only the content tells.
    const std::optional<QString> current = co_await pasteboard->string();
    co_return current == text;
}

Task<qint64> ClipboardService::changeCount() const
{
    return pasteboard_->changeCount();
}

Task<bool> ClipboardService::paste() const
{
    return keys_->post(VirtualKey::v, ModifierFlags::command);
}

} // namespace quillmarsh
