#include "platform/linux/XKeyPoster.h"

#include "base/Log.h"
#include "platform/linux/KeyInjector.h"
#include "platform/linux/WorkerAnswer.h"

namespace quillmarsh {

using Time = std::chrono::steady_clock::time_point;

void XKeyPoster::prepare()
{
    if (worker_ && worker_->isCapable())
        worker_->post([](XWorker::Parts& parts) { parts.injector->prepare(); });
}

Task<std::optional<Time>> XKeyPoster::post(quint16 keyCode, quint64 flags)
{
    if (!worker_ || !worker_->isCapable()) {
        qCWarning(lcQuillmarsh, "Keys cannot be pressed for the user in this session");
        co_return std::nullopt;
    }
    WorkerAnswer<std::optional<Time>> answer(*worker_,
                                             [keyCode, flags](XWorker::Parts& parts, const auto& reply) {
                                                 reply(parts.injector->post(keyCode, flags));
                                             });
    co_return co_await answer;
}

} // namespace quillmarsh
