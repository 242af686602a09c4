#include "platform/linux/XPasteboard.h"

#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionReader.h"
#include "platform/linux/XWorker.h"

namespace quillmarsh {

Task<qint64> XPasteboard::changeCount()
{
    if (!worker_)
        co_return 0;
    co_return co_await WorkerAnswer<qint64>(
        worker_, [](XWorker::Parts& parts, auto reply) { reply(parts.counter->count()); });
}

Task<std::optional<QString>> XPasteboard::string()
{
    using Text = std::optional<QString>;
    if (!worker_)
        co_return std::nullopt;
    co_return co_await WorkerAnswer<Text>(
        worker_, [](XWorker::Parts& parts, auto reply) { parts.reader->read(std::move(reply)); });
}

Task<bool> XPasteboard::setString(QString text)
{
    if (!worker_)
        co_return false;
    co_return co_await WorkerAnswer<bool>(worker_, [utf8 = text.toUtf8()](XWorker::Parts& parts, auto reply) {
        reply(parts.owner->own(utf8));
    });
}

Task<> XPasteboard::persist()
{
    if (!worker_)
        co_return;
    co_await WorkerAnswer<bool>(
        worker_, [](XWorker::Parts& parts, auto reply) { parts.owner->persist([reply] { reply(true); }); });
}

} // namespace quillmarsh
