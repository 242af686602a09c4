#include "rewrite/ClipboardService.h"

#include "platform/KeyPoster.h"
#include "platform/ModifierFlags.h"
#include "platform/Pasteboard.h"

namespace quillmarsh {

namespace {

constexpr std::chrono::milliseconds copyWait{200};
/// How long the keys take to go out on a machine with nothing else to do; the wait is not made longer by it.
constexpr std::chrono::milliseconds usualInjection{5};

} // namespace

// A service may be destroyed while one of its tasks waits; what a task needs afterwards is copied first.

Task<std::optional<QString>> ClipboardService::copySelectedText() const
{
    Pasteboard* pasteboard = pasteboard_;
    // Both begin at once and in this order; neither has to wait for this thread, which may be drawing.
    Task<qint64> counting = pasteboard->changeCount();
    auto posting = keys_->post(VirtualKey::c, ModifierFlags::command);
    const auto asked = std::chrono::steady_clock::now();
    Task<> waiting = sleepFor(copyWait);
    const qint64 before = co_await counting;
    // The wait is the application's. On a busy machine the keys go out up to 70 ms after they were asked for
    // (measured), and this flow hears of it later still.
    const auto posted = co_await posting;
    co_await waiting;
    const auto end = posted.value_or(asked) + copyWait - usualInjection;
    co_await sleepFor(end - std::chrono::steady_clock::now());
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

void ClipboardService::preparePaste() const
{
    keys_->prepare();
}

Task<bool> ClipboardService::paste() const
{
    Pasteboard* pasteboard = pasteboard_;
    const auto posted = co_await keys_->post(VirtualKey::v, ModifierFlags::command);
    if (!posted)
        co_return false;
    co_return co_await pasteboard->wasRead();
}

} // namespace quillmarsh
