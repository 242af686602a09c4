#pragma once

#include "platform/EventTap.h"

namespace quillmarsh {

class XWorker;

/// Taps by passive grabs. What is grabbed is always swallowed, so the callback's verdict has no effect here:
/// a combination that has to reach an application must not be of the interest.
class XEventTapSource final : public EventTapSource
{
public:
    explicit XEventTapSource(std::shared_ptr<XWorker> worker) : worker_(std::move(worker)) {}

    [[nodiscard]] std::unique_ptr<EventTap> create(EventTap::Callback callback) override;

private:
    std::shared_ptr<XWorker> worker_; ///< null where hot keys are impossible
    quint64 nextId_ = 1;
};

} // namespace quillmarsh
