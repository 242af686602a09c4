// Whatever bytes come in as a request: reading it never crashes, what is accepted is a valid text, and every
// refusal is a clear one.
#include "FuzzChecks.h"
#include "base/Text.h"
#include "http/RewriteRequest.h"
#include "offline/OfflineEngine.h"

using namespace quillmarsh::service;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    const std::string body(reinterpret_cast<const char*>(data), size);
    const auto request = readRewriteRequest(body);
    if (const auto* job = std::get_if<RewriteJob>(&request)) {
        fuzz::require(isValidUtf8(job->text), "an accepted text is UTF-8");
        const EngineAnswer answer = engine.rewrite(*job, {});
        fuzz::require(answer.verdict != EngineAnswer::Verdict::Done || isValidUtf8(answer.text),
                      "an answer is UTF-8");
    } else {
        const Problem& problem = std::get<Problem>(request);
        fuzz::require(problem.status >= 400 && problem.status < 500 && !problem.code.empty() &&
                          !problem.message.empty(),
                      "a refusal is a clear 4xx");
    }
    return 0;
}
