#pragma once

#include "platform/linux/XPasteboard.h"
#include "platform/linux/XWorker.h"
#include "support/CoroutineTest.h"

namespace quillmarsh::test {

/// The real clipboard with a worker of its own, for a test object to derive from.
class PasteboardFixture
{
protected:
    void setUp()
    {
        worker_ = XWorker::start();
        pasteboard_ = std::make_unique<XPasteboard>(worker_);
    }

    void tearDown()
    {
        pasteboard_.reset();
        worker_.reset();
    }

    std::optional<QString> read() { return runTask(pasteboard_->string()); }

    std::shared_ptr<XWorker> worker_;
    std::unique_ptr<XPasteboard> pasteboard_;
};

} // namespace quillmarsh::test
