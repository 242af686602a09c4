#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace quillmarsh::service {

/// What a caller asks for.
struct RewriteJob
{
    std::string text;                       ///< valid UTF-8, not blank
    std::optional<std::string> instruction; ///< absent: correct spelling, grammar and punctuation
};

/// What became of a job at one engine.
struct EngineAnswer
{
    enum class Verdict {
        Done,     ///< `text` is the rewritten text
        CannotDo, ///< this engine is not made for the job; another one may be
        Failed    ///< it should have worked: the engine is unreachable, slow or broken
    };

    Verdict verdict = Verdict::Failed;
    std::string text;    ///< Done: the result
    std::string code;    ///< otherwise: the reason for machines
    std::string message; ///< otherwise: the reason for the user
    std::chrono::seconds retryAfter{0};

    [[nodiscard]] static EngineAnswer done(std::string text)
    {
        return {Verdict::Done, std::move(text), {}, {}, {}};
    }
    [[nodiscard]] static EngineAnswer cannotDo(std::string code, std::string message)
    {
        return {Verdict::CannotDo, {}, std::move(code), std::move(message), {}};
    }
    [[nodiscard]] static EngineAnswer failed(std::string code, std::string message,
                                             std::chrono::seconds retry = {})
    {
        return {Verdict::Failed, {}, std::move(code), std::move(message), retry};
    }
};

/// Something that rewrites text. May be asked by many threads at once.
class Engine
{
public:
    using Deadline = std::chrono::steady_clock::time_point;

    virtual ~Engine() = default;

    /// Short, fixed, lower case: for the configuration, the metrics and the log.
    [[nodiscard]] virtual std::string name() const = 0;
    /// Answers before `deadline`. Never throws for anything in the job.
    [[nodiscard]] virtual EngineAnswer rewrite(const RewriteJob& job, Deadline deadline) = 0;
};

} // namespace quillmarsh::service
