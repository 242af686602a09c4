#pragma once

#include <memory>
#include <vector>

#include "Metrics.h"
#include "engine/Engine.h"

namespace quillmarsh::service {

/// Engines in the operator's order. The first that does the job answers. When none does: an engine that
/// failed counts more than one that cannot do it, because the job may well succeed a little later.
class EngineChain final
{
public:
    EngineChain(std::vector<std::unique_ptr<Engine>> engines, std::chrono::milliseconds limit,
                Metrics& metrics)
        : engines_(std::move(engines)), limit_(limit), metrics_(metrics)
    {}

    /// The verdict of the whole chain, within the limit of the whole chain.
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job);

private:
    [[nodiscard]] EngineAnswer ask(Engine& engine, const RewriteJob& job, Engine::Deadline deadline);

    std::vector<std::unique_ptr<Engine>> engines_;
    std::chrono::milliseconds limit_;
    Metrics& metrics_;
};

} // namespace quillmarsh::service
