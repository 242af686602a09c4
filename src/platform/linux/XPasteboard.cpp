#include "platform/linux/XPasteboard.h"

#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionReader.h"
#include "platform/linux/WorkerAnswer.h"

namespace quillmarsh {

// The answers are named, never temporaries of the awaiting expression: g++ 12 destroys what such a temporary
// holds twice.

Task<qint64> XPasteboard::changeCount()
{
    if (!worker_)
        co_return 0;
    WorkerAnswer<qint64> answer(
        *worker_, [](XWorker::Parts& parts, const auto& reply) { reply(parts.counter->count()); });
    co_return co_await answer;
}

Task<std::optional<QString>> XPasteboard::string()
{
    if (!worker_)
        co_return std::nullopt;
    WorkerAnswer<std::optional<QString>> answer(
        *worker_, [](XWorker::Parts& parts, const auto& reply) { parts.reader->read(reply); });
    co_return co_await answer;
}

Task<bool> XPasteboard::setString(QString text)
{
    if (!worker_)
        co_return false;
    const QByteArray utf8 = text.toUtf8();
    WorkerAnswer<bool> answer(
        *worker_, [utf8](XWorker::Parts& parts, const auto& reply) { reply(parts.owner->own(utf8)); });
    co_return co_await answer;
}

Task<bool> XPasteboard::wasRead()
{
    if (!worker_)
        co_return false;
    WorkerAnswer<bool> answer(
        *worker_, [](XWorker::Parts& parts, const auto& reply) { parts.owner->tellWhetherRead(reply); });
    co_return co_await answer;
}

Task<> XPasteboard::persist()
{
    if (!worker_)
        co_return;
    WorkerAnswer<bool> answer(*worker_, [](XWorker::Parts& parts, const auto& reply) {
        parts.owner->persist([reply] { reply(true); });
    });
    co_await answer;
}

} // namespace quillmarsh
