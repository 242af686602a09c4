#include "engine/EngineChain.h"

#include "base/Log.h"

namespace quillmarsh::service {

namespace {

using Verdict = EngineAnswer::Verdict;

const char* outcomeName(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Done:
        return "done";
    case Verdict::CannotDo:
        return "cannot";
    case Verdict::Failed:
        break;
    }
    return "failed";
}

} // namespace

EngineAnswer EngineChain::rewrite(const RewriteJob& job)
{
    const auto deadline = std::chrono::steady_clock::now() + limit_;
    std::optional<EngineAnswer> refusal;
    for (const auto& engine : engines_) {
        EngineAnswer answer = ask(*engine, job, deadline);
        if (answer.verdict == Verdict::Done) {
            return answer;
        }
        if (!refusal || refusal->verdict != Verdict::Failed) {
            refusal = std::move(answer);
        }
    }
    return *refusal;
}

EngineAnswer EngineChain::ask(Engine& engine, const RewriteJob& job, Engine::Deadline deadline)
{
    EngineAnswer answer = engine.rewrite(job, deadline);
    if (answer.verdict == Verdict::Done && answer.text.empty()) {
        answer = EngineAnswer::failed("empty_answer", "The AI service answered with an empty text.");
    }
    metrics_.countEngine(engine.name(), outcomeName(answer.verdict));
    if (answer.verdict == Verdict::Failed) {
        logWarning("engine " + engine.name() + " failed: " + answer.code);
    }
    return answer;
}

} // namespace quillmarsh::service
