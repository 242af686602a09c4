#pragma once

#include "platform/KeyPoster.h"

#include <memory>

namespace quillmarsh {

class XWorker;

/// Posts keys through XTEST; KeyInjector does the work.
class XKeyPoster final : public KeyPoster
{
public:
    explicit XKeyPoster(std::shared_ptr<XWorker> worker) : worker_(std::move(worker)) {}

    void prepare() override;
    Task<std::optional<std::chrono::steady_clock::time_point>> post(quint16 keyCode, quint64 flags) override;

private:
    std::shared_ptr<XWorker> worker_; ///< null where keys cannot be posted
};

} // namespace quillmarsh
