#include "rewrite/ClipboardService.h"

#include "platform/KeyPoster.h"
#include "platform/ModifierFlags.h"
#include "platform/Pasteboard.h"

namespace quillmarsh {

namespace {

constexpr std::chrono::milliseconds copyWait{200};

} // namespace

// A service may be destroyed while one of its tasks waits; what a task needs afterwards is copied first.

Task<std::optional<QString>> ClipboardService::copySelectedText() const
{
    Pasteboard* pasteboard = pasteboard_;
    KeyPoster* keys = keys_;
    const qint64 before = co_await pasteboard->changeCount();
    co_await keys->post(VirtualKey::c, ModifierFlags::command);
    co_await sleepFor(copyWait);
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
