// The offline engine with any text: the tokens give every byte back, an answer is valid UTF-8, not empty and
// not much longer than the text. The first byte says what is asked for.
#include <array>

#include "FuzzChecks.h"
#include "base/Text.h"
#include "offline/OfflineEngine.h"
#include "offline/Tokenizer.h"

using namespace quillmarsh::service;

namespace {

const std::array<std::optional<std::string>, 4> instructions{
    std::nullopt, "Make the text shorter.", "Rewrite the text in a formal tone.", "Make it casual."};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    const std::string text(reinterpret_cast<const char*>(data) + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    if (!isValidUtf8(text) || trimmed(text).empty()) {
        return 0;
    }
    fuzz::require(joined(tokenize(text)) == text, "tokens give any text back");
    const EngineAnswer answer = engine.rewrite({text, instructions[data[0] % instructions.size()]}, {});
    if (answer.verdict == EngineAnswer::Verdict::Done) {
        fuzz::require(isValidUtf8(answer.text), "an answer is UTF-8");
        fuzz::require(answer.text.size() <= 2 * text.size() + 64,
                      "an answer is not much longer than the text");
        fuzz::require(data[0] % instructions.size() == 1 || !trimmed(answer.text).empty(),
                      "no answer is empty");
    }
    return 0;
}
