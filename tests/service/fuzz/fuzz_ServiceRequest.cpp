// Whatever bytes come in: reading a request never crashes, and what is accepted is a valid text; the
// tokenizer and the passes behind it give every byte back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "base/Text.h"
#include "http/RewriteRequest.h"
#include "offline/OfflineEngine.h"
#include "offline/Tokenizer.h"

using namespace quillmarsh::service;

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    const std::string body(reinterpret_cast<const char*>(data), size);
    const auto request = readRewriteRequest(body);
    if (const auto* job = std::get_if<RewriteJob>(&request)) {
        require(isValidUtf8(job->text), "an accepted text is UTF-8");
        require(joined(tokenize(job->text)) == job->text, "tokens give the text back");
        const EngineAnswer answer = engine.rewrite(*job, {});
        require(answer.verdict != EngineAnswer::Verdict::Done || isValidUtf8(answer.text),
                "an answer is UTF-8");
    } else {
        const Problem& problem = std::get<Problem>(request);
        require(problem.status >= 400 && problem.status < 500 && !problem.code.empty(),
                "a refusal is a clear 4xx");
    }
    if (isValidUtf8(body)) {
        require(joined(tokenize(body)) == body, "tokens give any text back");
    }
    return 0;
}

#ifndef WITH_LIBFUZZER
int main(int argc, char** argv)
{
    const std::vector<std::string> seeds{
        R"({"text":"thanks for your help ill send the notes soon"})",
        R"({"text":"a","instruction":"Make it shorter"})",
        R"({"text":"{ \"x\": [1,2] } `code` https://x.org/a?b=c 3.14 é “q” 日本 👩‍👩‍👧"})",
        R"({"text":1})",
        R"({"text":"I just wanted to let you know that, basically, i am a apple . , ;; (b) - x\n- y\n\n1. z"})",
        "[[[[[[[[[[",
        "{\"text\":\"\\ud800\"}"};
    const std::string option = argc > 1 ? argv[1] : "-runs=20000";
    const long runs = std::atol(option.substr(option.find('=') + 1).c_str());
    std::mt19937 random(20240917); // the same run every time
    for (long run = 0; run < runs; ++run) {
        std::string input = seeds[random() % seeds.size()];
        for (auto n = random() % 6; n > 0; --n) {
            const size_t at = random() % (input.size() + 1);
            switch (random() % 3) {
            case 0:
                input.insert(at, 1, static_cast<char>(random() % 256));
                break;
            case 1:
                input.erase(at, 1 + random() % 4);
                break;
            default:
                input.insert(at, input.substr(random() % (input.size() + 1), random() % 12));
            }
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    std::printf("%ld inputs\n", runs);
    return 0;
}
#endif
